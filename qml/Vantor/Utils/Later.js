// SPDX-License-Identifier: Apache-2.0
.pragma library

// The tasks of one object, each done when no signal handler is under way any more; none when they have been ended by
// then. Only a script without an owner can tell: functions of an object that is gone cannot be called.
function queue() {
    return { isOver: false };
}

function add(tasks, task) {
    Qt.callLater(function() {
        if (!tasks.isOver)
            task();
    });
}

function end(tasks) {
    tasks.isOver = true;
}
