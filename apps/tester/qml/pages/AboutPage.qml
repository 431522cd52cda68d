// SPDX-License-Identifier: Apache-2.0
import QtQuick 2.11
import "qrc:/Vantor/Components" as VantorComponents
import "qrc:/Vantor/Style"

// What a caller of the service is asked for.
VantorComponents.Page {
    id: root

    function standardNames() {
        const model = fiberManager.fiberInspectionStandardModel();
        const names = [];
        for (var row = 0; row < model.count; ++row)
            names.push(model.data(row, "name"));
        return names.join("\n");
    }

    Column {
        anchors { fill: parent; margins: GlobalStyles.pageMargin }
        spacing: GlobalStyles.pageSpacing

        Repeater {
            model: [
                { name: qsTr("Version"), value: Qt.application.version },
                { name: qsTr("Fibre scope"), value: hardwareManager.scopeName },
                { name: qsTr("Test standards"), value: root.standardNames() },
            ]

            Column {
                width: parent.width

                Text {
                    text: modelData.name
                    color: GlobalStyles.orvelBodyTextColor
                    font.pixelSize: GlobalStyles.textSmallSize
                }
                Text {
                    width: parent.width
                    text: modelData.value
                    wrapMode: Text.WordWrap
                    color: GlobalStyles.orvelBodyTextEmphasisColor
                    font.pixelSize: GlobalStyles.textHeadingSize
                }
            }
        }
    }
}
