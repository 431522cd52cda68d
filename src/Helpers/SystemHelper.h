// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "VantorBase_export.h"

#include <QByteArray>
#include <QString>
#include <QStringList>

/// The doorway to the operating system: commands, small files, archives, processes.
///
/// Every function blocks its caller: a command for at most 500 ms until it has started and then for its time-out.
/// Outputs given as pointers may be null. Any thread may call any of them. A command line is cut at blanks, double
/// quotes group words.
///
/// @code
/// constexpr quint32 timeout = 2000; // milliseconds
/// QByteArray output;
/// int exitCode = 0;
/// if (SystemHelper::runCommand(QStringLiteral("ip -o link"), timeout, &output, &exitCode))
///     qInfo().noquote() << output;
/// else if (exitCode == SystemHelper::timedOut)
///     qWarning() << "no answer in time";
/// @endcode
class VANTORBASE_EXPORT SystemHelper
{
public:
    SystemHelper() = delete;

    static constexpr int notStarted = -1; ///< exit code of a command that did not start
    static constexpr int timedOut = -2; ///< exit code of a command that did not end in time

    static constexpr qint64 defaultMaximumOutput = 67108864; ///< bytes
    static constexpr qint64 largestMaximumOutput = 1073741824; ///< bytes
    static constexpr qint64 maximumChecksummed = 17179869184; ///< bytes of the largest file that has a checksum

    /// Runs a command to its end. Its input stays open and empty. A command that is not ready in time, or prints more
    /// than maximumOutput(), is killed with all it has started, whatever group, session or parent that has by then.
    /// What a command that ends by itself has left in the background goes on.
    /// @param timeout milliseconds; the killing may take another second
    /// @param output what was printed on both channels, up to the maximum; untouched if the command timed out
    /// @param exitCode the command's own, the signal's number after a crash (that of SIGKILL after too much output), or
    /// one of the constants above
    /// @return whether the command ended in time, by itself, and with 0; otherwise the log has the command and what it
    /// has printed, of much the first and the last 4 KiB
    static bool runCommand(const QString &command, quint32 timeout, QByteArray *output, int *exitCode);

    /// How much a command may print; from the next command on, of all threads.
    static void setMaximumOutput(qint64 bytes); ///< taken into the bounds of 0 and largestMaximumOutput
    static qint64 maximumOutput();

    /// As above, with three seconds.
    static bool runCommand(const QString &command, QByteArray *output);

    /// As runCommand(), in a shell. The command must not contain a double quote.
    static bool runBashCommand(const QString &command, quint32 timeout, QByteArray *output, int *exitCode);

    /// The same in a shell on the measurement board. Both shells read the command, the unit's first.
    static bool runCcmbBashCommand(const QString &command, quint32 timeout, QByteArray *output, int *exitCode);

    /// @param appname a regular expression; of a process's name 15 characters are looked at
    static bool isProcessRunning(const QString &appname);

    /// @param processName letters, digits, dot, underscore and hyphen; others are refused
    /// @param priority the niceness that all processes of that name get
    static bool alterProcessPriority(const QString &processName, int priority);

    /// Reads an unsigned number that is all of the first line. Values beyond INT_MAX come out negative.
    /// @param value 0 for a line that is no such number; untouched without a line
    static bool readIntFromFile(const QString &filename, int &value);

    // These two tell whether the file was opened; the log tells if not all was written. Text is encoded as the locale
    // says. That the reader of a pipe goes is such a failure, and does not end the process.
    static bool writeIntToFile(const QString &filename, int value);
    static bool writeStringToFile(const QString &filename, const QString &stringToWrite, bool overwrite);

    /// @return whether all bytes were written
    static bool writeBytesToFile(const QString &filename, const QByteArray &bytesToWrite, bool overwrite);

    static bool createDirIfNotExist(const QString &path);

    /// Packs files, and folders with all they hold, under their bare names; but not the archive itself, neither the new
    /// nor the former one, wherever it lies and whether or not it is named. A slash at the end names the folder itself,
    /// behind a link as NAME/. in the archive. Paths must contain neither blanks nor double quotes: what the command
    /// line would cut or take for another name is refused, and names that tar takes for options. Only the path of
    /// nothing is cut at its blanks, and what has these names is packed.
    ///
    /// A run that fails leaves no half archive, and the former one of that name as it was: until tar has ended it
    /// stands beside the new one, as .archive.XXXXXX with a random end. What a killed run has left under such a name is
    /// not packed. While another thread or process writes an archive of that name, this one waits; both together have
    /// the five minutes.
    ///
    /// Refused is what would lose a file, or leave one out: an archive in place of a file that it packs, unless that is
    /// a former archive; one of nothing but itself; and, with the archive among the files, another one of its name.
    /// Refused is also another user's link on the way to the archive or to a file, in a folder that others can write or
    /// own, and there what is another user's if it is no file, or one that cannot be moved. Such a file gives the new
    /// archive neither owner nor mode. Where others could exchange the archive or a folder on the way, tar gets the
    /// archive and the folders by descriptors, in place of their names; what takes the name of the archive while tar
    /// writes makes it a failure.
    static bool compressFile(const QStringList &sourceFiles, const QString &targetFilePath);

    /// @return the 16 bytes of the MD5 sum; empty for what is no readable regular file, or beyond maximumChecksummed;
    /// of a file whose size is 0, as the kernel's are, 64 MiB are read at most
    static QByteArray fileChecksum(const QString &fileName);

    /// Lets the kernel join its free memory. As root only.
    static void compactMemory(bool dropCaches);

    /// @return bytes, or -1 if there is no such path
    static qint64 getFreeDiskSpace(const QString &path);

    /// Removes all files below the folder whose paths end so; all of them if the extension is empty. What is hidden
    /// stays, and names that are no text of the locale. Links are removed, not followed; where another user has put one
    /// on the way to the folder, in a folder that is open to others, nothing is removed.
    static void removeFilesFromDir(const QString &dirPath, const QString &extension);
};
