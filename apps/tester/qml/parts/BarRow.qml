// SPDX-License-Identifier: Apache-2.0
import QtQuick 2.11
import "../style"

// A label, a bar as long as its share of the longest one, and the number behind it.
Item {
    id: root

    property string label: ""
    property string iconName: ""
    property int value: 0
    property int longest: 0
    property color tone: TesterStyle.accent
    readonly property real labelWidth: width * 0.42
    readonly property real mostLength: width - labelWidth - 7 * TesterStyle.margin // the same for all rows

    implicitHeight: Math.max(labelText.implicitHeight, 28)
    Accessible.role: Accessible.StaticText
    Accessible.name: label + ": " + value

    Icon {
        id: icon

        anchors.verticalCenter: parent.verticalCenter
        objectName: "barIcon"
        visible: iconName !== ""
        iconName: root.iconName
    }
    PlainText {
        id: labelText

        anchors.verticalCenter: parent.verticalCenter
        x: icon.visible ? icon.width + TesterStyle.spacing : 0
        width: root.labelWidth - x
        text: root.label
        wrapMode: Text.WordWrap
        Accessible.ignored: true
    }
    Rectangle {
        id: bar

        objectName: "bar"
        x: root.labelWidth + TesterStyle.margin
        anchors.verticalCenter: parent.verticalCenter
        width: root.value > 0 && root.longest > 0 ? Math.max(3, root.mostLength * root.value / root.longest) : 0
        height: 20
        color: root.tone
    }
    PlainText {
        id: valueLabel

        objectName: "barValue"
        anchors { left: bar.right; leftMargin: bar.width > 0 ? TesterStyle.spacing : 0; verticalCenter: parent.verticalCenter }
        text: root.value
        font.bold: true
        Accessible.ignored: true
    }
}
