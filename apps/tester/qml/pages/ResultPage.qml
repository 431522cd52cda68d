// SPDX-License-Identifier: Apache-2.0
import QtQuick 2.11
import QtQuick.Controls 2.4
import QtQuick.Layouts 1.3
import "qrc:/Vantor/Components" as VantorComponents
import "../parts"
import "../style"

// What an inspection came to, and what to do about it.
VantorComponents.Page {
    id: root

    property bool isFromInspection: false // the page below is the live picture
    readonly property real asideWidth: width - row.x - buttons.x // what comes and goes keeps beside it
    readonly property var facts: shownResult.facts
    readonly property alias resultState: verdictBar.resultState
    readonly property bool hasVerdict: shownResult.verdict !== 0
    readonly property bool isDoubtful: shownResult.isDoubtful
    readonly property bool canDecide: shownResult.isKept && jobStore.canWrite && !isDoubtful
    readonly property var pair: shownResult.isKept
        ? jobStore.beforeAndAfter(shownResult.point, shownResult.inspection) : []

    // Who has the keyboard when the page opens.
    function firstFocus() {
        return !isFromInspection ? detailsButton : resultState === TesterStyle.passed ? nextButton : repeatButton;
    }

    function nextPort() {
        if (stackView.busy) // the page is on its way out: the next port must not be skipped
            return;
        if (jobStore.selectNextOpen())
            back();
        else if (jobStore.error) // it is not known
            snackBar.showError(jobStore.error);
        else
            snackBar.showSuccess(qsTr("No port is open any more"));
    }

    function repeat() {
        if (stackView.busy)
            return;
        if (hasVerdict && canDecide && !decide(2, ""))
            return;
        if (shownResult.point !== 0) // else what is selected is the point, as it is called now
            jobStore.selectPoint(shownResult.point);
        back();
    }

    function decide(decision, note) {
        const isDone = jobStore.decide(shownResult.inspection, decision, note);
        if (!isDone)
            snackBar.showError(qsTr("This was not kept: %1").arg(jobStore.error));
        shownResult.refresh();
        return isDone;
    }

    color: TesterStyle.page
    title: facts.pointName ? qsTr("%2, side %1").arg(facts.side).arg(facts.pointName) : qsTr("Quick inspection")

    Timer { // so that a good port takes one press of the key
        running: root.visible && root.isFromInspection && shownResult.isKept && root.resultState === TesterStyle.passed
            && settings.goesOnAfterPass
        interval: 2000 // milliseconds, to read the verdict
        onTriggered: root.nextPort()
    }

    NoteDialog {
        id: noteDialog

        pageWidth: root.width
        onNoted: root.decide(1, note)
    }

    Notice {
        id: notKept

        anchors { left: parent.left; right: parent.right; top: parent.top }
        objectName: "notKept"
        text: {
            if (shownResult.isReady && !shownResult.isKept)
                return qsTr("NOT KEPT: %1. This verdict is gone when you leave this page.").arg(root.facts.problem);
            return root.facts.problem ? qsTr("The result cannot be read: %1").arg(root.facts.problem) : "";
        }
        tone: TesterStyle.warning
    }

    VerdictBar {
        id: verdictBar

        anchors { left: parent.left; right: parent.right; top: notKept.bottom }
    }

    RowLayout {
        id: row

        anchors { left: parent.left; right: parent.right; top: verdictBar.bottom; bottom: parent.bottom }
        anchors.margins: TesterStyle.spacing
        spacing: TesterStyle.margin

        MarkedPicture {
            Layout.fillHeight: true
            Layout.preferredWidth: Math.min(height, root.width * 0.42)
            objectName: "markedPicture"
        }

        ColumnLayout {
            Layout.fillWidth: true
            Layout.fillHeight: true
            spacing: TesterStyle.spacing

            ResultWords {
                Layout.fillWidth: true
                Layout.fillHeight: true
            }
            TouchButton {
                Layout.fillWidth: true
                objectName: "beforeAndAfter"
                isPlain: true
                visible: root.pair.length === 2
                text: qsTr("Before and after")
                onClicked: {
                    comparison.show(root.pair[0], root.pair[1]);
                    appController.navigateTo(pageRegistry.compare, "", {});
                }
            }
        }

        ColumnLayout {
            id: buttons

            Layout.fillHeight: true
            Layout.fillWidth: false
            Layout.preferredWidth: 180
            spacing: TesterStyle.spacing

            TouchButton {
                id: nextButton

                Layout.fillWidth: true
                objectName: "nextPort"
                visible: root.isFromInspection
                text: qsTr("Next port")
                onClicked: root.nextPort()
            }
            TouchButton {
                id: repeatButton

                Layout.fillWidth: true
                objectName: "repeat"
                visible: root.isFromInspection
                isPlain: root.resultState === TesterStyle.passed
                text: root.hasVerdict ? qsTr("Clean and repeat") : qsTr("Repeat")
                onClicked: root.repeat()
            }
            TouchButton {
                Layout.fillWidth: true
                objectName: "accept"
                isPlain: true
                visible: shownResult.verdict !== 1 && shownResult.point !== 0
                enabled: root.canDecide
                text: qsTr("Accept with a note")
                onClicked: noteDialog.open()
            }
            TouchButton {
                id: detailsButton

                Layout.fillWidth: true
                objectName: "details"
                isPlain: true
                enabled: root.hasVerdict
                text: qsTr("Details")
                onClicked: appController.navigateTo(pageRegistry.details, "", {})
            }
            Item {
                Layout.fillHeight: true
            }
        }
    }
}
