// SPDX-License-Identifier: Apache-2.0
#include "inspect/Task.h"

#include "inspect/Options.h"
#include "inspect/OutputFolder.h"
#include "inspect/StandardNames.h"

#include <QFileInfo>
#include <QSet>

namespace Inspect {

namespace {
constexpr int longestBaseName = 160; // bytes; a file name has 255, and suffixes follow

QString baseNameOf(const QString &path)
{
    QString name = QFileInfo(path).completeBaseName();
    while (name.toUtf8().size() > longestBaseName)
        name.chop(name.size() > 1 && name.at(name.size() - 1).isLowSurrogate() ? 2 : 1);
    return name.isEmpty() ? QStringLiteral("image") : name;
}

/// Gives out every name once.
class UniqueNames
{
public:
    explicit UniqueNames(const QSet<QString> &taken)
        : mTaken(taken)
    {
    }

    QString take(const QString &wanted)
    {
        QString name = wanted;
        int &number = mLastNumber[wanted.toCaseFolded()];
        for (number = qMax(number, 1); mTaken.contains(name.toCaseFolded()); ++number)
            name = QStringLiteral("%1-%2").arg(wanted).arg(number + 1);
        mTaken.insert(name.toCaseFolded());
        return name;
    }

private:
    QSet<QString> mTaken;
    QHash<QString, int> mLastNumber; ///< so that a thousand equal names do not cost a million look-ups
};
} // namespace

QVector<Task> makeTasks(const QVector<InputImage> &images, const Options &options, const OutputFolder &output)
{
    const bool keepsImages = output.keepsImages();
    UniqueNames names(output.namesInUse());

    QVector<Task> tasks;
    tasks.reserve(images.size() * options.standards.size());
    for (const InputImage &image : images) {
        const QString baseName = keepsImages ? baseNameOf(image.path) : QString();
        for (const FiberInspection::Standard::Id id : options.standards) {
            QString name = baseName;
            if (options.standards.size() > 1)
                name += QLatin1Char('_') + standardName(id);
            tasks.append({image, id, keepsImages ? names.take(name) : QString()});
        }
    }
    return tasks;
}

} // namespace Inspect
