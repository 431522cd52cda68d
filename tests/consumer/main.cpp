// SPDX-License-Identifier: Apache-2.0
// Prints the acceptance standards as an application sees them, and asks something of every class that is installed; 0
// if all is as it must be.
#include <AbstractSettings.h>
#include <FiberInspection/Analyser.h>
#include <FiberInspection/Defect.h>
#include <FiberInspection/FiberRealtimeAnalyser.h>
#include <FiberInspection/Geometry.h>
#include <FiberInspection/Rule.h>
#include <FiberInspection/Standard.h>
#include <FiberInspection/TestResult.h>
#include <Helpers/AbsoluteBaseDir.h>
#include <Helpers/BaseDirHelper.h>
#include <Helpers/IPDetails.h>
#include <Helpers/JsonHelper.h>
#include <Helpers/NetworkHelper.h>
#include <Helpers/OrvelStringValidator.h>
#include <Helpers/QObjectHelper.h>
#include <Helpers/SystemHelper.h>
#include <Helpers/TestNameGenerator.h>
#include <Helpers/TimeDelta.h>
#include <Helpers/UnitHelper.h>
#include <Managers/AbstractCoreManager.h>
#include <Managers/CoreFiberInspectionManager.h>
#include <Managers/InspectionManager.h>
#include <OrvelApplication.h>
#include <Property.h>
#include <QmlResources.h>
#include <Tcp/AbstractTcpMessage.h>
#include <Tcp/TcpClient.h>
#include <Tcp/TcpProtocolParser.h>
#include <Tcp/TcpServer.h>
#include <VantorBase.h>
#include <VantorBase_export.h>

#include <QCoreApplication>
#include <QFile>
#include <QObject>
#include <QQmlComponent>
#include <QQmlContext>
#include <QQmlEngine>
#include <QTemporaryDir>
#include <QTextStream>

#include <Pages/FiberManager.h>
#include <Pages/InspectionPages.h>
#include <Pages/OrvelPage.h>
#include <Pages/StandardModel.h>

#include <memory>

using namespace FiberInspection;

namespace {

class Directories : public BaseDirHelper
{
public:
    QString applicationDirName() override { return QStringLiteral("consumer"); }
};

class Settings : public AbstractSettings
{
public:
    explicit Settings(const QString &path)
        : AbstractSettings(path)
    {
    }

    bool isNew() const { return hasBeenIniFileCreated(); }
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
    {
        const Directories directories;
        checks.expect(BaseDirHelper::instance() == &directories, "the application's object is registered");
        checks.expect(BaseDirHelper::tmpDir() == QStringLiteral("/opt/consumer/tmp/"), "the folder of temporary files");
    }
    const AbsoluteBaseDir elsewhere(QStringLiteral("/srv/consumer"));
    checks.expect(BaseDirHelper::tmpDir() == QStringLiteral("/srv/consumer/tmp/"), "a folder that is not below /opt");
}

void checkInspection(Checks &checks)
{
    const FiberRealtimeAnalyser live;
    checks.expect(live.focusValue() < 0, "the live filter has not measured yet");
    const Analyser analyser;
    checks.expect(analyser.lastResultImagePath().isEmpty(), "the analyser has not filed an image yet");
    const CoreFiberInspectionManager manager;
    const AbstractCoreManager &base = manager;
    checks.expect(CoreFiberInspectionManager::instance() == &manager && !base.isRunning(), "the manager waits");
}

void checkValues(Checks &checks)
{
    const TimeDelta span = TimeDelta::FromHours(1) + TimeDelta::FromMinutes(30);
    checks.expect(span.ToStringHrMinSec() == QStringLiteral("01:30:00"), "a span of time as text");
    checks.expect(UnitHelper::toHexString(255) == QStringLiteral("0x00FF"), "a number as text");

    QVector<QString> names;
    TestNameGenerator::generateTestNames(QStringLiteral("A1"), QStringLiteral("B2"), names, 10);
    const QVector<QString> expected{
        QStringLiteral("A1"), QStringLiteral("A2"), QStringLiteral("B1"), QStringLiteral("B2")};
    checks.expect(names == expected, "the names from A1 to B2");
}

void checkAddresses(Checks &checks)
{
    checks.expect(OrvelStringValidator::validateIpv4(QStringLiteral("192.0.2.7")), "an address that is valid");
    checks.expect(!NetworkHelper::ipAddressIsValid(QStringLiteral("nowhere")), "an address that is not");

    IPDetails details;
    details.set_address(QStringLiteral("192.0.2.7"));
    IPDetails copy;
    checks.expect(JsonHelper::fromJson(JsonHelper::toByteArray(details), &copy), "an object comes back from JSON");
    checks.expect(QObjectHelper::equal(&details, &copy) && copy == details, "it is the same");
}

void checkLink(Checks &checks)
{
    AbstractTcpMessage sent;
    sent.set_type(7);
    QByteArray stream = TcpProtocolParser::messageToData(sent);
    AbstractTcpMessage received;
    checks.expect(received.fromByteArray(TcpProtocolParser::retrieveMessageData(stream)), "a frame has a message");
    checks.expect(received.type() == 7 && stream.isEmpty(), "it is the message that was sent");

    TcpServer server;
    TcpClient client;
    checks.expect(server.bytesToWrite() == 0 && !client.isConnected(), "nobody is connected yet");

    const VantorBase unit;
    checks.expect(VantorBase::instance() == &unit && unit.isMain(), "the unit is the main one at first");
}

void checkFiles(Checks &checks)
{
    const QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("settings.ini"));
    checks.expect(Settings(path).isNew(), "settings without a file are new");
    checks.expect(SystemHelper::writeIntToFile(path, 42), "a file is written");
    checks.expect(!Settings(path).isNew(), "settings with a file are not");

