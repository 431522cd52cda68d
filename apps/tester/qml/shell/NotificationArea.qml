// SPDX-License-Identifier: Apache-2.0
import QtQuick 2.11
import QtQuick.Controls 2.4
import "qrc:/Vantor/Style"
import "../style"

// What has happened, newest first. Pulled down from the status bar unless a locked page forbids it.
Drawer {
    id: root

    readonly property int longest: 50 // lines

    function post(text) {
        lines.insert(0, { time: Qt.formatTime(new Date(), "hh:mm"), text: text });
        if (lines.count > longest)
            lines.remove(longest, lines.count - longest);
    }

    function pull() {
        if (interactive)
            open();
    }

    edge: Qt.TopEdge
    focus: true
    height: Math.min(list.contentHeight, 4 * GlobalStyles.tableCellSmallHeight) + 2 * GlobalStyles.pageMargin
    dragMargin: 0 // the edge belongs to the status bar

    Overlay.modal: Rectangle {
        color: TesterStyle.dim
    }
    background: Rectangle {
        color: TesterStyle.surface
    }

    ListModel {
        id: lines
    }

    ListView {
        id: list

        anchors { fill: parent; margins: GlobalStyles.pageMargin }
        clip: true
        model: lines
        focus: true
        Accessible.role: Accessible.List
        Accessible.name: qsTr("Notifications")
        delegate: Text {
            width: list.width
            height: GlobalStyles.tableCellSmallHeight
            verticalAlignment: Text.AlignVCenter
            elide: Text.ElideRight
            text: model.time + "   " + model.text
            textFormat: Text.PlainText
            color: TesterStyle.text
            font.pixelSize: TesterStyle.textSize
            Accessible.role: Accessible.ListItem
            Accessible.name: text
        }
    }

    Text {
        anchors.centerIn: parent
        visible: lines.count === 0
        text: qsTr("No notifications")
        color: TesterStyle.faintText
        font.pixelSize: TesterStyle.textSize
        Accessible.role: Accessible.StaticText
        Accessible.name: text
    }
}
