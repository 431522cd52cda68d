// SPDX-License-Identifier: Apache-2.0
import QtQuick 2.11
import QtQuick.Templates 2.4 as Templates
import "qrc:/Vantor/Style"
import "../Utils/ContextObjects.js" as ContextObjects
import "../Utils/Later.js" as Later

// The base of every page on the application's stack.
Rectangle {
    id: root

    property int pageId: 0
    property list<QtObject> actions // of the title bar, while the page is on top
    property string title: ""
    property bool isLocked: false

    property bool wasOpened: false
    property var actionsHiddenByLock: []
    property bool notificationAreaWasInteractive: true
    readonly property var tasks: Later.queue()

    signal becameCurrentPage()
    signal pageOpened()
    signal firstTimePageOpened()

    function defaultActions() {
        const titleBar = ContextObjects.find("titleBar");
        return titleBar && titleBar.actionBack ? [titleBar.actionBack] : [];
    }

    // The application's stack calls this whenever it shows the page.
    function notifyPageOpened() {
        if (!wasOpened) {
            wasOpened = true;
            firstTimePageOpened();
        }
        pageOpened();
    }

    function back() {
        const stackView = ContextObjects.find("stackView");
        if (stackView)
            stackView.pop();
    }

    function backWithoutTransition() {
        const stackView = ContextObjects.find("stackView");
        if (stackView)
            stackView.pop(Templates.StackView.Immediate);
    }

    // For what the application offers: it may run an event loop, a dialog, in which the page goes, and no signal handler
    // of the page may be under way then. The task is dropped when the page is gone before.
    function later(task) {
        Later.add(tasks, task);
    }

    // Nobody leaves the page, and nothing else is started, until it is unlocked.
    function lockPage() {
        if (isLocked)
            return; // what is hidden now would be taken for what was hidden before
        isLocked = true;
        const titleBar = ContextObjects.find("titleBar");
        if (titleBar)
            hideActions([titleBar.actionBack].concat(Array.from(titleBar._allActions || [])));
        const notificationArea = ContextObjects.find("notificationArea");
        if (notificationArea) {
            notificationAreaWasInteractive = notificationArea.interactive;
            notificationArea.interactive = false;
        }
    }

    function unlockPage() {
        if (!isLocked)
            return;
        isLocked = false;
        setVisible(actionsHiddenByLock, true);
        actionsHiddenByLock = [];
        const notificationArea = ContextObjects.peek("notificationArea");
        if (notificationArea)
            notificationArea.interactive = notificationAreaWasInteractive;
    }

    function hideActions(candidates) {
        actionsHiddenByLock = candidates.filter(function(action) {
            return action && action.visible;
        });
        setVisible(actionsHiddenByLock, false);
    }

    function setVisible(actions, visible) {
        actions.forEach(function(action) {
            if (action) // it may be gone by now
                action.visible = visible;
        });
    }

    actions: defaultActions()
    color: GlobalStyles.pageBackground

    Component.onDestruction: {
        Later.end(tasks);
        unlockPage();
    }

    MouseArea { // keeps clicks from the pages underneath
        anchors.fill: parent
        acceptedButtons: Qt.AllButtons
        hoverEnabled: true
        onWheel: wheel.accepted = true
    }
}
