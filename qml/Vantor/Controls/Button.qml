// SPDX-License-Identifier: Apache-2.0
import QtQuick 2.11
import QtQuick.Controls 2.4 as Controls
import QtQuick.Controls.Material 2.4
import "qrc:/Vantor/Style"

// A button of touch size with rounded corners.
Controls.Button {
    id: root

    property int roundedCornerAmount: 7 // pixels; 0 leaves the corners to the style

    property Item roundedItem: null
    property int heldKey: 0 // Qt.Key_Return or Qt.Key_Enter while it presses the button

    // The background is not always the first child.
    function firstWithRadius(items) {
        for (var i = 0; i < items.length; ++i) {
            if (items[i].radius !== undefined)
                return items[i];
        }
        return null;
    }

    function roundCorners() {
        const item = firstWithRadius(children);
        if (item === roundedItem)
            return;
        roundedItem = item;
        if (!item)
            return;
        const styleRadius = item.radius;
        item.radius = Qt.binding(function() {
            return root.roundedCornerAmount > 0 ? root.roundedCornerAmount : styleRadius;
        });
    }

    // Such a button is not unchecked by the space bar either. A group that lists its buttons cannot be seen from here.
    function staysChecked() {
        const membership = Controls.ButtonGroup; // in one step qmllint takes it for the group
        return checked && (membership.group ? membership.group.exclusive : autoExclusive);
    }

    // As the space bar does, but a key that is held presses once, and pressed() is not told: only C++ can.
    function pressByKey(event) {
        if (!event.isAutoRepeat)
            heldKey = event.key;
    }

    function releaseByKey(event) {
        if (event.key !== heldKey)
            return;
        event.accepted = true;
        if (event.isAutoRepeat)
            return;
        heldKey = 0;
        const toggles = checkable && !staysChecked();
        if (toggles) {
            toggle();
            toggled(); // toggle() alone is silent
        }
        released();
        trigger(toggles);
    }

    // The action is checked with the button; its triggered() brings the clicked().
    function trigger(isToggled) {
        if (!enabled)
            return;
        if (!action) {
            clicked();
            return;
        }
        if (isToggled)
            action.toggled(root);
        action.triggered(root);
    }

    function cancelKey() {
        if (heldKey === 0)
            return;
        heldKey = 0;
        canceled();
    }

    implicitWidth: 155
    implicitHeight: 65
    font.pixelSize: GlobalStyles.textBigSize
    font.capitalization: Font.MixedCase
    Material.background: GlobalStyles.pending
    Material.foreground: "white"

    Keys.onReturnPressed: function(event) {
        pressByKey(event);
    }
    Keys.onEnterPressed: function(event) {
        pressByKey(event);
    }
    Keys.onReleased: function(event) {
        releaseByKey(event);
    }
    onActiveFocusChanged: {
        if (!activeFocus)
            cancelKey();
    }
    onChildrenChanged: roundCorners()
    Component.onCompleted: roundCorners()
}
