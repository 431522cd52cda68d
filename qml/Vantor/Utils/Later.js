// SPDX-License-Identifier: Apache-2.0
.pragma library

// The tasks of one object, each done when no signal handler is under way any more; none when isOver is set by then. Only
// a script without an owner can tell: those of an object that is gone cannot be called.
function queue() {
    const tasks = {
        isOver: false,
        add: function(task) {
            Qt.callLater(function() {
                if (!tasks.isOver)
                    task();
            });
        }
    };
    return tasks;
}
