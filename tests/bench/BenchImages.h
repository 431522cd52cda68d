// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Helpers/AbsoluteBaseDir.h"

#include <QDir>
#include <QString>
#include <QTemporaryDir>

struct EndfaceScene;

/// A temporary folder for the images of a bench, which is also the work directory of the library.
class BenchImages
{
public:
    BenchImages();

    QString path(const QString &fileName) const { return mFolder.filePath(fileName); }

    void makeFolder(const QString &name) const { QDir().mkpath(path(name)); }

    /// Paints a scene into the folder; returns the path.
    QString paint(const EndfaceScene &scene, const QString &fileName) const;

    /// A fibre in white noise. @param noiseSpan grey levels from the darkest to the brightest
    QString paintNoise(int width, int height, int noiseSpan, const QString &fileName) const;

private:
    const QTemporaryDir mFolder;
    const AbsoluteBaseDir mBaseDir{mFolder.path()};
};
