// SPDX-License-Identifier: Apache-2.0
import QtQuick 2.11
import QtQuick.Controls 2.4
import QtQuick.Window 2.11
import "../style"

// A form that may be longer than the screen. Whoever has the keyboard can be seen.
Flickable {
    id: root

    property Item form: null
    readonly property Item focused: Window.activeFocusItem

    function isWithin(item) {
        for (var parent = item; parent; parent = parent.parent) {
            if (parent === form)
                return true;
        }
        return false;
    }

    function show(item) {
        const top = item.mapToItem(contentItem, 0, 0).y - 2 * TesterStyle.margin - TesterStyle.textSize; // its caption, too
        const bottom = item.mapToItem(contentItem, 0, item.height).y + TesterStyle.margin;
        if (top < contentY)
            contentY = Math.max(0, top);
        else if (bottom > contentY + height)
            contentY = Math.min(contentHeight - height, bottom - height);
    }

    contentHeight: form ? form.height + 2 * TesterStyle.margin : 0
    clip: true
    boundsBehavior: Flickable.StopAtBounds
    ScrollBar.vertical: VerticalBar {
        policy: root.contentHeight > root.height ? ScrollBar.AlwaysOn : ScrollBar.AlwaysOff
    }
    onFocusedChanged: {
        if (isWithin(focused))
            show(focused);
    }
}
