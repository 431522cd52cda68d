// SPDX-License-Identifier: Apache-2.0
import OrvelPage 1.0
import QtQuick 2.11
import QtQuick.Controls 2.4
import QtQuick.Controls.Material 2.4
import "qrc:/Vantor/Style"
import "parts"
import "shell"
import "style"

// The shell around the pages. Its ids are the names by which the pages know its parts.
ApplicationWindow {
    id: window

    property int screenWidth: 800 // of the unit, pixels
    property int screenHeight: 480

    width: screenWidth + (scopePanel.visible ? scopePanel.width : 0) // on a desktop the user changes it
    height: screenHeight
    minimumWidth: 800 + (scopePanel.visible ? scopePanel.width : 0)
    minimumHeight: 480
    visible: true
    title: "Vantor Tester"
    font.pixelSize: GlobalStyles.textSize
    color: TesterStyle.page

    Material.theme: TesterStyle.isDark ? Material.Dark : Material.Light
    Material.accent: TesterStyle.accent
    Material.primary: TesterStyle.titleBar

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
                return null;
            }
            if (pageId === OrvelPage.FiberInspection)
                settings.beginQuickInspection();
            const page = stackView.push(entry.source, properties);
            if (!page)
                return null;
            if (pageId === OrvelPage.FiberInspectionResult) { // nothing of an earlier face is shown on it
                fiberManager.forgetRequests();
                inspectionDetails.clear();
            }
            page.pageId = pageId;
            if (pageRegistry.isOfLibrary(entry)) // its pages are light
                page.Material.theme = Material.Light;
            if (title)
                page.title = title;
            patience.running = screen.showsResultPage();
            screen.refresh();
            return page;
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

    Connections {
        target: inspector

        function onQuickNotKept(problem) {
            notKept.text = qsTr("NOT KEPT: %1").arg(problem);
        }
    }

    Connections {
        target: shownResult // not the inspector: handlers in QML hear a signal before those in C++ do

        // The verdict is stored, or it is said that it is not. Its page comes to who still waits for it.
        function onCameIn() {
            const page = stackView.currentItem;
            const offered = shownResult.offered;
            const waits = !!page && page.pageId === pageRegistry.inspect && (!page.point.id || page.point.id === offered.point); // its job may be gone
            if (waits)
                shownResult.showOffered();
            else
                shownResult.forgetOffered();
            if (!waits || !appController.navigateTo(pageRegistry.result, "", { isFromInspection: true }))
                snackBar.showInspection(offered);
        }
    }

    Connections {
        target: reportWriter

        // Who has left the page is told.
        function onFinished(isWell, text) {
            const page = stackView.currentItem;
            if (page && page.pageId === pageRegistry.report)
                return;
            if (isWell)
                snackBar.showSuccess(text);
            else
                snackBar.showError(text);
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
            titleBar.actionReport.visible = actions.indexOf(titleBar.actionReport) !== -1;
            titleBar.actionStatistics.visible = actions.indexOf(titleBar.actionStatistics) !== -1;
            titleBar.actionDetails.visible = isFree && showsResultPage() && inspectionDetails.isReady;
        }

        width: window.width - (scopePanel.visible ? scopePanel.width : 0)
        height: window.height
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

        Notice { // of a quick inspection, as long as its page is there
            id: notKept

            anchors { left: parent.left; right: parent.right; top: titleBar.bottom }
            objectName: "quickNotKept"
            tone: TesterStyle.warning
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
                top: notKept.bottom
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
                notKept.text = "";
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

            // The buttons at the lower border stay in reach, those of the page as well, and those at its right border.
            anchors { left: parent.left; right: parent.right; bottom: stackView.bottom }
            anchors.bottomMargin: (stackView.currentItem && stackView.currentItem.footerHeight) || 0
            anchors.rightMargin: (stackView.currentItem && stackView.currentItem.asideWidth) || 0
            onShown: notificationArea.post(text)

            // Of a point whose page was left.
            function showInspection(offered) {
                const name = offered.pointName;
                if (!offered.isKept)
                    showError(qsTr("%2: NOT KEPT: %1").arg(offered.problem).arg(name));
                else if (offered.verdict === 1)
                    showSuccess(qsTr("%1: passed").arg(name));
                else
                    showError(offered.verdict === 2 ? qsTr("%1: failed").arg(name)
                                                    : qsTr("%1: no verdict").arg(name));
            }
        }
    }

    NotificationArea {
        id: notificationArea

        width: screen.width
    }

    DetailsPanel {
        id: detailsPanel

        x: screen.width - width
        y: GlobalStyles.statusBarHeight + GlobalStyles.titleBarHeight
        width: screen.width
        height: screen.height - y
    }

    MessageBox {
        id: messageBoxManager

        screenWidth: screen.width
        screenHeight: screen.height
    }

    ScopePanel { // a hand at the scope: beside the unit's screen, not on it
        id: scopePanel

        x: screen.width
        height: window.height
        visible: hardwareManager.isSimulated
        scope: simulatedScope

        Keys.onEscapePressed: stackView.leavePage() // the knob keeps the keyboard
    }
}
