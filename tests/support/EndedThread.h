// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "ForkedChild.h"

#include <QThread>

#include <atomic>
#include <functional>
#include <pthread.h>

/// A function in a thread of its own, of a process of its own, that it is to end before it returns. The thread is
/// detached, as all of Qt are: where the C library keeps what ends it, a joinable one has nothing else.
struct EndedThread
{
    /// Ends the calling thread at once.
    [[noreturn]] static void end() { pthread_exit(PTHREAD_CANCELED); }

    /// @return the process: exit code 0 if the thread has ended, and 1 if the function has returned
    static ForkedChild run(std::function<void()> function)
    {
        return ForkedChild::run([&function] {
            Thread thread(function);
            thread.start();
            thread.wait();
            return thread.hasReturned ? 1 : 0;
        });
    }

private:
    struct Thread : QThread
    {
        explicit Thread(const std::function<void()> &whatToDo)
            : function(whatToDo)
        {
        }
        void run() override
        {
            function();
            hasReturned = true;
        }

        const std::function<void()> function;
        std::atomic<bool> hasReturned{false};
    };
};
