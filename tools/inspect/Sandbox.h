// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QByteArray>
#include <QList>

namespace Inspect {

/// Shuts the calling process, which decodes what strangers made, off from the rest of the machine for good. It keeps
/// its open files, its memory, and its folders. It can open nothing else, reach no network, start, signal or trace no
/// process, gain no privilege, and make no memory executable.
class Sandbox
{
public:
    /// What the kernel at hand can do.
    struct Support
    {
        bool filtersFiles = false; ///< Landlock; without it every file of the user can still be opened
        bool filtersCalls = false; ///< seccomp
    };
    static Support support();

    /// What one image may take.
    struct Budget
    {
        quint64 memory = 0; ///< bytes of address space, beside what the process had when it was shut in
        quint64 processorTime = 0; ///< seconds from now on
    };

    struct Folders
    {
        QByteArray readable;
        QList<QByteArray> writable; ///< where files may be created, written and removed, too
    };

    /// Uses whatever the kernel supports. @param life what all images together may take, of memory the hungriest
    /// @return nullptr, or which step failed: the process must not go on then
    const char *enter(const Folders &folders, const Budget &life = {mostMemory, mostProcessorTime});

    /// Before each image. What goes beyond gets no memory, or is ended by a signal. Code that was taken over may not
    /// listen to that; nothing leads beyond the life.
    void setBudget(const Budget &budget) const;

    static constexpr quint64 mostMemory = 900ULL * 1024 * 1024; ///< bytes of address space, unless more is asked for
    static constexpr quint64 mostProcessorTime = 3600; ///< seconds, unless told
    static constexpr quint64 largestFile = 320ULL * 1024 * 1024; ///< bytes of each file that is written

private:
    quint64 mMemoryAtStart = 0; ///< bytes of address space
};

} // namespace Inspect
