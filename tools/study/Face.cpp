// SPDX-License-Identifier: Apache-2.0
#include "Face.h"

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

QDataStream &operator<<(QDataStream &stream, const Finding &finding)
{
    return stream << qint32(finding.type) << qint32(finding.zone) << finding.size << finding.causesFailure
                  << finding.blemishes;
}

QDataStream &operator>>(QDataStream &stream, Finding &finding)
{
    qint32 type = 0;
    qint32 zone = 0;
    stream >> type >> zone >> finding.size >> finding.causesFailure >> finding.blemishes;
    finding.type = static_cast<Defect::Type>(type);
    finding.zone = static_cast<Zone::Id>(zone);
    return stream;
}

QDataStream &operator<<(QDataStream &stream, const Inspection &inspection)
{
    return stream << qint32(inspection.standard) << inspection.reason << inspection.passed << inspection.contours
                  << inspection.rawDefects << inspection.mergedDefects << inspection.findings;
}

QDataStream &operator>>(QDataStream &stream, Inspection &inspection)
{
    qint32 standard = 0;
    stream >> standard >> inspection.reason >> inspection.passed >> inspection.contours >> inspection.rawDefects
        >> inspection.mergedDefects >> inspection.findings;
    inspection.standard = static_cast<FiberInspection::Standard::Id>(standard);
    return stream;
}

} // namespace Study
