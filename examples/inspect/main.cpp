// SPDX-License-Identifier: Apache-2.0
// Inspects one photograph of a connector end face as an application does: on a thread of its own, answered by signal.
//
//     example-inspect IMAGE
//
// The exit code is 0 for a face that passes, 1 for one that fails, and 2 when there is no verdict.
#include <FiberInspection/Standard.h>
#include <Helpers/BaseDirHelper.h>
#include <Managers/CoreFiberInspectionManager.h>

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QLoggingCategory>
#include <QTemporaryDir>
#include <QTextStream>
#include <QThread>

namespace {
enum ExitCode : int { Passed = 0, Failed = 1, NoVerdict = 2 };

/// Names the folder below /opt that holds all files of the application. On a device this is a plain name, "mytester";
/// this example makes do with a temporary folder.
class Directories : public BaseDirHelper
{
public:
    explicit Directories(const QString &folder)
        : mFolder(folder)
    {
    }
    QString applicationDirName() override { return QStringLiteral("..") + mFolder; }

private:
    QString mFolder;
};
} // namespace

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    QLoggingCategory::setFilterRules(QStringLiteral("*.debug=false\n*.info=false")); // the library logs every step
    QTextStream err(stderr);
    if (app.arguments().size() != 2) {
        err << "Usage: example-inspect IMAGE\n";
        return NoVerdict;
    }

    // First of all: where things are. Whatever comes later asks for paths.
    const QTemporaryDir folder; // in the end it goes with all that is in it
    const Directories directories(folder.path());
    QDir().mkpath(BaseDirHelper::tmpDir());

    // The camera's part: a picture in its fixed place.
    const QString image = app.arguments().at(1);
    if (!QFile::copy(image, BaseDirHelper::tmpFiberInspectionImagePath())) {
        err << "Cannot copy " << image << '\n';
        return NoVerdict;
    }

    // The manager works on a thread of its own and is deleted there. It has no parent: that could not be moved.
    QThread thread;
    auto *const manager = new CoreFiberInspectionManager(nullptr);
    manager->moveToThread(&thread);
    QObject::connect(&thread, &QThread::finished, manager, &QObject::deleteLater);

    // The answers arrive here, in the main thread, because that is where `app` lives.
    QObject::connect(manager, &CoreFiberInspectionManager::analyseFinished, &app,
        [](bool passed, const QString &sourceFilePath, const QString &resultFilePath) {
            QTextStream out(stdout);
            out << (passed ? "PASSED\n" : "FAILED\n");
            out << "photograph:       " << QDir::cleanPath(sourceFilePath) << '\n';
            out << "with its defects: " << QDir::cleanPath(resultFilePath) << '\n';
            QCoreApplication::exit(passed ? Passed : Failed);
        });
    QObject::connect(manager, &CoreFiberInspectionManager::analyseFailed, &app, [] {
        QTextStream(stdout) << "NO VERDICT\n";
        QCoreApplication::exit(NoVerdict);
    });

    // Start and ask. The request queues behind the start: until that is handled, nobody listens to requests.
    thread.start();
    Q_EMIT manager->requestStart();
    QMetaObject::invokeMethod(manager, [manager] {
        Q_EMIT manager->requestAnalyse(QStringLiteral("port 1"), FiberInspection::Standard::IEC61300_3_35_SM_RL45);
    });
    const int exitCode = QCoreApplication::exec();

    // Down in the reverse order: the manager stops, the thread ends and takes it along, the directories go last.
    Q_EMIT manager->requestStop();
    thread.quit();
    thread.wait();
    return exitCode;
}
