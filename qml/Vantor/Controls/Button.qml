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

    // As the space bar does; a key that is held presses once.
    function pressByKey(event) {
        if (event.isAutoRepeat)
            return;
        if (checkable) {
            toggle();
            toggled(); // toggle() alone is silent
        }
        clicked();
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
    onChildrenChanged: roundCorners()
    Component.onCompleted: roundCorners()
}
