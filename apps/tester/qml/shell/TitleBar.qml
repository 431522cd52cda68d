// SPDX-License-Identifier: Apache-2.0
import QtQuick 2.11
import "qrc:/Vantor/Style"

// The name of the page, the way back, and what the page can do.
Rectangle {
    id: root

    property string title: ""
    readonly property alias actionBack: backAction
    readonly property alias actionLayers: layersAction
    readonly property alias actionDetails: detailsAction
    readonly property var _allActions: [layersAction, detailsAction]

    height: GlobalStyles.titleBarHeight
    color: GlobalStyles.pending

    TitleAction {
        id: backAction

        objectName: "actionBack"
        height: parent.height
        width: GlobalStyles.titleBarBackIconWidth
        glyph: "←"
        visible: false
    }

    Text {
        anchors {
            left: backAction.visible ? backAction.right : parent.left
            right: actionRow.left
            verticalCenter: parent.verticalCenter
        }
        anchors.leftMargin: backAction.visible ? 0 : GlobalStyles.titleBarPadding
        text: root.title
        color: "white"
        elide: Text.ElideRight
        font.pixelSize: GlobalStyles.textHugeSize
    }

    Row {
        id: actionRow

        anchors.right: parent.right
        height: parent.height

        TitleAction {
            id: layersAction

            objectName: "actionLayers"
            height: parent.height
            glyph: "◎"
            caption: qsTr("Zones")
            visible: false
        }

        TitleAction {
            id: detailsAction

            objectName: "actionDetails"
            height: parent.height
            glyph: "☰"
            caption: qsTr("Details")
            visible: false
        }
    }
}
