// SPDX-License-Identifier: Apache-2.0
#include <FiberInspection/Inspection.h>

#include <QTextStream>
using namespace FiberInspection;
int main(int, char **argv)
{
    const Inspection face = inspectFile(QString::fromLocal8Bit(argv[1]), Standard::IEC61300_3_35_SM_RL45);
    QTextStream out(stdout);
    out << (face.passed() ? "PASSED" : face.hasVerdict() ? "FAILED" : "NO VERDICT: ") << face.problem() << '\n';
    for (const GradedDefect &defect : face.defects()) {
        if (defect.causesFailure)
            out << Zone::name(defect.zone) << ": " << defect.sizeMicrons << " micrometres\n";
    }
    return face.passed() ? 0 : face.hasVerdict() ? 1 : 2;
}
