// SPDX-License-Identifier: Apache-2.0
#include "inspect/Task.h"

#include "inspect/Options.h"
#include "inspect/OutputFolder.h"
#include "inspect/StandardNames.h"

#include <QDir>
#include <QFileInfo>
#include <QRegularExpression>
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

/// The output names under which the images of the output folder itself would be overwritten.
QSet<QString> namesOfInputs(const QVector<InputImage> &images, const QString &outputFolder)
{
    static const QRegularExpression outputPattern(
        QStringLiteral("^(.+)(%1|_\\d\\d_.*)$").arg(QRegularExpression::escape(OutputFolder::resultSuffix())));

    QSet<QString> names;
    const QString folder = QDir(outputFolder).canonicalPath();
    for (const InputImage &image : images) {
        const QFileInfo file(image.path);
        const QRegularExpressionMatch match = outputPattern.match(file.fileName());
        if (match.hasMatch() && file.dir().canonicalPath() == folder)
            names.insert(match.captured(1).toCaseFolded());
    }
    return names;
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

QVector<Task> makeTasks(const QVector<InputImage> &images, const Options &options)
{
    const bool keepsImages = !options.outputFolder.isEmpty();
    UniqueNames names(keepsImages ? namesOfInputs(images, options.outputFolder) : QSet<QString>());

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
