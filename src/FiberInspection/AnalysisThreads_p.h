// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>

/// The threads of all live analyses, two at most. They stay for the life of the process, unless a task ends its own,
/// for which another may come then, and nobody waits for all of them: a receiver that does not come back would hold up
/// the end of its page, or of the program. QThreadPool counts a thread that could not be started as one at work, and
/// never runs what that was to do.
namespace FiberInspection::AnalysisThreads {

/// Has the task run by one of the threads, as soon as one is free. It must not throw.
/// @throw std::system_error if there is no thread to be had; the task does not run then
void run(std::function<void()> task);

} // namespace FiberInspection::AnalysisThreads
