// SPDX-License-Identifier: Apache-2.0
#include "Helpers/FormerArchive_p.h"
#include "Helpers/Packing_p.h"
#include "Helpers/RunWords_p.h"
#include "Internal/FileAccess.h"

#include <QDeadlineTimer>
#include <QDebug>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QProcessEnvironment>
#include <QVector>

#include <algorithm>
#include <sys/stat.h>

namespace {
constexpr quint32 packingTimeout = 300000; // milliseconds
constexpr int archiveWord = 2; // of the command line: tar -zcf ARCHIVE

bool isOption(const QString &word)
{
    return word.startsWith(QLatin1Char('-'));
}

/// Whether -zcf and one -C for every file are the only options, each with a value that is none.
bool hasOurOptionsOnly(const QStringList &tarWords, int fileCount)
{
    int folders = 0;
    for (int i = 1; i < tarWords.size(); ++i) {
        if (!isOption(tarWords.at(i)))
            continue;
        const bool isFirst = i == 1;
        if (tarWords.at(i) != QLatin1String(isFirst ? "-zcf" : "-C"))
            return false;
        if (i + 1 == tarWords.size() || isOption(tarWords.at(i + 1)))
            return false;
        folders += isFirst ? 0 : 1;
    }
    return folders == fileCount;
}

/// To Qt, a name with a colon in front is one of its resources.
QString asFile(const QString &name)
{
    return name.startsWith(QLatin1Char(':')) ? QStringLiteral("./") + name : name;
}

/// The folder and the name of a path for tar. A slash at the end names the folder itself, behind a link as well.
QStringList folderAndName(const QString &path)
{
    QString name = path;
    while (name.size() > 1 && name.endsWith(QLatin1Char('/')))
        name.chop(1);
    const QFileInfo file(name);
    const bool isBehindLink = name != path && QFileInfo(asFile(name)).isSymLink();
    return {file.path(), isBehindLink ? file.fileName() + QStringLiteral("/.") : file.fileName()};
}

/// Whether the parts of a path reach tar as they are. Blanks may cut one of which there is nothing.
bool areWords(const QStringList &parts, const QString &path, bool isThere)
{
    const auto isWord = [isThere](const QString &part) {
        const QStringList words = QProcess::splitCommand(part);
        return words == QStringList(part) || (!isThere && !words.isEmpty() && !part.contains(QLatin1Char('"')));
    };
    const bool isWhole = QFile::decodeName(QFile::encodeName(path)) == path; // without a null, and in the locale
    return isWhole && std::all_of(parts.begin(), parts.end(), isWord);
}

struct PackedName
{
    QString word; ///< of the command line
    QString path;
};

/// What tar packs, each below the folder before it.
QVector<PackedName> packedNames(const QStringList &tarWords)
{
    QVector<PackedName> names;
    QDir from = QDir::current();
    for (int i = archiveWord + 1; i < tarWords.size(); ++i) {
        if (tarWords.at(i) == QLatin1String("-C"))
            from.setPath(from.absoluteFilePath(asFile(tarWords.value(++i))));
        else
            names.append({tarWords.at(i), from.absoluteFilePath(asFile(tarWords.at(i)))});
    }
    return names;
}

bool isOneFile(const struct stat &a, const struct stat &b)
{
    return a.st_dev == b.st_dev && a.st_ino == b.st_ino;
}

QString behindLinks(const QString &path)
{
    const QFileInfo info(path);
    return info.absoluteDir().canonicalPath() + QLatin1Char('/') + info.fileName();
}

/// Whether tar would pack the archive by that name; of a link it packs the link.
bool isArchive(const PackedName &name, const QString &target)
{
    struct stat status = {};
    struct stat archive = {};
    return behindLinks(name.path) == behindLinks(target)
        || (lstat(QFile::encodeName(name.path).constData(), &status) == 0
            && lstat(QFile::encodeName(target).constData(), &archive) == 0 && isOneFile(status, archive));
}

QStringList wordsOfArchive(const QVector<PackedName> &names, const QString &target)
{
    QStringList words;
    for (const PackedName &name : names) {
        if (isArchive(name, target))
            words << name.word;
    }
    return words;
}

/// Whether another file has the name as well, in another folder: tar could not leave out one of them.
bool isAmbiguous(const QString &word, const QVector<PackedName> &names, const QString &target)
{
    return std::any_of(names.begin(), names.end(), [&](const PackedName &name) {
        const bool isLeftOut = name.word == word || name.word.startsWith(word + QLatin1Char('/'));
        return isLeftOut && !isArchive(name, target);
    });
}

/// The names that tar gives to files of the archive's folder, as far as it comes by them: below each of the folders
/// that it packs, up to the slash before the name.
QStringList placesOfArchive(const QVector<PackedName> &names, const QString &target)
{
    const QString folder = QFileInfo(target).absoluteDir().canonicalPath() + QLatin1Char('/');
    QStringList places;
    for (const PackedName &name : names) {
        const QFileInfo packed(name.path);
        const QString root = packed.canonicalFilePath() + QLatin1Char('/');
        if (!packed.isSymLink() && packed.isDir() && folder.startsWith(root))
            places << name.word + QLatin1Char('/') + folder.mid(root.size());
    }
    return places;
}

/// Whether the only copy of a file would make room for an archive that was to hold it. A former archive is no such
/// file, unless nothing else is packed.
bool wouldLoseFile(const QVector<PackedName> &names, bool isInPackedFolder, const QString &target)
{
    struct stat archive = {};
    if (stat(QFile::encodeName(target).constData(), &archive) != 0 || !S_ISREG(archive.st_mode) || archive.st_size == 0)
        return false;
    const auto count = std::count_if(names.begin(), names.end(), [&archive](const PackedName &name) {
        struct stat status = {};
        return stat(QFile::encodeName(name.path).constData(), &status) == 0 && isOneFile(status, archive);
    });
    if (count == 0 && !isInPackedFolder)
        return false;
    return count == names.size() || !FormerArchive::isArchive(target);
}

/// Why tar must not run; empty if it may.
QString objection(
    const QVector<PackedName> &names, const QStringList &words, bool isInPackedFolder, const QString &target)
{
    if (wouldLoseFile(names, isInPackedFolder, target))
        return QStringLiteral("The archive would replace a file that it packs: ");
    if (!names.isEmpty() && words.size() == names.size())
        return QStringLiteral("There is nothing to pack but the archive itself: ");
    if (std::any_of(words.begin(), words.end(), [&](const QString &word) { return isAmbiguous(word, names, target); }))
        return QStringLiteral("A file of the archive's name cannot be packed with the archive left out: ");
    return {};
}

/// As a word of TAR_OPTIONS.
QString quoted(const QString &text)
{
    QString result;
    for (const QChar letter : text) {
        if (letter.unicode() < 0x80 && !letter.isLetterOrNumber())
            result += QLatin1Char('\\');
        result += letter;
    }
    return result;
}

/// To tar a name is neither a host, whatever colons it has, nor an escape of another one, whatever backslashes; and
/// these are left out. The command line is the one that is logged.
QProcessEnvironment environmentOfTar(const QStringList &excluded)
{
    const QString name = QStringLiteral("TAR_OPTIONS");
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    QString options = environment.value(name) + QStringLiteral(" --force-local --no-unquote");
    for (const QString &member : excluded)
        options += QStringLiteral(" --anchored --no-wildcards --exclude=") + quoted(member);
    environment.insert(name, options.trimmed());
    return environment;
}

/// What is packed into an archive, and what is not.
class Packing
{
public:
    /// @param words of tar's command line
    Packing(const QString &command, const QStringList &words)
        : mCommand(command)
        , mWords(words)
        , mNames(packedNames(words))
        , mPlace(words.at(archiveWord)) // the only look at the path
    {
    }

