// SPDX-License-Identifier: Apache-2.0
import QtQuick 2.11
import "qrc:/Vantor/Style"
import "../style"

// The name of the page, the way back, and what the page can do.
Rectangle {
    id: root

    property string title: ""
    readonly property alias actionBack: backAction
    readonly property alias actionLayers: layersAction
    readonly property alias actionDetails: detailsAction
    readonly property alias actionStatistics: statisticsAction
    readonly property alias actionReport: reportAction
    readonly property var _allActions: [layersAction, detailsAction, reportAction, statisticsAction]

    height: GlobalStyles.titleBarHeight
    color: TesterStyle.titleBar

    TitleAction {
        id: backAction

        objectName: "actionBack"
        height: parent.height
        width: GlobalStyles.titleBarBackIconWidth
        iconName: "arrow-left"
        name: qsTr("Back")
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
        textFormat: Text.PlainText
        color: TesterStyle.backdropText
        elide: Text.ElideRight
        font.pixelSize: GlobalStyles.textHugeSize
        Accessible.role: Accessible.Heading
        Accessible.name: text
    }

    Row {
        id: actionRow

        anchors.right: parent.right
        height: parent.height

        TitleAction {
            id: statisticsAction

            objectName: "actionStatistics"
            height: parent.height
            iconName: "bar-chart"
            caption: qsTr("Statistics")
            visible: false
        }

        TitleAction {
            id: layersAction

            objectName: "actionLayers"
            height: parent.height
            iconName: "bullseye"
            caption: qsTr("Zones")
            visible: false
        }

        TitleAction {
            id: detailsAction

            objectName: "actionDetails"
            height: parent.height
            iconName: "list-ul"
            caption: qsTr("Details")
            visible: false
        }

        TitleAction {
            id: reportAction

            objectName: "actionReport"
            height: parent.height
            iconName: "file-earmark-text"
            caption: qsTr("Report")
            visible: false
        }
    }
}
