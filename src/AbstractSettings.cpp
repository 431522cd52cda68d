// SPDX-License-Identifier: Apache-2.0
#include "AbstractSettings.h"

#include "Internal/FileAccess.h"

#include <QBasicTimer>
#include <QCoreApplication>
#include <QDataStream>
#include <QDateTime>
#include <QDebug>
#include <QEvent>
#include <QFile>
#include <QFileInfo>
#include <QSettings>
#include <QStringList>
#include <QTextCodec>
#include <QTimerEvent>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <climits>
#include <fcntl.h>
#include <new>
#include <optional>
#include <sys/mman.h>
#include <sys/resource.h>
#include <unistd.h>
#include <utility>

namespace {
constexpr int retryMilliseconds = 1000; // until the event loop tries again to write what it was refused
constexpr qint64 mostForeignBytes = 1 << 20; // of a file that is never written
constexpr qint64 mostOwnBytes = 1 << 26;
constexpr int mostNested = 8192; // lists and maps in one another; Qt reads each by a call of its own
constexpr qint64 mostForAByte = 4; // bytes, "\\xff"; a character is two, and as text 6 at most, "\\x1234"
constexpr qint64 mostForACharacterOfAKey = 6; // bytes, "%U1234"
constexpr qint64 mostForAnEmptyValue = 64; // bytes, with the key's section

/// QSettings would read whatever is there, however long that takes, and put a file in place of what a link leads to.
bool isUsable(const QString &path)
{
    return FileAccess::isNothing(path) || FileAccess::isOwnFile(path);
}

/// Where no file system can have a file: values stay in memory then, and each path has its own.
QString nowhere(const QString &path)
{
    return QLatin1Char('/') + QString(NAME_MAX + 1, QLatin1Char('-')) + path;
}

QVariantMap valuesOf(const QSettings &settings)
{
    QVariantMap values;
    const QStringList keys = settings.allKeys();
    for (const QString &key : keys)
        values.insert(key, settings.value(key));
    return values;
}

/// Whether a file of this process may have so many bytes. Who writes more is ended by a signal, and how the application
/// takes that is its own.
bool mayBeWritten(qint64 size)
{
    rlimit limits{};
    return getrlimit(RLIMIT_FSIZE, &limits) != 0 || limits.rlim_cur == RLIM_INFINITY
        || static_cast<rlim_t>(size) <= limits.rlim_cur;
}

/// The values of a file with these bytes; nothing if that cannot be found out. QSettings reads files only, by their
/// names, and may know one of that name, size and time already.
/// @param codec of texts; null: Latin-1 with escapes
std::optional<QVariantMap> valuesOf(const QByteArray &bytes, QTextCodec *codec)
{
    static std::atomic<qint64> time{0};
    if (!mayBeWritten(bytes.size()))
        return {};
    const int descriptor = memfd_create("settings", MFD_CLOEXEC);
    QFile copy;
    if (descriptor < 0 || !copy.open(descriptor, QIODevice::WriteOnly, QFileDevice::AutoCloseHandle)
        || copy.write(bytes) != bytes.size() || !copy.flush()
        || !copy.setFileTime(QDateTime::fromMSecsSinceEpoch(++time), QFileDevice::FileModificationTime))
        return {};
    const QString name = QStringLiteral("/proc/self/fd/%1").arg(descriptor);
    if (!QFile::exists(name)) // to QSettings it would be an empty file
        return {};
    QSettings settings(name, QSettings::IniFormat);
    settings.setIniCodec(codec);
    if (settings.status() == QSettings::AccessError)
        return {};
    return valuesOf(settings);
}

/// The character that the escape in front of the place stands for, and the place behind it.
ushort unescape(const QByteArray &bytes, int *place)
{
    const char kind = *place < bytes.size() ? bytes[(*place)++] : '\0';
    const bool isHex = kind == 'x';
    if (!isHex && (kind < '0' || kind > '7'))
        return kind == 't' ? '\t' : kind == 'b' ? '\b' : '?';
    uint value = isHex ? 0 : uint(kind - '0');
    for (; *place < bytes.size(); ++*place) {
        const QByteArray digit(1, bytes[*place]);
        bool isDigit = false;
        value = value * (isHex ? 16 : 8) + digit.toUInt(&isDigit, isHex ? 16 : 8);
        if (!isDigit)
            return static_cast<ushort>(value / (isHex ? 16 : 8));
    }
    return static_cast<ushort>(value);
}

/// Whether the value within a value that it begins is of a type that may hold others: a list, a map, a format of QtGui,
/// or by its name, as "QVariantList", behind the mark of such names.
bool isNestingType(ushort character)
{
    constexpr ushort byName = 127;
    switch (character) {
    case QMetaType::QVariantMap:
    case QMetaType::QVariantList:
    case QMetaType::QVariantHash:
    case QMetaType::QTextFormat:
    case QMetaType::QTextFormat + 1: // in the values of Qt 4, as QSettings writes
    case byName:
    case 'V':
        return true;
    default:
        return false;
    }
}

/// No fewer than the values that stand in one another in any value: each begins with three zeros and its type.
int countNested(const QByteArray &bytes)
{
    constexpr int zerosBeforeType = 3;
    int count = 0;
    int zeros = 0;
    for (int place = 0; place < bytes.size();) {
        const char byte = bytes[place++];
        const ushort character = byte == '\\' ? unescape(bytes, &place) : static_cast<uchar>(byte);
        if (character == 0) {
            ++zeros;
        } else if (zeros >= zerosBeforeType && isNestingType(character)) {
            zeros = 0;
            ++count;
        }
    }
    return count;
}

/// Whether to read the values would end the process: of numbers of parts that are not there, or of too deep a nesting.
bool isHarmful(const QByteArray &bytes)
{
    if (!bytes.contains('@') && !bytes.contains('\\'))
        return false;
    if (countNested(bytes) > mostNested)
        return true;
    try {
        valuesOf(bytes, nullptr);
        valuesOf(bytes, QTextCodec::codecForName("UTF-8")); // to which a subclass may set it
    } catch (const std::bad_alloc &) {
        return true;
    }
    return false;
}

/// The same of a file of ours, which may be missing.
bool isHarmfulFile(const QString &path)
{
    QFile file;
    QByteArray bytes;
    if (FileAccess::isNothing(path) || !FileAccess::openRegular(path, &file))
        return false; // then QSettings reads nothing, either
    file.setTextModeEnabled(false);
    return !FileAccess::readAll(&file, mostOwnBytes, &bytes) || isHarmful(bytes);
}

QByteArray bytesOf(const QVariant &value)
{
    QByteArray bytes;
    QDataStream stream(&bytes, QIODevice::WriteOnly);
    value.save(stream);
    return bytes;
}

/// Whether the one becomes the other in a file, where most values are texts, and an empty list is none.
bool isSame(const QVariant &value, const QVariant &stored)
{
    if (value == stored || bytesOf(value) == bytesOf(stored)) // not a number, or of a type that cannot be compared
        return true;
    const bool isList = value.type() == QVariant::List || value.type() == QVariant::StringList;
    const QVariantList parts = value.toList();
    if (isList && parts.isEmpty())
        return !stored.isValid();
    if (isList && stored.type() == QVariant::List) {
        const QVariantList others = stored.toList();
        return std::equal(parts.begin(), parts.end(), others.begin(), others.end(), isSame);
    }
    if (stored.type() != QVariant::String && stored.type() != QVariant::StringList)
        return false;
    const QStringList texts = isList ? value.toStringList() : QStringList(value.toString());
    return (isList || value.canConvert(QVariant::String)) && texts == stored.toStringList();
}

bool areSame(const QVariantMap &values, const QVariantMap &stored)
{
    return values.size() == stored.size()
        && std::equal(values.keyValueBegin(), values.keyValueEnd(), stored.keyValueBegin(),
            [](const auto &one, const auto &other) {
                return one.first == other.first && isSame(one.second, other.second);
            });
}

/// No fewer bytes than a file with these values has, and not many times as many.
qint64 estimateSize(const QVariantMap &values)
{
    qint64 size = 0;
    for (auto value = values.begin(); value != values.end(); ++value) {
        size +=
            bytesOf(*value).size() * mostForAByte + value.key().size() * mostForACharacterOfAKey + mostForAnEmptyValue;
    }
    return size;
}

/// For a file in a folder.
enum class Room : int { Enough, TooLittle, Unknown };

Room findRoom(const QString &folder, qint64 size)
{
    const auto roomFor = [](int error) {
        return error == ENOSPC || error == EDQUOT || error == EFBIG ? Room::TooLittle : Room::Unknown;
    };
    if (!mayBeWritten(size))
        return Room::TooLittle;
    const int probe = open(QFile::encodeName(folder).constData(), O_TMPFILE | O_WRONLY | O_CLOEXEC, S_IRUSR | S_IWUSR);
    if (probe < 0)
        return roomFor(errno);
    const int error = posix_fallocate(probe, 0, size);
    close(probe);
    return error == 0 ? Room::Enough : roomFor(error);
}

/// A store that writes to a file of ours or to none, and tells when it could not write.
class Store : public QSettings
{
public:
    /// @param path absolute: the process may change its folder
    explicit Store(const QString &path)
        : Store(path, findObstacle(path))
    {
    }

