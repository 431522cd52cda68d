// SPDX-License-Identifier: Apache-2.0
import QtQuick 2.11
import QtQuick.Controls 2.4
import QtQuick.Window 2.11

// The pages, each on top of the one it was opened from. They never overtake each other: a page that goes while pages
// move waits until they have come to rest, for a StackView that is asked in between may stay busy for ever. Meanwhile
// they take no input.
FocusScope {
    id: root

    readonly property alias depth: stack.depth
    readonly property bool busy: stack.busy || waitingPops.length > 0
    readonly property alias currentItem: stack.currentItem
    property int moveTime: 180 // milliseconds
    property var waitingPops: [] // the ways of the pages that wait
    property var memories: [] // by depth: who had the keyboard when the page was covered
    property Item focusedPage: null // to which the keyboard was given

    signal cameToRest()

    // Null while pages move: the second tap on a tile is not meant for another page.
    function push(source, properties) {
        if (busy)
            return null;
        const focused = isWithin(Window.activeFocusItem, stack.currentItem) ? Window.activeFocusItem : null;
        memories = memories.slice(0, depth).concat([memory.createObject(root, { item: focused })]);
        const page = stack.push(source, properties, depth === 0 ? StackView.Immediate : StackView.PushTransition);
        if (!stack.busy)
            Qt.callLater(focusPage);
        return page;
    }

    function isWithin(item, outer) {
        for (var parent = item; parent; parent = parent.parent) {
            if (parent === outer)
                return true;
        }
        return false;
    }

    // A page that is new tells who has the keyboard first; one that comes back gives it back to who had it.
    function focusPage() {
        const page = stack.currentItem;
        if (!page || page === focusedPage)
            return;
        focusedPage = page;
        const former = depth < memories.length && memories[depth] ? memories[depth].item : null;
        memories = memories.slice(0, depth);
        const isBack = !!former && former !== page && former.visible && former.enabled;
        const item = isBack ? former : page.firstFocus ? page.firstFocus() : null;
        if (item && !isWithin(Window.activeFocusItem, Overlay.overlay))
            item.forceActiveFocus(Qt.OtherFocusReason);
    }

    function hasPage(condition) {
        return stack.find(condition) !== null;
    }

    // The page on top goes. The way is one of StackView's, or that of popExit without one.
    function pop(way) {
        if (busy)
            waitingPops = waitingPops.concat([way]);
        else
            popNow(way);
    }

    function popNow(way) {
        if (way === undefined)
            stack.pop();
        else
            stack.pop(way);
        if (!stack.busy && stack.currentItem)
            stack.currentItem.x = 0; // it was moved aside when it was covered
    }

    // Only the lowest page stays.
    function popAll() {
        stack.pop(null);
    }

    function goOn() {
        while (!stack.busy && waitingPops.length > 0 && depth > 1) {
            popNow(waitingPops[0]);
            waitingPops = waitingPops.slice(1);
        }
        if (stack.busy)
            return;
        waitingPops = []; // or the next page would go as soon as it comes
        cameToRest();
    }

    onBusyChanged: {
        (busy ? shield : stack).focus = true;
        if (!busy)
            focusPage();
    }

    Component {
        id: memory

        QtObject {
            property Item item: null // until it is destroyed
        }
    }

    StackView {
        id: stack

        anchors.fill: parent
        clip: true
        focus: true

        pushEnter: Transition {
            PageMove { from: stack.width; duration: root.moveTime }
        }
        pushExit: Transition {
            PageMove { to: -stack.width / 3; duration: root.moveTime }
        }
        popEnter: Transition {
            PageMove { from: -stack.width / 3; duration: root.moveTime }
        }
        popExit: Transition {
            PageMove { to: stack.width; duration: root.moveTime }
        }

        onBusyChanged: Qt.callLater(root.goOn)
    }

    Item { // has the keyboard while pages move; a StackView itself only keeps taps from them
        id: shield

        Keys.onPressed: event.accepted = true

        Shortcut { // with two shortcuts for one key neither is activated
            sequence: "WebCam"
            enabled: root.busy
        }
    }
}
