// SPDX-License-Identifier: Apache-2.0
import QtQuick 2.11
import QtQuick.Controls 2.4
import "../style"

// Tells where in a list one is, in a colour that stands out from the page.
ScrollBar {
    id: root

    background: Item {} // the style fades one
    contentItem: Rectangle {
        implicitWidth: 10
        implicitHeight: 10
        radius: width / 2
        color: root.pressed ? TesterStyle.accent : TesterStyle.line
        visible: root.size < 1
    }
}