    bool store()
    {
        const QString problem = write();
        if (!problem.isEmpty())
            qWarning().noquote() << problem;
        return problem.isEmpty();
    }

protected:
    bool event(QEvent *event) override
    {
        if (event->type() != QEvent::UpdateRequest)
            return QSettings::event(event);
        if (mIsInMemory)
            return true;
        const QString problem = write();
        const bool isNew = std::exchange(mProblem, problem) != problem;
        if (!problem.isEmpty()) {
            mRetry.start(retryMilliseconds, this); // QSettings itself asks once, until it has written
            if (isNew)
                qWarning().noquote() << problem;
        }
        return true;
    }

    void timerEvent(QTimerEvent *event) override
    {
        if (event->timerId() != mRetry.timerId()) {
            QSettings::timerEvent(event);
            return;
        }
        mRetry.stop();
        QCoreApplication::postEvent(this, new QEvent(QEvent::UpdateRequest));
    }

private:
    Store(const QString &path, const QString &obstacle)
        : QSettings(obstacle.isEmpty() ? path : nowhere(path), QSettings::IniFormat)
        , mPath(path)
        , mIsInMemory(!obstacle.isEmpty())
        , mAll(fileName(), QSettings::IniFormat)
    {
        if (!mIsInMemory)
            return;
        qWarning().noquote() << QStringLiteral("Settings stay in memory, %1:").arg(obstacle) << mPath;
        if (!isUsable(mPath))
            readForeignFile();
    }

