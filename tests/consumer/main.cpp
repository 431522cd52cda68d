// SPDX-License-Identifier: Apache-2.0
// Prints the acceptance standards as an application sees them, and checks some of them; 0 if all is as it must be.
#include <FiberInspection/Defect.h>
#include <FiberInspection/Geometry.h>
#include <FiberInspection/Rule.h>
#include <FiberInspection/Standard.h>
#include <FiberInspection/TestResult.h>
#include <Helpers/BaseDirHelper.h>
#include <Property.h>
#include <VantorBase_export.h>

#include <QObject>
#include <QTextStream>

using namespace FiberInspection;

namespace {

class Directories : public BaseDirHelper
{
public:
    QString applicationDirName() override { return QStringLiteral("consumer"); }
};

class Checks
{
public:
    void expect(bool good, const char *what)
    {
        if (good)
            return;
        mOut << "WRONG: " << what << '\n';
        ++mFailed;
    }

    void print(const Zone &zone)
    {
        mOut << "  " << Zone::name(zone.zone) << ", " << zone.innerDiameter << " to " << zone.outerDiameter << " um\n";
        for (const Rule &rule : zone.rules) {
            const bool scratch = rule.defectType == Defect::Type::Scratch;
            mOut << "    " << (scratch ? "scratch" : "defect ") << "  " << rule.toString() << '\n';
        }
    }

    void print(const Standard &standard)
    {
        mOut << standard.name() << '\n';
        for (const Zone &zone : {standard.core(), standard.cladding(), standard.adhesive(), standard.contact()})
            print(zone);
    }

    int failed() const { return mFailed; }

private:
    QTextStream mOut{stdout};
    int mFailed = 0;
};

Defect defectOfSize(float micrometres)
{
    Defect defect;
    defect.size = micrometres;
    return defect;
}

void checkStandards(Checks &checks)
{
    const QVector<Standard::Id> ids = Standard::allStandardIds();
    for (const Standard::Id id : ids)
        checks.print(Standard(id));
    checks.expect(ids.size() == 5, "five standards are on offer");
    checks.expect(!ids.contains(Standard::IEC61300_3_35_SM_RL35), "RL35 is not on offer");

    const Standard rl45(Standard::IEC61300_3_35_SM_RL45);
    checks.expect(rl45.name() == QStringLiteral("IEC 61300-3-35 ED.2 SM RL \u2265 45 dB"), "the name of RL45");
    checks.expect(rl45.core().outerDiameter == 25, "the core of RL45 ends at 25 um");
    checks.expect(rl45.core().rules.size() == 5, "RL45 has five rules for the core");
    checks.expect(rl45.core().rules.last().toString() == QStringLiteral("size >= 3 [0]"), "the last rule of RL45");
    checks.expect(rl45.cladding().rules.size() == 3, "RL45 has three rules for the cladding");
    checks.expect(Standard(Standard::IEC61300_3_35_MM).core().outerDiameter == 65, "the core of MM ends at 65 um");
    checks.expect(Standard(Standard::Manual).core().rules.isEmpty(), "Manual has no rules");
}

void checkGrading(Checks &checks)
{
    TestResult good{Standard(Standard::IEC61300_3_35_SM_RL45)};
    good.processDefects({defectOfSize(1)}, {defectOfSize(20)});
    checks.expect(good.passed(), "small defects pass");

    TestResult bad{Standard(Standard::IEC61300_3_35_SM_RL45)};
    bad.processDefects({defectOfSize(5)}, {});
    checks.expect(!bad.passed(), "a large defect of the core fails");
    checks.expect(bad.core().violations == 1, "it counts as one violation");
    checks.expect(bad.coreDefects().first().causesFailure, "it is marked");

    int changes = 0;
    TestSummaryEntity row;
    QObject::connect(&row, &TestSummaryEntity::allowed_changed, &row, [&changes] { ++changes; });
    row.set_allowed(3);
    row.set_allowed(3);
    checks.expect(changes == 1 && row.allowed() == 3, "a property tells of its change once");
}

void checkGeometry(Checks &checks)
{
    checks.expect(Device::ks20().fov == QSize(860, 640), "the field of view of the scope");
    checks.expect(Circle(1, 0, 0.5F).isValid() && !Circle().isValid(), "validity of a circle");
}

void checkDirectories(Checks &checks)
{
    const Directories directories;
    checks.expect(BaseDirHelper::instance() == &directories, "the application's object is registered");
    checks.expect(BaseDirHelper::tmpDir() == QStringLiteral("/opt/consumer/tmp/"), "the folder of temporary files");
}

} // namespace

int main()
{
    Checks checks;
    checkStandards(checks);
    checkGrading(checks);
    checkGeometry(checks);
    checkDirectories(checks);
    return checks.failed() == 0 ? 0 : 1;
}
