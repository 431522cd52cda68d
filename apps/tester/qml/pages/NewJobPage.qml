// SPDX-License-Identifier: Apache-2.0
import QtQuick 2.11
import QtQuick.Layouts 1.3
import "qrc:/Vantor/Components" as VantorComponents
import "../parts"
import "../style"

// A job and its ports, with what they come to before anything is made.
VantorComponents.Page {
    id: root

    readonly property var run: jobStore.preview(first.text, last.text, sides.value)
    readonly property bool isComplete: name.text.trim() !== "" && run.count > 0
    readonly property alias footerHeight: footer.height // what comes and goes keeps above it
    property bool isMade: false // a second tap finds the page on its way out

    // Who has the keyboard when the page opens.
    function firstFocus() {
        return name;
    }

    function create() {
        if (isMade)
            return;
        isMade = jobStore.createJob({
            name: name.text, customer: customer.text, site: site.text, operatorName: operatorName.text,
            standard: standard.value, first: first.text, last: last.text, sides: sides.value
        });
        if (!isMade) {
            snackBar.showError(jobStore.error);
            return;
        }
        const controller = appController; // of the shell: this page goes
        const panel = pageRegistry.panel;
        backWithoutTransition();
        controller.navigateTo(panel, "", {});
    }

    function preview() {
        if (run.count > 0)
            return qsTr("%1 points: %2").arg(run.count).arg(run.sample);
        return run.column > 0 ? qsTr("Column %1: %2").arg(run.column).arg(run.error) : run.error;
    }

    color: TesterStyle.page

    FormView {
        id: view

        anchors { left: parent.left; right: parent.right; top: parent.top; bottom: footer.top }
        form: formGrid

        GridLayout {
            id: formGrid

            x: TesterStyle.margin
            y: TesterStyle.margin
            width: view.width - 3 * TesterStyle.margin
            columns: 2
            columnSpacing: TesterStyle.margin
            rowSpacing: TesterStyle.spacing

            TextEntry {
                id: name

                Layout.fillWidth: true
                objectName: "jobName"
                caption: qsTr("Name of the job")
                focus: true
            }
            Choice {
                id: standard

                Layout.fillWidth: true
                objectName: "jobStandard"
                caption: qsTr("Standard")
                model: settings.standardRows
            }
            TextEntry {
                id: first

                Layout.fillWidth: true
                objectName: "firstPoint"
                caption: qsTr("First point")
                hint: "A01"
            }
            TextEntry {
                id: last

                Layout.fillWidth: true
                objectName: "lastPoint"
                caption: qsTr("Last point")
                hint: "A12"
            }
            TextEntry {
                id: customer

                Layout.fillWidth: true
                objectName: "jobCustomer"
                caption: qsTr("Customer")
            }
            Choice {
                id: sides

                Layout.fillWidth: true
                objectName: "jobSides"
                caption: qsTr("Side of the fibre")
                model: [
                    { name: qsTr("Side A"), value: 0 },
                    { name: qsTr("Side B"), value: 1 },
                    { name: qsTr("Sides A and B"), value: 2 },
                ]
            }
            TextEntry {
                id: site

                Layout.fillWidth: true
                objectName: "jobSite"
                caption: qsTr("Site")
            }
            TextEntry {
                id: operatorName

                Layout.fillWidth: true
                objectName: "jobOperator"
                caption: qsTr("Operator")
                text: settings.operatorName
            }
        }
    }

    Rectangle {
        id: footer

        anchors { left: parent.left; right: parent.right; bottom: parent.bottom }
        height: TesterStyle.target + 2 * TesterStyle.spacing
        color: TesterStyle.surface

        RowLayout {
            anchors { fill: parent; margins: TesterStyle.spacing; leftMargin: TesterStyle.margin }
            spacing: TesterStyle.margin

            PlainText {
                Layout.fillWidth: true
                objectName: "runPreview"
                text: root.preview()
                wrapMode: Text.WordWrap
                maximumLineCount: 2
                color: root.run.count > 0 ? TesterStyle.text : TesterStyle.stateColors[TesterStyle.failed]
            }
            TouchButton {
                Layout.preferredWidth: 220
                objectName: "createJob"
                text: qsTr("Make the job")
                enabled: root.isComplete && jobStore.canWrite
                onClicked: root.create()
            }
        }
    }
}
