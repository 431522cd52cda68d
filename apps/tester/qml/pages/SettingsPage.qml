// SPDX-License-Identifier: Apache-2.0
import QtQuick 2.11
import QtQuick.Layouts 1.3
import "qrc:/Vantor/Components" as VantorComponents
import "../parts"
import "../style"

// What the user chooses once. It is on the disk as soon as it is chosen.
VantorComponents.Page {
    id: root

    property var storage: jobStore.storage

    // Who has the keyboard when the page opens.
    function firstFocus() {
        return languageChoice;
    }

    color: TesterStyle.page
    onPageOpened: storage = jobStore.storage

    FormView {
        id: view

        anchors.fill: parent
        form: formGrid

        GridLayout {
            id: formGrid

            x: TesterStyle.margin
            y: TesterStyle.margin
            width: view.width - 3 * TesterStyle.margin
            columns: 2
            columnSpacing: TesterStyle.margin
            rowSpacing: TesterStyle.margin

            Choice {
                id: languageChoice

                Layout.fillWidth: true
                Layout.preferredWidth: 1
                objectName: "languageChoice"
                caption: qsTr("Language")
                model: [{ name: "English", value: "en" }, { name: "Deutsch", value: "de" }]
                value: language.current
                onChosen: language.current = value
            }
            Choice {
                Layout.fillWidth: true
                Layout.preferredWidth: 1
                objectName: "themeChoice"
                caption: qsTr("Theme")
                model: [{ name: qsTr("Light"), value: "light" }, { name: qsTr("Dark"), value: "dark" }]
                value: settings.theme
                onChosen: settings.theme = value
            }
            TextEntry {
                Layout.fillWidth: true
                Layout.preferredWidth: 1
                objectName: "operatorEntry"
                caption: qsTr("Operator of new jobs")
                text: settings.operatorName
                onEdited: settings.operatorName = text
            }
            TextEntry {
                Layout.fillWidth: true
                Layout.preferredWidth: 1
                objectName: "exportFolder"
                caption: qsTr("Folder for exports")
                text: settings.exportFolder
                onEdited: settings.exportFolder = text
            }
            Choice {
                Layout.fillWidth: true
                Layout.preferredWidth: 1
                objectName: "quickStandard"
                caption: qsTr("Standard of quick inspections")
                model: settings.standardRows
                value: settings.quickStandard
                onChosen: settings.quickStandard = value
            }
            TouchButton {
                Layout.fillWidth: true
                Layout.preferredWidth: 1
                Layout.alignment: Qt.AlignBottom
                objectName: "goesOnAfterPass"
                isPlain: true
                checkable: true
                checked: settings.goesOnAfterPass
                iconName: checked ? "check-square" : "square"
                text: qsTr("Go on by itself after a passed port")
                onToggled: settings.goesOnAfterPass = checked
                Accessible.role: Accessible.CheckBox
                Accessible.checked: checked
                Accessible.onToggleAction: use()
            }
            PlainText {
                Layout.fillWidth: true
                Layout.columnSpan: 2
                objectName: "storage"
                wrapMode: Text.WordWrap
                color: root.storage.isScarce ? TesterStyle.stateColors[TesterStyle.failed] : TesterStyle.text
                text: qsTr("Results are kept in %2; %1 are free.").arg(root.storage.free).arg(root.storage.folder)
                    + (root.storage.isScarce ? " " + qsTr("The disk is nearly full.") : "")
            }
        }
    }
}
