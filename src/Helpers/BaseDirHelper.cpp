// SPDX-License-Identifier: Apache-2.0
#include "Helpers/BaseDirHelper.h"

#include <QCoreApplication>
#include <QDebug>
#include <QDir>
#include <QDirIterator>
#include <QFileInfo>
#include <QUuid>

BaseDirHelper *BaseDirHelper::mInstance = nullptr;

BaseDirHelper::BaseDirHelper()
    : BaseDirHelper(QString())
{
}

BaseDirHelper::BaseDirHelper(const QString &absoluteWorkDir)
    : mAbsoluteWorkDir(absoluteWorkDir)
{
    if (!mInstance)
        mInstance = this;
}

BaseDirHelper::~BaseDirHelper()
{
    if (mInstance == this)
        mInstance = nullptr;
}

BaseDirHelper *BaseDirHelper::instance()
{
    return mInstance;
}

QString BaseDirHelper::workDir()
{
    if (!mInstance)
        qWarning() << "No BaseDirHelper has been constructed, so the application's folder has no name";
    if (mInstance && !mInstance->mAbsoluteWorkDir.isEmpty())
        return mInstance->mAbsoluteWorkDir;
    return QStringLiteral("/opt/%1/").arg(mInstance ? mInstance->applicationDirName() : QString());
}

QString BaseDirHelper::applicationPath()
{
    return QCoreApplication::applicationDirPath();
}

QString BaseDirHelper::dataDir()
{
    return workDir() + QStringLiteral("data/");
}

QString BaseDirHelper::binDir(const QString &name)
{
    const QString path = QStringLiteral("%1/bin/%2").arg(workDir(), name);
    if (!QFileInfo::exists(path))
        qWarning() << "file" << path << "doesn't exists";
    return path;
}

QString BaseDirHelper::libDir()
{
    return workDir() + QStringLiteral("lib/");
}

QString BaseDirHelper::scriptDir()
{
    return workDir() + QStringLiteral("scripts/");
}

QString BaseDirHelper::ccmbScriptDir()
{
    return scriptDir() + QStringLiteral("ccmb/");
}

QString BaseDirHelper::tmpDir()
{
    return workDir() + QStringLiteral("tmp/");
}

QString BaseDirHelper::resourcesDir()
{
    return workDir() + QStringLiteral("resources/");
}

QString BaseDirHelper::staticLimitsDir()
{
    return resourcesDir() + QStringLiteral("static_limits/");
}

QString BaseDirHelper::testingDir()
{
    return resourcesDir() + QStringLiteral("testing/");
}

QString BaseDirHelper::fontsDir()
{
    return workDir() + QStringLiteral("fonts/");
}

QString BaseDirHelper::pdfReportsDir()
{
    return dataDir() + QStringLiteral("reports/");
}

QString BaseDirHelper::pdfResourcesDir()
{
    return reportsDir() + QStringLiteral("resources/");
}

QString BaseDirHelper::soundDir()
{
    return workDir() + QStringLiteral("sound/");
}

QString BaseDirHelper::wiremapResultImagesDir()
{
    return dataDir() + QStringLiteral("wiremap_results/");
}

QString BaseDirHelper::wiremapImageFilePrefix()
{
    return QStringLiteral("wiremap_");
}

QString BaseDirHelper::reportsDir()
{
    return workDir() + QStringLiteral("reports/");
}

QString BaseDirHelper::firmwareDir()
{
    return workDir() + QStringLiteral("firmware/");
}

QString BaseDirHelper::resultsDir()
{
    return dataDir() + QStringLiteral("results/");
}

QString BaseDirHelper::driversDir()
{
    return workDir() + QStringLiteral("drivers/");
}

QString BaseDirHelper::certificatesDir()
{
    return dataDir() + QStringLiteral("certificates/");
}

QString BaseDirHelper::fiberInspectionDir()
{
    return dataDir() + QStringLiteral("fiber_inspection/");
}

QString BaseDirHelper::tmpFiberInspectionImagePath()
{
    return tmpDir() + QStringLiteral("fiber_image.jpg");
}

QString BaseDirHelper::tmpFiberInspectionResultImagePath()
{
    return tmpDir() + QStringLiteral("fiber_result_image.jpg");
}

QString BaseDirHelper::syncDir()
{
    return workDir() + QStringLiteral("sync/");
}

QString BaseDirHelper::tmpSyncFileName()
{
    return QStringLiteral("%1/sync_%2").arg(tmpDir(), QUuid::createUuid().toString(QUuid::WithoutBraces));
}

QString BaseDirHelper::tmpSyncTarFileName()
{
    return QStringLiteral("%1.tar.gz").arg(tmpSyncFileName());
}

QString BaseDirHelper::tmpSyncDatabaseFileName()
{
    return QStringLiteral("%1.db").arg(tmpSyncFileName());
}

QString BaseDirHelper::syncUploadDbFileName()
{
    return QStringLiteral("%1/sync.db").arg(tmpDir());
}

QString BaseDirHelper::tmpLastSyncTarFileName()
{
    return QStringLiteral("%1/last_sync.tar.gz").arg(tmpDir());
}

QString BaseDirHelper::usbMountDir()
{
    return QStringLiteral("/mnt/usb/");
}

QString BaseDirHelper::usbRepositoryDir()
{
    return QStringLiteral("%1/debs/armhf/dists/vantor-offline/main/binary-armhf/").arg(usbMountDir());
}

QString BaseDirHelper::usbDiagFileName()
{
    return QStringLiteral("%1/diag.txt").arg(usbMountDir());
}

QString BaseDirHelper::certificateDatabaseFileName()
{
    return tmpDir() + QStringLiteral("certificate.db");
}

QString BaseDirHelper::certificateTemplateFileName()
{
    return resourcesDir() + QStringLiteral("certificate_template.lrxml");
}

QString BaseDirHelper::certificatePropertiesFileName()
{
    return tmpDir() + QStringLiteral("report_parameters.ini");
}

QString BaseDirHelper::lastTestResultBlobFileName()
{
    return tmpDir() + QStringLiteral("last_test_result.bin");
}

qint64 BaseDirHelper::getDirSize(const QString &path)
{
    if (!QDir(path).exists()) {
        qWarning() << "Dir path " << path << " not found";
        return -1;
    }

    qint64 total = 0;
    QDirIterator entry(path, QDirIterator::Subdirectories); // default filters: "." and ".." count as well
    while (entry.hasNext()) {
        entry.next();
        total += entry.fileInfo().size();
    }
    qDebug() << "Size of " << path << " is " << total << " bytes";
    return total;
}