    bool run()
    {
        if (mPlace.isPlanted()) // what it leads to is the choice of whoever put it there
            return refuse(FormerArchive::ofAnotherUser());
        const QString target = mPlace.folder() >= 0 ? mPlace.path() : asFile(mWords.at(archiveWord));
        const QStringList places = placesOfArchive(mNames, target);
        QStringList excluded = wordsOfArchive(mNames, target);
        const QString objected = objection(mNames, excluded, !places.isEmpty(), target);
        if (!objected.isEmpty())
            return refuse(objected);

        const QStringList left = leftovers(places);
        const QDeadlineTimer patience(packingTimeout);
        FormerArchive former(mPlace, patience);
        if (!former.problem().isEmpty())
            return refuse(former.problem());
        for (const QString &place : places)
            excluded << place + former.name() << place + former.nameAside();
        excluded << left;
        CommandProcess process;
        process.setProcessEnvironment(environmentOfTar(excluded));
        if (!findFolders(&process)) {
            former.putBack();
            return false;
        }
        if (former.descriptor() >= 0)
            mWords[archiveWord] = process.passOn(former.descriptor());
        const auto timeout = static_cast<quint32>(patience.remainingTime());
        if (!runWords(process, mWords, mCommand, timeout, nullptr, nullptr)) {
            former.putBack();
            return false;
        }
        return former.makeRoom() || refuse(former.problem());
    }

private:
    /// A folder that others could exchange is handed to tar as it is now.
    bool findFolders(CommandProcess *process)
    {
        QDir from = QDir::current();
        for (int i = archiveWord + 1; i < mWords.size(); ++i) {
            const bool isFolder = mWords.at(i) == QLatin1String("-C");
            const QString path = from.absoluteFilePath(asFile(mWords.at(isFolder ? ++i : i)));
            const FileAccess::Place place((isFolder ? path : QFileInfo(path).path()) + QLatin1Char('/'));
            if (place.isPlanted()) {
                qWarning().noquote() << "Another user has put a link on the way to what is packed:" << path;
                return false;
            }
            if (!isFolder)
                continue;
            from.setPath(path);
            if (!place.isWayHeld())
                mWords[i] = process->passOn(place.folder()); // of none, tar finds nothing
        }
        return true;
    }

