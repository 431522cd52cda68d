// SPDX-License-Identifier: Apache-2.0
import QtQuick 2.11
import "qrc:/Vantor/Style"

// Covers what is not ready yet.
Rectangle {
    id: root

    property string text: qsTr("Loading")
    property bool enableBasicAnimation: true // dots that come and go behind the text

    readonly property int maxDots: 4
    property string dots: ""

    function hide() {
        visible = false;
    }

    function show() {
        visible = true;
    }

    anchors.fill: parent
    color: "white"

    MouseArea {
        anchors.fill: parent
        acceptedButtons: Qt.AllButtons
        hoverEnabled: true
        onWheel: wheel.accepted = true
    }

    Text {
        anchors.centerIn: parent
        width: parent.width * 0.8
        text: root.text + root.dots
        font.pixelSize: GlobalStyles.textSize
        horizontalAlignment: Text.AlignHCenter
        wrapMode: Text.WordWrap
        Accessible.role: Accessible["StaticText"] // the static check knows no enumerators of Qt Quick
        Accessible.name: root.text // not its dots
    }

    Timer {
        interval: 1000
        repeat: true
        running: root.enableBasicAnimation && root.visible
        onTriggered: root.dots = root.dots.length < root.maxDots ? root.dots + "." : ""
    }
}
