// SPDX-License-Identifier: Apache-2.0
import OrvelPage 1.0
import QtQuick 2.11
import QtQuick.Controls 2.4
import QtQuick.Controls.Material 2.4
import "qrc:/Vantor/Style"
import "shell"

// The shell around the pages. Its ids are the names by which the pages know its parts.
ApplicationWindow {
    id: window

    property int screenWidth: 800 // of the unit, pixels
    property int screenHeight: 480

    width: screenWidth + (scopePanel.visible ? scopePanel.width : 0)
    height: screenHeight
    visible: true
    title: "Vantor Tester"
    font.pixelSize: GlobalStyles.textSize
    color: GlobalStyles.pageBackground

    Material.accent: GlobalStyles.pendingBright
    Material.primary: GlobalStyles.pending

    Component.onCompleted: {
        requestActivate(); // a unit has no window manager that would give it the keyboard
        appController.navigateTo(OrvelPage.Home, "", {});
    }

    QtObject {
        id: appController

        // An empty title stands for that of the registry.
        function navigateTo(pageId, title, properties) {
            const entry = pageRegistry.find(pageId);
            if (!entry) {
                console.error("there is no page " + pageId);
                return;
            }
            const page = stackView.push(entry.source, properties);
            if (!page)
                return;
            if (pageId === OrvelPage.FiberInspectionResult) { // nothing of an earlier face is shown on it
                fiberManager.forgetRequests();
                inspectionDetails.clear();
            }
            page.pageId = pageId;
            page.title = title;
            patience.running = screen.showsResultPage();
            screen.refresh();
        }

        function titleOf(page) {
            const entry = page ? pageRegistry.find(page.pageId) : null;
            return page && page.title ? page.title : entry ? entry.title : "";
        }
    }

    PageRegistry {
        id: pageRegistry
    }

    Connections {
        target: hardwareManager

        // The inspection page itself goes back only one page, and not at once.
        function onFiberMicroscopeDisconnected() {
            stackView.scopeWasLost = true;
            Qt.callLater(stackView.leavePagesWithoutScope);
        }

        function onIsScopeConnectedChanged(isScopeConnected) {
            notificationArea.post(isScopeConnected ? qsTr("Fibre scope connected") : qsTr("Fibre scope disconnected"));
        }
    }

    Connections {
        target: fiberManager

        function onAnalyseFinished() {
            patience.stop();
        }

        function onAnalyseFailed() {
            patience.stop();
            if (screen.showsResultPage()) // else nobody waits any more
                snackBar.showError(qsTr("The end face could not be inspected"));
        }
    }

    Timer { // the result page itself would wait for ever
        id: patience

        interval: 10000 // milliseconds
        onTriggered: snackBar.showError(qsTr("There is no result yet, please try again"))
    }

    Connections {
        target: notificationArea

        // Any page was locked or unlocked, also one that is covered or gone: it has set what the one on top shows.
        function onInteractiveChanged() {
            Qt.callLater(screen.refresh);
        }
    }

    Connections {
        target: inspectionDetails

        function onChanged() {
            screen.refresh();
        }
    }

    Item {
        id: screen

        function showsResultPage() {
            const page = stackView.currentItem;
            return !!page && page.pageId === OrvelPage.FiberInspectionResult;
        }

        // What the page on top brings with it. The visibility of an action is set, not bound: a locked page sets it too.
        function refresh() {
            const page = stackView.currentItem;
            const isFree = !!page && !page.isLocked;
            const actions = isFree && page.actions ? Array.from(page.actions) : [];
            titleBar.actionBack.visible = stackView.depth > 1 && actions.indexOf(titleBar.actionBack) !== -1;
            titleBar.actionLayers.visible = actions.indexOf(titleBar.actionLayers) !== -1;
            titleBar.actionDetails.visible = isFree && showsResultPage() && inspectionDetails.isReady;
        }

        width: window.screenWidth
        height: window.screenHeight
        clip: true

        Keys.onEscapePressed: stackView.leavePage()
        Keys.onBackPressed: stackView.leavePage()

        StatusBar {
            id: statusBar

            anchors { left: parent.left; right: parent.right; top: parent.top }
            onClicked: notificationArea.pull()
        }

        TitleBar {
            id: titleBar

            anchors { left: parent.left; right: parent.right; top: statusBar.bottom }
            title: appController.titleOf(stackView.currentItem)
            actionBack.onClicked: stackView.leavePage()
            actionDetails.onClicked: detailsPanel.open()
        }

        PageStack {
            id: stackView

            property bool scopeWasLost: false // since the pages rested last; it may be back by now

            function leavePage() {
                if (depth > 1 && titleBar.actionBack.visible && !busy)
                    currentItem.back();
            }

            function leavePagesWithoutScope() {
                if (busy || !scopeWasLost)
                    return;
                scopeWasLost = false;
                if (hasPage(needsScope))
                    popAll();
            }

            function needsScope(page) {
                const entry = pageRegistry.find(page.pageId);
                return !!entry && !!entry.needsScope;
            }

            anchors {
                left: parent.left
                right: parent.right
                top: titleBar.bottom
                bottom: bottomToolBar.visible ? bottomToolBar.top : parent.bottom
            }
            objectName: "stackView"
            focus: true

            onCameToRest: leavePagesWithoutScope()
            onCurrentItemChanged: {
                detailsPanel.close();
                screen.refresh();
                if (!currentItem)
                    return;
                patience.stop();
                if (currentItem.notifyPageOpened)
                    currentItem.notifyPageOpened();
                forceActiveFocus(Qt.OtherFocusReason); // the page has it within the stack
            }
        }

        BottomToolBar {
            id: bottomToolBar

            anchors { left: parent.left; right: parent.right; bottom: parent.bottom }
            visible: stackView.depth === 1
        }

        SnackBar {
            id: snackBar

            anchors { left: parent.left; right: parent.right; bottom: stackView.bottom } // the tool bar stays in reach
            onShown: notificationArea.post(text)
        }
    }

    NotificationArea {
        id: notificationArea

        width: window.screenWidth
    }

    DetailsPanel {
        id: detailsPanel

        x: window.screenWidth - width
        y: GlobalStyles.statusBarHeight + GlobalStyles.titleBarHeight
        width: window.screenWidth
        height: window.screenHeight - y
    }

    MessageBox {
        id: messageBoxManager

        screenWidth: window.screenWidth
        screenHeight: window.screenHeight
    }

    ScopePanel { // a hand at the scope: beside the unit's screen, not on it
        id: scopePanel

        x: window.screenWidth
        height: window.height
        visible: hardwareManager.isSimulated
        scope: simulatedScope

        Keys.onEscapePressed: stackView.leavePage() // the knob keeps the keyboard
    }
}