    QByteArray watcher;
    const QString command = QStringLiteral("until readlink /proc/$PPID/exe | grep /command-watcher; do :; done");
    SystemHelper::runBashCommand(command, 10000, &watcher, nullptr);
    checks.expect(watcher.endsWith("/libexec/vantorbase/command-watcher\n"), "commands are watched by our program");

    initVantorQmlResources();
    checks.expect(QFile::exists(QStringLiteral(":/Vantor/Pages/FiberInspectionPage.qml")), "the pages are there");
}

// One call, and the pages find what they look for.
void checkPages(Checks &checks)
{
    InspectionManager inspections;
    FiberManager fiberManager(&inspections);
    QObject snackBar;
    InspectionPages::ContextObjects objects;
    objects.fiberManager = &fiberManager;
    objects.snackBar = &snackBar;
    QQmlEngine engine;
    InspectionPages::setUp(&engine, objects);

    const auto published = engine.rootContext()->contextProperty(QStringLiteral("fiberManager"));
    checks.expect(published.value<QObject *>() == &fiberManager, "the pages find the inspection");
    QQmlComponent component(&engine);
    component.setData("import QtQml 2.11\nimport FiberInspection 1.0\nimport OrvelPage 1.0\n"
                      "FiberRealtimeAnalyser { objectName: OrvelPage.FiberInspectionResult }",
        {});
    const std::unique_ptr<QObject> object(component.create());
    checks.expect(object && object->objectName() == QString::number(OrvelPage::FiberInspectionResult),
        "the modules that the pages import are there");

    const StandardModel standards;
    checks.expect(standards.roles() == QStringList({QStringLiteral("id"), QStringLiteral("name")}),
        "the roles that the pages ask for");
    checks.expect(standards.count() == Standard::allStandardIds().size(), "all standards can be chosen");
}

} // namespace

int main(int argc, char *argv[])
{
    OrvelApplication::enableSoftwareRendering();
    const QCoreApplication application(argc, argv);
    Checks checks;
    checks.expect(qgetenv("QMLSCENE_DEVICE") == "softwarecontext", "the window will be drawn in software");
    checkStandards(checks);
    checkGrading(checks);
    checkGeometry(checks);
    checkDirectories(checks);
    checkInspection(checks);
    checkValues(checks);
    checkAddresses(checks);
    checkLink(checks);
    checkFiles(checks);
    checkPages(checks);
    return checks.failed() == 0 ? 0 : 1;
}
