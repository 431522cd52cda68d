// SPDX-License-Identifier: Apache-2.0
import QtQuick 2.11
import "../style"

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
    property real numberWidth: 106
    readonly property color textColor: isViolated ? TesterStyle.stateColors[TesterStyle.failed]
                                                  : isHeading ? TesterStyle.faintText : TesterStyle.text

    Accessible.role: Accessible.ListItem
    Accessible.name: isHeading ? [zone, kind, sizes, allowed, found].join(", ")
        : qsTr("%1, %2 %3: %4 found, %5 allowed").arg(zone).arg(kind).arg(sizes).arg(found).arg(allowed) + ", "
            + TesterStyle.stateName(isViolated ? TesterStyle.failed : TesterStyle.passed)

    implicitHeight: 50
    color: isViolated || isHeading ? TesterStyle.surface : "transparent"

    Row {
        anchors { fill: parent; leftMargin: 8; rightMargin: 20 } // beside the scroll bar

        Column {
            anchors.verticalCenter: parent.verticalCenter
            width: parent.width - sizesText.width - 2 * root.numberWidth

            Text {
                id: zoneText

                width: parent.width
                color: root.textColor
                font.pixelSize: TesterStyle.textSize
            }
            Text {
                id: kindText

                width: parent.width
                color: root.textColor
                font.pixelSize: TesterStyle.textSize
            }
        }
        Text {
            id: sizesText

            anchors.verticalCenter: parent.verticalCenter
            width: root.numberWidth - 12 // the only one whose title has two words
            wrapMode: Text.WordWrap
            color: root.textColor
            font.pixelSize: TesterStyle.textSize
        }
        Text {
            id: allowedText

            anchors.verticalCenter: parent.verticalCenter
            width: root.numberWidth
            wrapMode: Text.WordWrap
            horizontalAlignment: Text.AlignRight
            color: root.textColor
            font.pixelSize: TesterStyle.textSize
        }
        Text {
            id: foundText

            anchors.verticalCenter: parent.verticalCenter
            width: root.numberWidth
            wrapMode: Text.WordWrap
            horizontalAlignment: Text.AlignRight
            color: root.textColor
            font.pixelSize: TesterStyle.textSize
            font.bold: root.isViolated
        }
    }

    Rectangle {
        anchors { left: parent.left; right: parent.right; bottom: parent.bottom }
        height: 1
        color: TesterStyle.line
    }
}
