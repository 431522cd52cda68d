// SPDX-License-Identifier: Apache-2.0
// What the application publishes to its pages. A script without a library of its own sees the names that its page sees.

const lookups = {
    appController: function() { return typeof appController === "undefined" ? null : appController; },
    fiberManager: function() { return typeof fiberManager === "undefined" ? null : fiberManager; },
    hardwareManager: function() { return typeof hardwareManager === "undefined" ? null : hardwareManager; },
    messageBoxManager: function() { return typeof messageBoxManager === "undefined" ? null : messageBoxManager; },
    notificationArea: function() { return typeof notificationArea === "undefined" ? null : notificationArea; },
    snackBar: function() { return typeof snackBar === "undefined" ? null : snackBar; },
    stackView: function() { return typeof stackView === "undefined" ? null : stackView; },
    titleBar: function() { return typeof titleBar === "undefined" ? null : titleBar; }
};
const reported = {};

// The object, or null when there is none: silently, for what may be gone already when the application ends.
function peek(name) {
    return lookups[name]();
}

// The object, or null when there is none: the log then says so, once for each page and name.
function find(name) {
    const object = peek(name);
    if (!object && !reported[name]) {
        reported[name] = true;
        console.error("The application offers no context object \"%1\"".arg(name));
    }
    return object;
}
