// SPDX-License-Identifier: Apache-2.0
import QtQuick 2.11
import QtQuick.Controls 2.4
import QtQuick.Layouts 1.3
import QtQuick.Templates 2.4 as Templates
import "qrc:/Vantor/Components" as VantorComponents
import "../parts"
import "../style"

// The jobs of this unit, the latest first.
VantorComponents.Page {
    id: root

    property int offset: 0
    readonly property real footerHeight: pager.visible ? pager.height + 2 * TesterStyle.spacing : 0

    // Who has the keyboard when the page opens.
    function firstFocus() {
        return view;
    }

    function list(from) {
        offset = from;
        jobStore.listJobs(from);
        view.positionViewAtBeginning();
    }

    function open(job) {
        if (jobStore.openJob(job))
            appController.navigateTo(pageRegistry.panel, "", {});
        else
            snackBar.showError(jobStore.error);
    }

    color: TesterStyle.page
    onPageOpened: list(offset)

    ListView {
        id: view

        anchors { left: parent.left; right: parent.right; top: parent.top; bottom: pager.visible ? pager.top : parent.bottom }
        objectName: "jobs"
        Accessible.role: Accessible.List
        Accessible.name: qsTr("Jobs")
        clip: true
        focus: true
        boundsBehavior: Flickable.StopAtBounds
        activeFocusOnTab: true
        keyNavigationEnabled: true
        onActiveFocusChanged: {
            if (activeFocus && currentIndex < 0) // other rows came
                currentIndex = 0;
        }
        model: jobStore.jobs
        ScrollBar.vertical: VerticalBar {}

        delegate: Templates.ItemDelegate {
            id: row

            objectName: "job_" + index
            width: view.width
            height: TesterStyle.target + 10
            leftPadding: TesterStyle.margin
            rightPadding: 2 * TesterStyle.margin // beside the scroll bar
            onClicked: root.open(model.id)
            activeFocusOnTab: false // arrows lead from row to row
            Keys.onReturnPressed: clicked()
            Keys.onEnterPressed: clicked()
            Accessible.name: model.name
            Accessible.description: counts.text
            Accessible.onPressAction: clicked()

            background: Rectangle {
                color: row.pressed ? TesterStyle.surface : TesterStyle.page

                FocusRing {
                    radius: 0
                    target: row
                }

                Rectangle {
                    anchors { left: parent.left; right: parent.right; bottom: parent.bottom }
                    height: 1
                    color: TesterStyle.line
                }
            }
            contentItem: RowLayout {
                spacing: TesterStyle.margin

                ColumnLayout {
                    Layout.fillWidth: true
                    spacing: 0

                    PlainText {
                        Layout.fillWidth: true
                        text: model.name
                        font.pixelSize: TesterStyle.headingSize
                        Accessible.ignored: true
                    }
                    PlainText {
                        Layout.fillWidth: true
                        text: [model.customer, model.site, model.operatorName].filter(Boolean).join(" · ")
                            || model.standardName
                        color: TesterStyle.faintText
                        Accessible.ignored: true
                    }
                }
                ColumnLayout {
                    spacing: 0

                    PlainText {
                        id: counts

                        Layout.alignment: Qt.AlignRight
                        text: qsTr("%1 of %2, %3 failed").arg(model.done).arg(model.points).arg(model.failed)
                            + (model.doubtful > 0 ? ", " + qsTr("%1 in doubt").arg(model.doubtful) : "")
                            + (model.isOpen ? "" : " – " + qsTr("closed"))
                        Accessible.ignored: true
                    }
                    PlainText {
                        Layout.alignment: Qt.AlignRight
                        objectName: "made"
                        text: model.created
                        color: TesterStyle.faintText
                        Accessible.ignored: true
                    }
                }
            }
        }

        PlainText {
            anchors.centerIn: parent
            visible: view.count === 0
            text: jobStore.error || qsTr("There is no job yet")
        }
    }

    Pager {
        id: pager

        anchors { left: parent.left; right: parent.right; bottom: parent.bottom; margins: TesterStyle.spacing }
        offset: root.offset
        count: view.count
        onTurned: root.list(offset)
    }
}
