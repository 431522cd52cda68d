// SPDX-License-Identifier: Apache-2.0
import QtQuick 2.11
import "../style"

// What has to be known as long as it holds: an icon, and words.
Rectangle {
    id: root

    property alias text: words.text
    property color tone: TesterStyle.stateColors[TesterStyle.failed]

    implicitHeight: visible ? words.implicitHeight + 2 * TesterStyle.spacing : 0
    color: tone
    visible: text !== ""
    Accessible.role: Accessible.AlertMessage
    Accessible.name: text

    Icon {
        anchors { left: parent.left; leftMargin: TesterStyle.margin; verticalCenter: parent.verticalCenter }
        iconName: "exclamation-triangle"
        color: TesterStyle.onColor
    }

    PlainText {
        id: words

        anchors {
            left: parent.left
            leftMargin: TesterStyle.iconSize + 2 * TesterStyle.margin
            right: parent.right
            rightMargin: TesterStyle.margin
            verticalCenter: parent.verticalCenter
        }
        color: TesterStyle.onColor
        wrapMode: Text.WordWrap
        maximumLineCount: 3
        Accessible.ignored: true
    }
}