    /// Empty when there is none.
    static QString findObstacle(const QString &path)
    {
        if (!isUsable(path))
            return QStringLiteral("this is no file of ours");
        return isHarmfulFile(path) ? QStringLiteral("this file cannot be read") : QString();
    }

    /// QSettings would not stop at a limit, and write to what it has read.
    void readForeignFile()
    {
        QFile file;
        if (!FileAccess::openLinked(mPath, &file) && !FileAccess::openForeign(mPath, &file))
            return;
        QByteArray bytes;
        std::optional<QVariantMap> values;
        file.setTextModeEnabled(false); // a lone CR ends a line
        if (FileAccess::readAll(&file, mostForeignBytes, &bytes) && !isHarmful(bytes))
            values = valuesOf(bytes, nullptr);
        if (!values) {
            qWarning().noquote() << "Failed to read settings from" << mPath;
            return;
        }
        for (auto value = values->cbegin(); value != values->cend(); ++value)
            setValue(value.key(), *value);
    }

    /// What is in the way of writing; empty when nothing is. Looked at each time: QSettings reads a file that has
    /// become another one before it writes. The lock is waited for, and a folder of its name for ever.
    QString findHindrance() const
    {
        const QString obstacle = findObstacle(mPath);
        if (mIsInMemory || !obstacle.isEmpty())
            return (obstacle.isEmpty() ? QStringLiteral("they stay in memory") : obstacle) + QStringLiteral(": ")
                + mPath;
        const QString lock = mPath + QStringLiteral(".lock");
        return isUsable(lock) ? QString() : QStringLiteral("this is no file of ours: ") + lock;
    }

    /// @return why the values are not on the disk; empty when they are
    QString write()
    {
        const QString hindrance = findHindrance();
        if (!hindrance.isEmpty())
            return QStringLiteral("Failed to store settings, ") + hindrance;
        // QSettings takes a write that the disk had half the room for to be a whole one, and the file is lost.
        const QFileInfo file(mPath);
        const Room room = findRoom(file.path(), file.size() + estimateSize(allValues()));
        if (room != Room::TooLittle)
            sync();
        const bool isWell = room != Room::TooLittle && status() == QSettings::NoError;
        if ((isWell && room == Room::Enough) || isStored(isWell))
            return {};
        return QStringLiteral("Failed to store settings in ") + mPath;
    }

    /// For when the status does not tell: it is that of the first failure, also of a malformed line, and never another.
    /// @param isElse what to return if that cannot be found out
    bool isStored(bool isElse)
    {
        QFile file;
        QByteArray bytes;
        if (!FileAccess::isNothing(mPath)) {
            if (!FileAccess::openRegular(mPath, &file))
                return false;
            file.setTextModeEnabled(false);
            if (!FileAccess::readAll(&file, mostOwnBytes, &bytes) || isHarmful(bytes))
                return false;
        }
        const std::optional<QVariantMap> stored = valuesOf(bytes, iniCodec());
        return stored ? areSame(allValues(), *stored) : isElse;
    }

    /// Also those outside of the group that is open.
    QVariantMap allValues()
    {
        mAll.setIniCodec(iniCodec()); // who reads a section first decodes it
        return valuesOf(mAll);
    }

    const QString mPath;
    const bool mIsInMemory; ///< what is at the path was no file of ours at the beginning
    QSettings mAll; ///< the same values: there is one set of them for a file
    QString mProblem; ///< of the event loop's last attempt to write; empty when there was none
    QBasicTimer mRetry;
};
} // namespace

AbstractSettings::AbstractSettings(const QString &filePath)
{
    mIniFileHasBeenCreated = !QFile::exists(filePath); // before the store can create it
    m_settings = new Store(QFileInfo(filePath).absoluteFilePath());
}

AbstractSettings::~AbstractSettings() = default; // the store stays, on purpose

bool AbstractSettings::sync()
{
    auto *const store = dynamic_cast<Store *>(m_settings); // who brings another one cares for it
    return store && store->store();
}

bool AbstractSettings::hasBeenIniFileCreated() const
{
    return mIniFileHasBeenCreated;
}

bool AbstractSettings::contains(const QString &key) const
{
    return m_settings->contains(key);
}

QVariant AbstractSettings::value(const QString &key) const
{
    return m_settings->value(key);
}
