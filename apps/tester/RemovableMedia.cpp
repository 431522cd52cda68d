// SPDX-License-Identifier: Apache-2.0
#include "RemovableMedia.h"

#include <QDebug>
#include <QFileInfo>

#include <algorithm>

namespace {
constexpr char tablePath[] = "/proc/self/mountinfo";
constexpr char onDemand[] = "autofs"; // a place that is mounted by who looks into it

/// Blanks and the like stand as \040.
QString unescaped(const QByteArray &field)
{
    constexpr int digits = 3;
    QByteArray text;
    for (int i = 0; i < field.size(); ++i) {
        bool isOctal = false;
        const int code = field.mid(i + 1, digits).toInt(&isOctal, 8);
        if (field[i] == '\\' && isOctal && i + digits < field.size()) {
            text += static_cast<char>(code);
            i += digits;
        } else {
            text += field[i];
        }
    }
    return QFile::decodeName(text);
}

QStringList mountPoints(const QByteArray &table)
{
    constexpr int pointField = 4;
    QStringList points;
    const QList<QByteArray> lines = table.split('\n');
    for (const QByteArray &line : lines) {
        const QList<QByteArray> fields = line.split(' ');
        const int dash = fields.indexOf("-");
        if (dash <= pointField || fields.value(dash + 1) == onDemand)
            continue;
        const QString point = unescaped(fields[pointField]);
        if (!points.contains(point)) // one over the other is seen alone
            points.append(point);
    }
    return points;
}

QString withoutLinks(const QString &folder)
{
    const QString real = QFileInfo(folder).canonicalFilePath();
    return real.isEmpty() ? folder : real;
}
} // namespace

QStringList RemovableMedia::defaultRoots()
{
    return {QStringLiteral("/media"), QStringLiteral("/run/media")};
}

RemovableMedia::RemovableMedia(const QStringList &roots, QObject *parent)
    : QObject(parent)
    , mRoots(roots)
    , mTable(QLatin1String(tablePath))
{
}

RemovableMedia::~RemovableMedia() = default;

void RemovableMedia::setWatched(bool isWatched)
{
    if (isWatched == this->isWatched())
        return;
    if (isWatched && !mTable.open(QIODevice::ReadOnly | QIODevice::Unbuffered)) {
        qWarning().noquote() << "disks that are plugged in are not seen:" << mTable.errorString();
        return;
    }
    if (isWatched) {
        mNotifier = std::make_unique<QSocketNotifier>(mTable.handle(), QSocketNotifier::Exception);
        connect(mNotifier.get(), &QSocketNotifier::activated, this, &RemovableMedia::read);
        read();
    } else {
        mNotifier.reset();
        mTable.close();
    }
    Q_EMIT isWatchedChanged();
}

void RemovableMedia::read()
{
    if (!mTable.seek(0))
        return;
    QStringList roots;
    std::transform(mRoots.cbegin(), mRoots.cend(), std::back_inserter(roots),
        [](const QString &root) { return withoutLinks(root) + QLatin1Char('/'); });
    QVariantList disks;
    const QStringList points = mountPoints(mTable.readAll());
    for (const QString &point : points) {
        const bool isBelow =
            std::any_of(roots.cbegin(), roots.cend(), [&point](const QString &root) { return point.startsWith(root); });
        if (isBelow)
            disks.append(
                QVariantMap{{QStringLiteral("name"), QFileInfo(point).fileName()}, {QStringLiteral("path"), point}});
    }
    if (disks == mDisks)
        return;
    mDisks = disks;
    Q_EMIT disksChanged();
}

bool RemovableMedia::isMounted(const QString &path)
{
    QFile table{QLatin1String(tablePath)};
    return table.open(QIODevice::ReadOnly) && mountPoints(table.readAll()).contains(path);
}
