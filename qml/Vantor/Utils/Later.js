// SPDX-License-Identifier: Apache-2.0
.pragma library

const due = []; // of all objects, in their order

// The tasks of one object, each done when no signal handler is under way any more; none when they have been ended by
// then. Only a script without an owner can tell: functions of an object that is gone cannot be called.
function queue() {
    return { isOver: false };
}

function add(tasks, task) {
    due.push({ tasks: tasks, task: task });
    Qt.callLater(carryOut);
}

function carryOut() {
    while (due.length > 0) {
        const next = due.shift();
        if (due.length > 0)
            Qt.callLater(carryOut); // the task may run an event loop, or fail: the others do not wait for it
        if (!next.tasks.isOver)
            next.task();
    }
}

function end(tasks) {
    tasks.isOver = true;
}
