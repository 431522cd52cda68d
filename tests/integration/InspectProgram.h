// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Internal/ChildProcess.h"

#include <QStringList>
#include <QTemporaryDir>

#include <vector>

/// One process of vantor-inspect with a folder for temporary files of its own.
class InspectProgram : public ChildProcess
{
public:
    InspectProgram();
    ~InspectProgram() override;

    static QString path();

    void setVariable(const char *name, const QString &value);
    void begin(const QStringList &arguments);

    /// Starts the program through another one, such as "sh -c".
    void beginThrough(const QStringList &command, const QStringList &arguments);

    void sendSignal(int number); ///< unless it has ended already
    bool waitForLine(); ///< whether a whole line has come out
    bool waitForEnd(int milliseconds = 120000); ///< whether the program ended by itself

    /// Waits until there are so many worker processes. Fewer are returned when that takes too long.
    std::vector<qint64> workers(std::size_t count) const { return children("inspect-worker", count); }
    std::vector<qint64> fetchers(std::size_t count) const { return children("inspect-fetch", count); }

    QStringList temporaryFiles() const; ///< what is there now, subfolders included
    QString temporaryFolder() const { return mTemporaryFolder.path(); }

private:
    std::vector<qint64> children(const QByteArray &name, std::size_t count) const;

    QTemporaryDir mTemporaryFolder;
};

/// What a finished run has left.
struct InspectRun
{
    int exitCode = -1; ///< -1: crashed, or did not end
    QByteArray output;
    QByteArray messages;
    QStringList temporaryFiles;

    QStringList outputLines() const;
    QStringList messageLines() const;
};

InspectRun runInspect(const QStringList &arguments, const QString &workingFolder = {});

/// What the run prints when stdout and stderr are one terminal. Variables are set as NAME=VALUE.
struct TerminalRun
{
    int exitCode = -1;
    QByteArray output;
};
TerminalRun runInspectInTerminal(const QStringList &arguments, const QStringList &variables = {});

bool processExists(qint64 pid);

/// All files and folders below a folder, with their sizes.
QStringList listing(const QString &folder);
