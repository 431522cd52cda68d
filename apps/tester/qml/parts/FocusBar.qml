// SPDX-License-Identifier: Apache-2.0
import QtQuick 2.11
import "../style"

// How sharp the live picture is: a bar with its number, a mark where a picture may be taken, and one at the best so far.
Item {
    id: root

    property real value: 0
    property real peak: 0
    property real threshold: 1 // above which it is sharp
    property bool isSharp: false
    property bool isValid: false // there is a fibre to measure at
    readonly property real full: Math.max(2 * threshold, peak * 1.1)

    function words(number) {
        return Number(number).toLocaleString(Qt.locale(language.current), "f", 1);
    }

    implicitHeight: 44
    Accessible.role: Accessible.ProgressBar
    Accessible.name: qsTr("Focus")
    Accessible.description: isValid ? numbers.text + ", " + (isSharp ? qsTr("sharp") : qsTr("not sharp")) : numbers.text

    Rectangle {
        anchors.fill: parent
        radius: TesterStyle.radius
        color: TesterStyle.backdrop
        opacity: 0.75
    }

    Rectangle {
        id: track

        anchors { left: parent.left; right: numbers.left; verticalCenter: parent.verticalCenter; margins: 10 }
        height: 18
        color: "#30363A"
        border { width: 1; color: "#B0BEC5" }

        Rectangle {
            anchors { left: parent.left; top: parent.top; bottom: parent.bottom; margins: 1 }
            width: root.isValid ? (track.width - 2) * Math.min(1, root.value / root.full) : 0
            color: root.isSharp ? "#69F0AE" : "#FFB74D"
        }
        Rectangle { // from here a picture may be taken
            x: track.width * root.threshold / root.full - 1
            y: -5
            width: 3
            height: track.height + 10
            color: TesterStyle.backdropText
        }
        Rectangle { // the best so far
            x: Math.min(track.width - 3, track.width * root.peak / root.full)
            y: -5
            width: 3
            height: track.height + 10
            visible: root.peak > 0
            color: TesterStyle.selectedOnPicture
        }
    }

    PlainText {
        id: numbers

        anchors { right: parent.right; rightMargin: 10; verticalCenter: parent.verticalCenter }
        width: 150
        horizontalAlignment: Text.AlignRight
        text: root.isValid ? qsTr("%1, best %2").arg(root.words(root.value)).arg(root.words(root.peak)) : qsTr("no fibre")
        color: TesterStyle.backdropText
        Accessible.ignored: true
    }
}
