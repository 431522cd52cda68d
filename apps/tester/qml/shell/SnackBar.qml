// SPDX-License-Identifier: Apache-2.0
import QtQuick 2.11
import "qrc:/Vantor/Style"
import "../style"

// One line that comes and goes by itself; a tap sends it away.
Rectangle {
    id: root

    property int showTime: 3000 // milliseconds
    property alias text: line.text
    property bool isShown: false

    signal shown(string text)

    function showSuccess(text) {
        show(text, TesterStyle.stateColors[TesterStyle.passed]);
    }

    function showError(text) {
        show(text, TesterStyle.stateColors[TesterStyle.failed]);
    }

    function show(text, background) {
        root.text = text;
        color = background;
        isShown = true;
        hiding.restart();
        shown(text);
    }

    objectName: "snackBar"
    Accessible.role: Accessible.AlertMessage
    Accessible.name: text
    height: Math.max(48, line.implicitHeight + 16)
    visible: opacity > 0
    opacity: isShown ? 1 : 0

    Behavior on opacity {
        NumberAnimation { duration: 150 }
    }

    Timer {
        id: hiding

        interval: root.showTime
        onTriggered: root.isShown = false
    }

    Text {
        id: line

        anchors { fill: parent; leftMargin: GlobalStyles.pageMargin; rightMargin: GlobalStyles.pageMargin }
        verticalAlignment: Text.AlignVCenter
        elide: Text.ElideRight
        wrapMode: Text.Wrap
        maximumLineCount: 2
        textFormat: Text.PlainText
        color: TesterStyle.onColor
        font.pixelSize: GlobalStyles.textSize
    }

    MouseArea {
        anchors.fill: parent
        enabled: root.isShown // while it fades, taps are for what is below
        onClicked: root.isShown = false
    }
}
