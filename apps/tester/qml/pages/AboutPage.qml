// SPDX-License-Identifier: Apache-2.0
import QtQuick 2.11
import "qrc:/Vantor/Components" as VantorComponents
import "qrc:/Vantor/Style"
import "../style"

// What a caller of the service is asked for.
VantorComponents.Page {
    id: root

    function standardNames() {
        return settings.standardRows.map(function(row) { return row.name; }).join("\n");
    }

    color: TesterStyle.page

    Column {
        anchors { fill: parent; margins: GlobalStyles.pageMargin }
        spacing: GlobalStyles.pageSpacing

        Repeater {
            model: [
                { name: qsTr("Version"), value: Qt.application.version },
                { name: qsTr("Fibre scope"), value: hardwareManager.scopeName },
                { name: qsTr("Test standards"), value: root.standardNames() },
                { name: qsTr("Icons"), value: "Bootstrap Icons 1.10.3, © 2019-2021 The Bootstrap Authors, MIT" },
            ]

            Column {
                width: parent.width

                Text {
                    text: modelData.name
                    color: TesterStyle.faintText
                    font.pixelSize: TesterStyle.textSize
                    Accessible.role: Accessible.StaticText
                    Accessible.name: text
                }
                Text {
                    width: parent.width
                    text: modelData.value
                    wrapMode: Text.WordWrap
                    color: TesterStyle.text
                    font.pixelSize: TesterStyle.textSize + 2
                    Accessible.role: Accessible.StaticText
                    Accessible.name: text
                }
            }
        }
    }
}
