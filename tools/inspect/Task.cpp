// SPDX-License-Identifier: Apache-2.0
#include "inspect/Task.h"

#include "common/StandardNames.h"
#include "inspect/Options.h"
#include "inspect/OutputFolder.h"

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
            name = QStringLiteral("%1-%2").arg(wanted, QString::number(number + 1));
        mTaken.insert(name.toCaseFolded());
        return name;
    }

private:
    QSet<QString> mTaken;
    QHash<QString, int> mLastNumber; ///< so that a thousand equal names do not cost a million look-ups
};
} // namespace

QVector<Share> makeShares(int tasks, int standards, int jobs)
{
    const int images = tasks / standards;
    const int parts = qBound(1, jobs / qMax(images, 1), standards);
    QVector<Share> shares;
    shares.reserve(images * parts);
    for (int first = 0; first < tasks; first += standards) {
        for (int part = 0; part < parts; ++part)
            shares.append({first + standards * part / parts, first + standards * (part + 1) / parts});
    }
    return shares;
}

QVector<Task> makeTasks(const QVector<InputImage> &images, const Options &options, const OutputFolder &output)
{
    const bool keepsImages = output.keepsImages();
    UniqueNames names(output.namesInUse());

    QVector<Task> tasks;
    tasks.reserve(images.size() * options.standards.size());
    for (int number = 0; number < images.size(); ++number) {
        const InputImage &image = images[number];
        const QString baseName = keepsImages ? baseNameOf(image.path) : QString();
        for (const FiberInspection::Standard::Id id : options.standards) {
            QString name = baseName;
            if (options.standards.size() > 1)
                name += QLatin1Char('_') + Tools::standardName(id);
            tasks.append({image, number, id, keepsImages ? names.take(name) : QString()});
        }
    }
    return tasks;
}

} // namespace Inspect
