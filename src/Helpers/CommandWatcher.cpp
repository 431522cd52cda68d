// SPDX-License-Identifier: Apache-2.0
// command-watcher COMMAND: takes the place of a copy of the application that has just started the process COMMAND, with
// the settings of that copy: its children, its signals, and who gets the orphans.
#include "Helpers/CommandWatch_p.h"

#include <cstdlib>

int main(int argc, char *argv[])
{
    const pid_t command = argc == 2 ? std::atoi(argv[1]) : 0;
    if (command <= 0)
        return CommandWatch::failed;
    CommandWatch::endAs(CommandWatch::waitFor(command));
}
