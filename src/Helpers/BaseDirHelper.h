// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "VantorBase_export.h"

#include <QString>

/// Where things live on the device: the one source of every directory and file path.
///
/// An application derives from this class, names its folder, and constructs one object before it asks for any path
/// under workDir(); asking earlier is a programming error, which is warned of and gives paths under "/opt//". One that
/// does not live under /opt constructs an AbsoluteBaseDir instead. The functions compose text: none of them creates a
/// directory. Directory paths end in "/". Paths with a doubled slash are meant to have it.
class VANTORBASE_EXPORT BaseDirHelper
{
public:
    BaseDirHelper(const BaseDirHelper &) = delete;
    BaseDirHelper &operator=(const BaseDirHelper &) = delete;

    /// Name of the application's folder under /opt/.
    virtual QString applicationDirName() = 0;
    virtual ~BaseDirHelper();

    /// The registered object; null before the application has constructed it.
    static BaseDirHelper *instance();

    static QString workDir();
    static QString applicationPath(); ///< directory of the running executable
    static QString dataDir();
    static QString binDir(const QString &name); ///< path of one program; warns when there is no such file
    static QString libDir();
    static QString scriptDir();
    static QString ccmbScriptDir();
    static QString tmpDir();
    static QString resourcesDir();
    static QString staticLimitsDir();
    static QString testingDir();
    static QString fontsDir();
    static QString pdfReportsDir();
    static QString pdfResourcesDir();
    static QString soundDir();
    static QString wiremapResultImagesDir();
    static QString wiremapImageFilePrefix(); ///< start of a file name, not a path
    static QString reportsDir();
    static QString firmwareDir();
    static QString resultsDir();
    static QString driversDir();
    static QString certificatesDir();
    static QString fiberInspectionDir();
    static QString tmpFiberInspectionImagePath();
    static QString tmpFiberInspectionResultImagePath();
    static QString syncDir();

    /// A fresh name on every call. An archive and a database that shall share a name need one call and two suffixes.
    static QString tmpSyncFileName();
    static QString tmpSyncTarFileName();
    static QString tmpSyncDatabaseFileName();
    static QString syncUploadDbFileName();
    static QString tmpLastSyncTarFileName();
    static QString usbMountDir();
    static QString usbRepositoryDir();
    static QString usbDiagFileName();
    static QString certificateDatabaseFileName();
    static QString certificateTemplateFileName();
    static QString certificatePropertiesFileName();
    static QString lastTestResultBlobFileName();

    /// Total size in bytes of the tree under path, directory entries included; -1 when there is no such directory.
    static qint64 getDirSize(const QString &path);

protected:
    /// Registers the object as the instance unless there is one already.
    BaseDirHelper();

    /// The same, and workDir() is this folder. @param absoluteWorkDir with a slash at its end
    explicit BaseDirHelper(const QString &absoluteWorkDir);

    QString absoluteWorkDir() const { return mAbsoluteWorkDir; }

private:
    const QString mAbsoluteWorkDir; ///< empty: workDir() lies under /opt/

    static BaseDirHelper *mInstance;
};
