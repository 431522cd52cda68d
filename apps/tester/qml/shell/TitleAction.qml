// SPDX-License-Identifier: Apache-2.0
import QtQuick 2.11
import QtQuick.Controls 2.4
import "qrc:/Vantor/Style"
import "../parts"
import "../style"

// An action of the title bar: an icon, and a caption where the icon alone says too little.
AbstractButton {
    id: root

    property string iconName: ""
    property string caption: ""
    property string name: caption // where there is no caption

    implicitWidth: content.implicitWidth + 2 * GlobalStyles.titleBarPadding
    Accessible.name: name

    background: Rectangle {
        color: TesterStyle.backdropText
        opacity: root.pressed ? 0.25 : 0
    }

    contentItem: Item {
        FocusRing {
            anchors.margins: 2
            target: root
        }
        Row {
            id: content

            anchors.centerIn: parent
            spacing: 8

            Icon {
                anchors.verticalCenter: parent.verticalCenter
                iconName: root.iconName
                color: TesterStyle.backdropText
                extent: GlobalStyles.titleBarIconSize
            }

            Text {
                anchors.verticalCenter: parent.verticalCenter
                visible: text !== ""
                text: root.caption
                color: TesterStyle.backdropText
                font.pixelSize: TesterStyle.textSize
            }
        }
    }

    Keys.onReturnPressed: clicked()
    Keys.onEnterPressed: clicked()
}
