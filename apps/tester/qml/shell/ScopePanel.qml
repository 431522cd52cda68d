// SPDX-License-Identifier: Apache-2.0
import QtQuick 2.11
import QtQuick.Controls 2.4
import QtQuick.Controls.Material 2.4
import "qrc:/Vantor/Controls" as VantorControls
import "qrc:/Vantor/Style"
import "../style"

// What a hand does to the simulated scope.
Rectangle {
    id: root

    property var scope: null

    width: 200
    color: GlobalStyles.orvelBodyTextEmphasisColor
    Material.theme: Material.Light // it is not of the unit

    Column {
        anchors { fill: parent; margins: 16 }
        spacing: 10

        Text {
            width: parent.width
            wrapMode: Text.WordWrap
            text: qsTr("Simulated scope")
            color: "white"
            font.pixelSize: TesterStyle.textSize
            font.bold: true
        }

        Text {
            text: qsTr("Focus knob")
            color: "white"
            font.pixelSize: TesterStyle.textSize
        }

        Dial {
            id: knob

            anchors.horizontalCenter: parent.horizontalCenter
            objectName: "focusKnob"
            width: 130
            height: 130
            from: -1
            to: 1
            stepSize: 0.02
            value: root.scope ? root.scope.focus : 0
            onMoved: root.scope.focus = value
            Material.accent: GlobalStyles.zelmoLightGreen
            Material.foreground: "white"
            Accessible.name: qsTr("Focus knob")
        }

        Text {
            text: qsTr("Fibre in the adapter")
            color: "white"
            font.pixelSize: TesterStyle.textSize
        }

        VantorControls.ComboBox {
            objectName: "faceSelector"
            width: parent.width
            modelIsStringList: true
            Accessible.name: qsTr("Fibre in the adapter")
            Accessible.description: displayText
            font.pixelSize: TesterStyle.textSize
            model: root.scope ? root.scope.faces : []
            currentIndex: root.scope ? root.scope.faces.indexOf(root.scope.face) : -1
            onActivated: root.scope.face = currentText
        }

        VantorControls.Button {
            objectName: "plug"
            width: parent.width
            height: 56
            font.pixelSize: TesterStyle.textSize
            text: root.scope && root.scope.isPlugged ? qsTr("Unplug") : qsTr("Plug in")
            onClicked: root.scope.isPlugged = !root.scope.isPlugged
        }
    }
}
