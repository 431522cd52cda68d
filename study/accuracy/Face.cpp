// SPDX-License-Identifier: Apache-2.0
#include "study/accuracy/Face.h"

#include <algorithm>

namespace Study {

using FiberInspection::Defect;
using FiberInspection::Zone;

bool Inspection::finds(int blemish) const
{
    return largestOf(blemish) != nullptr;
}

bool Inspection::findsAsScratch(int blemish) const
{
    return std::any_of(findings.cbegin(), findings.cend(), [&](const Finding &finding) {
        return finding.type == Defect::Type::Scratch && finding.blemishes.contains(blemish);
    });
}

int Inspection::findingsOf(int blemish) const
{
    return static_cast<int>(std::count_if(findings.cbegin(), findings.cend(),
        [&](const Finding &finding) { return finding.blemishes.contains(blemish); }));
}

int Inspection::findingsInZone(Zone::Id zone) const
{
    return static_cast<int>(std::count_if(
        findings.cbegin(), findings.cend(), [&](const Finding &finding) { return finding.zone == zone; }));
}

int Inspection::falseFindings() const
{
    return static_cast<int>(std::count_if(
        findings.cbegin(), findings.cend(), [](const Finding &finding) { return finding.blemishes.isEmpty(); }));
}

const Finding *Inspection::largestOf(int blemish) const
{
    const Finding *largest = nullptr;
    for (const Finding &finding : findings) {
        if (finding.blemishes.contains(blemish) && (!largest || finding.size > largest->size))
            largest = &finding;
    }
    return largest;
}

} // namespace Study
