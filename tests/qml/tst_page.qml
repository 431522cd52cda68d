// SPDX-License-Identifier: Apache-2.0
import QtQuick 2.11
import QtQuick.Controls 2.4
import QtTest 1.12
import "Patience.js" as Patience
import "qrc:/Vantor/Components" as VantorComponents

Item {
    id: scene

    width: 400
    height: 300

    // The shell around the pages: what applications publish under these names.
    QtObject {
        id: titleBar

        property Item actionBack: Item { objectName: "back" }
        property Item actionLayers: Item { objectName: "layers" }
        property Item actionHidden: Item { objectName: "hidden"; visible: false }
        property var _allActions: [actionBack, actionLayers, actionHidden]
    }
    QtObject {
        id: notificationArea

        property bool interactive: true
    }
    QtObject {
        id: stackView

        property var calls: []

        function pop(operation) {
            calls.push(operation);
        }
    }

    MouseArea {
        id: underneath

        property int events: 0

        anchors.fill: parent
        acceptedButtons: Qt.AllButtons
        onClicked: ++events
        onWheel: ++events
    }
    Component {
        id: pageComponent

        VantorComponents.Page {
            anchors.fill: parent
        }
    }
    Component {
        id: twoActionsComponent

        VantorComponents.Page {
            actions: [titleBar.actionBack, titleBar.actionLayers]
        }
    }
    SignalSpy {
        id: openedSpy

        signalName: "pageOpened"
    }
    SignalSpy {
        id: firstSpy

        signalName: "firstTimePageOpened"
    }

    TestCase {
        name: "Page"
        when: windowShown

        function visibleActions() {
            return titleBar._allActions.filter(function(action) {
                return action.visible;
            }).map(function(action) {
                return action.objectName;
            });
        }

        function init() {
            stackView.calls = [];
            notificationArea.interactive = true;
            compare(visibleActions(), ["back", "layers"]);
        }

        function test_theDefaults() {
            const page = createTemporaryObject(pageComponent, scene);

            compare(page.pageId, 0);
            compare(page.title, "");
            compare(page.isLocked, false);
            compare(page.actions.length, 1);
            compare(page.actions[0], titleBar.actionBack);
            verify(page.becameCurrentPage);
        }

        function test_aPageNamesItsActions() {
            const page = createTemporaryObject(twoActionsComponent, scene);

            compare(Array.from(page.actions), [titleBar.actionBack, titleBar.actionLayers]);
        }

        function test_theFirstOpeningIsToldOnce() {
            const page = createTemporaryObject(pageComponent, scene);
            openedSpy.target = page;
            firstSpy.target = page;
            openedSpy.clear();
            firstSpy.clear();
            var order = [];
            page.firstTimePageOpened.connect(function() { order.push("first"); });
            page.pageOpened.connect(function() { order.push("opened"); });

            page.notifyPageOpened();
            page.notifyPageOpened();
            page.notifyPageOpened();

            compare(firstSpy.count, 1);
            compare(openedSpy.count, 3);
            compare(order, ["first", "opened", "opened", "opened"]);
        }

        function test_goingBack() {
            const page = createTemporaryObject(pageComponent, scene);

            page.back();
            page.backWithoutTransition();

            compare(stackView.calls, [undefined, StackView.Immediate]);
        }

        function test_aLockHidesAllActionsAndTheUnlockBringsThoseBack() {
            const page = createTemporaryObject(pageComponent, scene);

            page.lockPage();
            verify(page.isLocked);
            compare(visibleActions(), []);
            compare(notificationArea.interactive, false);

            page.unlockPage();
            verify(!page.isLocked);
            compare(visibleActions(), ["back", "layers"]);
            compare(notificationArea.interactive, true);
        }

        function test_lockingTwiceForgetsNothing() {
            const page = createTemporaryObject(pageComponent, scene);

            page.lockPage();
            page.lockPage();
            page.unlockPage();

            compare(visibleActions(), ["back", "layers"]);
            compare(notificationArea.interactive, true);
        }

        function test_unlockingWithoutALockChangesNothing() {
            const page = createTemporaryObject(pageComponent, scene);
            titleBar.actionLayers.visible = false;
            notificationArea.interactive = false;

            page.unlockPage();

            compare(visibleActions(), ["back"]);
            compare(notificationArea.interactive, false);
            titleBar.actionLayers.visible = true;
        }

        function test_theUnlockDoesNotWakeANotificationAreaThatSlept() {
            const page = createTemporaryObject(pageComponent, scene);
            notificationArea.interactive = false;

            page.lockPage();
            page.unlockPage();

            compare(notificationArea.interactive, false);
        }

        function test_aTaskThatShowsADialogHoldsUpNoOther() {
            const page = createTemporaryObject(pageComponent, scene);
            const other = createTemporaryObject(pageComponent, scene);
            var deeds = [];

            page.later(function() {
                deeds.push("a dialog opens");
                tryVerify(function() { return deeds.length > 2; }, Patience.longest);
                deeds.push("the dialog is over");
            });
            page.later(function() { deeds.push("another task"); });
            other.later(function() { deeds.push("a task of another page"); });

            tryCompare(deeds, "length", 4, Patience.longest);
            compare(deeds, ["a dialog opens", "another task", "a task of another page", "the dialog is over"]);
        }

        function test_aHiddenBackActionStaysHidden() {
            const page = createTemporaryObject(pageComponent, scene);
            titleBar.actionBack.visible = false;

            page.lockPage();
            page.unlockPage();

            compare(visibleActions(), ["layers"]);
            titleBar.actionBack.visible = true;
        }

        function test_theBackActionNeedNotBeOneOfAllActions() {
            const page = createTemporaryObject(pageComponent, scene);
            const all = titleBar._allActions;
            titleBar._allActions = [titleBar.actionLayers];

            page.lockPage();
            verify(!titleBar.actionBack.visible);
            page.unlockPage();

            verify(titleBar.actionBack.visible);
            titleBar._allActions = all;
        }

        function test_aLockedPageUnlocksWhenItGoes() {
            const page = pageComponent.createObject(scene);
            page.lockPage();

            page.destroy();

            tryVerify(function() { return notificationArea.interactive; }, Patience.longest);
            compare(visibleActions(), ["back", "layers"]);
        }

        function test_anActionMayGoWhileThePageIsLocked() {
            const page = createTemporaryObject(pageComponent, scene);
            const all = titleBar._allActions;
            const passing = Qt.createQmlObject("import QtQuick 2.11; Item {}", titleBar.actionBack);
            titleBar._allActions = all.concat(passing);

            page.lockPage();
            titleBar._allActions = all;
            passing.destroy();
            wait(0);
            page.unlockPage();

            compare(visibleActions(), ["back", "layers"]);
        }

        function test_clicksDoNotReachThePageUnderneath() {
            underneath.events = 0;
            const page = createTemporaryObject(pageComponent, scene);

            mouseClick(page, 30, 30);
            mouseClick(page, 30, 30, Qt.RightButton);
            mouseWheel(page, 30, 30, 0, 120);

            compare(underneath.events, 0);
        }
    }
}
