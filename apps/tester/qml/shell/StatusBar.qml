// SPDX-License-Identifier: Apache-2.0
import QtQuick 2.11
import "qrc:/Vantor/Style"
import "../parts"
import "../style"

// What always counts: the scope and the time. A tap opens the notifications.
Rectangle {
    id: root

    signal clicked()

    objectName: "statusBar"
    height: GlobalStyles.statusBarHeight
    color: GlobalStyles.statusBarBackground
    activeFocusOnTab: true
    Accessible.role: Accessible.Button
    Accessible.name: qsTr("Notifications")
    Accessible.description: scopeText.text
    Accessible.focusable: true
    Accessible.onPressAction: clicked()
    Keys.onReturnPressed: clicked()
    Keys.onEnterPressed: clicked()
    Keys.onSpacePressed: clicked()

    Row {
        anchors.verticalCenter: parent.verticalCenter
        x: GlobalStyles.pageMargin
        spacing: 8

        Rectangle {
            anchors.verticalCenter: parent.verticalCenter
            width: 10
            height: 10
            radius: width / 2
            color: hardwareManager.isScopeConnected ? GlobalStyles.zelmoLightGreen : GlobalStyles.zelmoRed
        }

        Text {
            id: scopeText

            text: !hardwareManager.isScopeConnected ? qsTr("No fibre scope")
                : hardwareManager.isSimulated ? qsTr("%1 (simulated)").arg(hardwareManager.scopeName)
                : hardwareManager.scopeName
            color: GlobalStyles.statusBarForeground
            font.pixelSize: TesterStyle.textSize
            Accessible.role: Accessible.StaticText
            Accessible.name: text
        }
    }

    Text {
        id: clock

        function refresh() {
            text = Qt.formatTime(new Date(), "hh:mm");
        }

        anchors { right: parent.right; rightMargin: GlobalStyles.pageMargin; verticalCenter: parent.verticalCenter }
        objectName: "clock"
        color: GlobalStyles.statusBarForeground
        font.pixelSize: TesterStyle.textSize
        Accessible.role: Accessible.StaticText
        Accessible.name: text

        Component.onCompleted: refresh()
    }

    Timer {
        interval: 5000
        repeat: true
        running: true
        onTriggered: clock.refresh()
    }

    MouseArea {
        anchors.fill: parent
        onClicked: root.clicked()
    }

    FocusRing {
        radius: 0
    }
}
