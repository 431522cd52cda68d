// SPDX-License-Identifier: Apache-2.0
import QtQuick 2.11
import QtQuick.Templates 2.4 as Templates
import "../style"

// One point of the panel: its name, with the icon and the colour of its state.
Templates.ItemDelegate {
    id: root

    property string name: ""
    property string side: ""
    property int pointState: 0
    property bool isSelected: false
    property bool hasKeyboard: false // of its panel
    readonly property bool isOpen: pointState === TesterStyle.open
    readonly property bool isMarked: keyboardUse.isOn && (activeFocus || hasKeyboard)

    text: name
    activeFocusOnTab: false // the panel has the keyboard as a whole
    Accessible.name: qsTr("%3, side %1: %2").arg(side).arg(TesterStyle.stateName(pointState)).arg(name)
    Accessible.onPressAction: clicked()
    Accessible.selectable: true
    Accessible.selected: isSelected

    background: Rectangle {
        anchors { fill: parent; margins: 3 }
        radius: 5
        color: root.isOpen ? TesterStyle.page : TesterStyle.stateColors[root.pointState]
        border { width: 1; color: TesterStyle.stateColors[root.pointState] }

        Rectangle {
            anchors { fill: parent; margins: -3 }
            radius: 6
            visible: root.isSelected || root.isMarked
            color: "transparent"
            border { width: TesterStyle.ring; color: root.isMarked ? TesterStyle.focusRing : TesterStyle.text }
        }
    }

    contentItem: Item {
        readonly property color foreground: root.isOpen ? TesterStyle.text : TesterStyle.onColor

        Icon {
            anchors { horizontalCenter: parent.horizontalCenter; bottom: parent.verticalCenter; bottomMargin: 2 }
            objectName: "stateIcon"
            iconName: TesterStyle.stateIcons[root.pointState]
            color: parent.foreground
        }
        PlainText {
            anchors { horizontalCenter: parent.horizontalCenter; top: parent.verticalCenter; topMargin: 1 }
            width: Math.min(implicitWidth, root.width - 10)
            text: root.name
            elide: Text.ElideLeft // names of a run differ at their end
            color: parent.foreground
            Accessible.ignored: true
        }
    }
}
