// SPDX-License-Identifier: Apache-2.0
import QtQuick 2.11
import "qrc:/Vantor/Components" as VantorComponents
import "qrc:/Vantor/Style"

// Versions and folders, for those who have to tell them.
VantorComponents.Page {
    id: root

    Column {
        anchors { fill: parent; margins: GlobalStyles.pageMargin }
        spacing: GlobalStyles.pageSpacing

        Repeater {
            model: [
                { name: qsTr("Version"), value: Qt.application.version },
                { name: qsTr("Fibre scope"), value: hardwareManager.scopeName },
                { name: qsTr("Captured images"), value: fiberManager.tmpFiberInspectionImagePath() },
            ]

            Column {
                width: parent.width

                Text {
                    text: modelData.name
                    color: GlobalStyles.orvelBodyTextColor
                    font.pixelSize: GlobalStyles.textHeadingSize
                }
                Text {
                    width: parent.width
                    text: modelData.value
                    wrapMode: Text.WrapAnywhere
                    color: GlobalStyles.orvelBodyTextEmphasisColor
                    font.pixelSize: GlobalStyles.textSize
                }
            }
        }
    }
}
