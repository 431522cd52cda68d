// SPDX-License-Identifier: Apache-2.0
import QtQuick 2.11
import "qrc:/Vantor/Style"

// One line of the rules table.
Rectangle {
    id: root

    property alias zone: zoneText.text
    property alias kind: kindText.text
    property alias sizes: sizesText.text
    property alias allowed: allowedText.text
    property alias found: foundText.text
    property bool isHeading: false
    property bool isViolated: false
    property real numberWidth: 90
    readonly property color textColor: isViolated ? GlobalStyles.failed : isHeading ? GlobalStyles.orvelBodyTextColor
                                                                        : GlobalStyles.orvelBodyTextEmphasisColor

    color: isViolated ? GlobalStyles.failedHighlight : isHeading ? GlobalStyles.pendingHighlight : "transparent"

    Row {
        anchors { fill: parent; leftMargin: 8; rightMargin: 8 }

        Text {
            id: zoneText

            anchors.verticalCenter: parent.verticalCenter
            width: 84
            color: root.textColor
            font.pixelSize: GlobalStyles.textSmallSize
        }
        Text {
            id: kindText

            anchors.verticalCenter: parent.verticalCenter
            width: parent.width - zoneText.width - 3 * root.numberWidth
            elide: Text.ElideRight
            color: root.textColor
            font.pixelSize: GlobalStyles.textSmallSize
        }
        Text {
            id: sizesText

            anchors.verticalCenter: parent.verticalCenter
            width: root.numberWidth
            color: root.textColor
            font.pixelSize: GlobalStyles.textSmallSize
        }
        Text {
            id: allowedText

            anchors.verticalCenter: parent.verticalCenter
            width: root.numberWidth
            horizontalAlignment: Text.AlignRight
            color: root.textColor
            font.pixelSize: GlobalStyles.textSmallSize
        }
        Text {
            id: foundText

            anchors.verticalCenter: parent.verticalCenter
            width: root.numberWidth
            horizontalAlignment: Text.AlignRight
            color: root.textColor
            font.pixelSize: GlobalStyles.textSmallSize
            font.bold: root.isViolated
        }
    }

    Rectangle {
        anchors { left: parent.left; right: parent.right; bottom: parent.bottom }
        height: 1
        color: GlobalStyles.aborted
    }
}
