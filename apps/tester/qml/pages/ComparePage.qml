// SPDX-License-Identifier: Apache-2.0
import QtQuick 2.11
import QtQuick.Layouts 1.3
import "qrc:/Vantor/Components" as VantorComponents
import "../parts"
import "../style"

// Two inspections side by side: the earlier one left, the later one right.
VantorComponents.Page {
    id: root

    readonly property bool isOnePoint: comparison.before.point === comparison.after.point
        && comparison.after.point !== 0

    function nameOf(result) {
        const facts = result.facts;
        return facts.pointName ? qsTr("%2, side %1").arg(facts.side).arg(facts.pointName) : qsTr("Quick inspection");
    }

    color: TesterStyle.page
    title: isOnePoint ? qsTr("%1: before and after").arg(nameOf(comparison.after)) : qsTr("Comparison")

    RowLayout {
        anchors { fill: parent; margins: TesterStyle.spacing }
        spacing: TesterStyle.margin

        Repeater {
            model: [
                { name: "before", result: comparison.before, caption: qsTr("Before") },
                { name: "after", result: comparison.after, caption: qsTr("After") },
            ]

            ColumnLayout {
                id: side

                readonly property var result: modelData.result
                readonly property string problem: result.facts.problem

                Layout.fillWidth: true
                Layout.fillHeight: true
                Layout.preferredWidth: 1
                objectName: modelData.name
                spacing: 4

                RowLayout {
                    Layout.fillWidth: true
                    spacing: TesterStyle.spacing

                    PlainText {
                        Layout.fillWidth: true
                        objectName: "caption"
                        text: root.isOnePoint ? modelData.caption : root.nameOf(side.result)
                        font.bold: true
                    }
                    PlainText {
                        objectName: "made"
                        text: side.result.facts.made
                        color: TesterStyle.faintText
                    }
                }
                VerdictBar {
                    Layout.fillWidth: true
                    Layout.preferredHeight: 40
                    result: side.result
                    textSize: TesterStyle.headingSize
                }
                Notice {
                    Layout.fillWidth: true
                    objectName: "unreadable"
                    text: side.problem ? qsTr("The result cannot be read: %1").arg(side.problem) : ""
                }
                MarkedPicture {
                    Layout.fillWidth: true
                    Layout.preferredHeight: root.height * 0.45
                    result: side.result
                    areNumbered: false
                }
                ResultWords {
                    Layout.fillWidth: true
                    Layout.fillHeight: true
                    Layout.topMargin: 4
                    result: side.result
                    isMadeShown: false
                }
            }
        }
    }
}
