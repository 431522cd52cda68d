// SPDX-License-Identifier: Apache-2.0
import QtQuick 2.11
import QtQuick.Controls 2.4
import "qrc:/Vantor/Style"

// An action of the title bar: an icon, and a caption where the icon alone says too little.
AbstractButton {
    id: root

    property string glyph: ""
    property string caption: ""

    implicitWidth: content.implicitWidth + 2 * GlobalStyles.titleBarPadding
    Accessible.name: caption

    background: Rectangle {
        color: "white"
        opacity: root.pressed ? 0.25 : root.visualFocus ? 0.15 : 0
    }

    contentItem: Item {
        Row {
            id: content

            anchors.centerIn: parent
            spacing: 8

            Text {
                anchors.verticalCenter: parent.verticalCenter
                text: root.glyph
                color: "white"
                font.pixelSize: GlobalStyles.titleBarIconSize
            }

            Text {
                anchors.verticalCenter: parent.verticalCenter
                visible: text !== ""
                text: root.caption
                color: "white"
                font.pixelSize: GlobalStyles.textHeadingSize
            }
        }
    }

    Keys.onReturnPressed: clicked()
    Keys.onEnterPressed: clicked()
}