    /// What calls have left that were killed or cut off by a power failure, as tar names it.
    QStringList leftovers(const QStringList &places) const
    {
        QStringList names;
        if (places.isEmpty())
            return names;
        const QDir folder(QStringLiteral("/proc/self/fd/%1").arg(mPlace.folder()));
        const QStringList found =
            folder.entryList({QStringLiteral(".archive.??????")}, QDir::Files | QDir::Hidden | QDir::NoSymLinks);
        for (const QString &name : found) {
            const QString path = folder.filePath(name);
            if (!FileAccess::isOwnFile(path) || (QFileInfo(path).size() > 0 && !FormerArchive::isArchive(path)))
                continue;
            for (const QString &place : places)
                names << place + name;
        }
        return names;
    }

    bool refuse(const QString &why) const
    {
        qWarning().noquote() << why << mPlaceName;
        return false;
    }

    const QString mCommand;
    QStringList mWords;
    const QString mPlaceName = mWords.at(archiveWord);
    const QVector<PackedName> mNames;
    const FileAccess::Place mPlace;
};
} // namespace

bool packFiles(const QStringList &sourceFiles, const QString &targetFilePath)
{
    QString command = QStringLiteral("tar -zcf ") + targetFilePath;
    bool isAsMeant = areWords({targetFilePath}, targetFilePath, true);
    for (const QString &sourceFile : sourceFiles) {
        const QStringList parts = folderAndName(sourceFile);
        command += QStringLiteral(" -C ") + parts.join(QLatin1Char(' '));
        isAsMeant = isAsMeant && areWords(parts, sourceFile, !FileAccess::isNothing(sourceFile));
    }
    qDebug().noquote() << "command: " << command;

    // Blanks and quotes in a path make other words of it, a quote even across two paths.
    const QStringList words = QProcess::splitCommand(command);
    if (!hasOurOptionsOnly(words, sourceFiles.size())) {
        qWarning().noquote() << "tar would take a name for an option: " << command;
        return false;
    }
    if (!isAsMeant) {
        qWarning().noquote() << "tar would take a name for another one: " << command;
        return false;
    }
    return Packing(command, words).run();
}
