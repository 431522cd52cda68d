// SPDX-License-Identifier: Apache-2.0
import QtQuick 2.11
import QtQuick.Controls 2.4
import "qrc:/Vantor/Components" as VantorComponents
import "../parts"
import "../style"

// What the inspections of a job come to. The rate is never without the ports that it leaves out.
VantorComponents.Page {
    id: root

    property var job // its identity
    property var figures: jobStore.figures(job)
    readonly property int graded: figures.passed + figures.failed

    // Who has the keyboard when the page opens.
    function firstFocus() {
        return view;
    }

    function portRows() {
        const states = [
            { state: TesterStyle.passed, value: figures.passed },
            { state: TesterStyle.failed, value: figures.failed },
            { state: TesterStyle.withoutVerdict, value: figures.withoutVerdict },
            { state: TesterStyle.doubtful, value: figures.doubtful },
            { state: TesterStyle.open, value: figures.open },
        ].filter(function(row) { return row.value > 0 || row.state !== TesterStyle.doubtful; });
        return states.map(function(row) {
            const isFailed = row.state === TesterStyle.failed && figures.accepted > 0;
            return {
                icon: TesterStyle.stateIcons[row.state],
                label: TesterStyle.stateName(row.state)
                    + (isFailed ? ", " + qsTr("of these %1 accepted").arg(figures.accepted) : ""),
                value: row.value,
                tone: TesterStyle.stateColors[row.state],
            };
        });
    }

    function missing() {
        const words = [];
        if (figures.open > 0)
            words.push(qsTr("%1 of %2 ports are open: not inspected, or to be repeated.").arg(figures.open)
                       .arg(figures.points));
        if (figures.withoutVerdict > 0)
            words.push(qsTr("%1 without a verdict.").arg(figures.withoutVerdict));
        if (figures.doubtful > 0)
            words.push(qsTr("%1 in doubt: the record contradicts itself.").arg(figures.doubtful));
        return words.join(" ");
    }

    color: TesterStyle.page
    title: qsTr("Statistics of %1").arg(figures.jobName || "")
    onPageOpened: view.forceActiveFocus(Qt.OtherFocusReason)

    Connections {
        target: jobStore

        function onReopened() { // others may be there now
            root.figures = jobStore.figures(root.job);
        }
    }

    Notice {
        id: notice

        anchors { left: parent.left; right: parent.right; top: parent.top }
        objectName: "statisticsNotice"
        tone: root.figures.error ? TesterStyle.stateColors[TesterStyle.failed] : TesterStyle.warning
        text: root.figures.error ? qsTr("The results cannot be read: %1").arg(root.figures.error) : root.missing()
    }

    Flickable {
        id: view

        function scroll(step) {
            contentY = Math.max(0, Math.min(contentHeight - height, contentY + step));
        }

        anchors { left: parent.left; right: parent.right; top: notice.bottom; bottom: parent.bottom }
        objectName: "statistics"
        visible: !root.figures.error
        clip: true
        focus: true
        activeFocusOnTab: true
        Accessible.role: Accessible.Pane
        Accessible.name: qsTr("Statistics")
        boundsBehavior: Flickable.StopAtBounds
        contentHeight: column.height + 2 * TesterStyle.margin
        ScrollBar.vertical: VerticalBar {
            policy: view.contentHeight > view.height ? ScrollBar.AlwaysOn : ScrollBar.AsNeeded
        }
        Keys.onUpPressed: scroll(-TesterStyle.target)
        Keys.onDownPressed: scroll(TesterStyle.target)

        FocusRing {
            parent: view
            radius: 0
        }

        Column {
            id: column

            x: TesterStyle.margin
            y: TesterStyle.margin
            width: view.width - 3 * TesterStyle.margin

            PlainText {
                width: parent.width
                objectName: "rate"
                wrapMode: Text.WordWrap
                font { pixelSize: TesterStyle.bigSize; bold: true }
                text: root.figures.rate ? qsTr("%1 passed").arg(root.figures.rate) : qsTr("There is no verdict yet")
            }
            PlainText {
                width: parent.width
                objectName: "rateOf"
                visible: root.figures.rate !== ""
                wrapMode: Text.WordWrap
                text: qsTr("%1 of the %2 ports with a verdict; the job has %3").arg(root.figures.passed)
                    .arg(root.graded).arg(root.figures.points)
            }
            Bars {
                width: parent.width
                objectName: "portBars"
                heading: qsTr("Ports, by their last inspection")
                model: root.portRows()
            }
            Bars {
                width: parent.width
                objectName: "failureBars"
                heading: qsTr("Ports that fail, by zone and rule")
                nothing: qsTr("No rule is violated.")
                model: root.figures.failures
            }
            Bars {
                width: parent.width
                objectName: "sizeBars"
                heading: qsTr("Sizes of the defects that ports fail for")
                model: root.figures.sizes
            }
            PlainText {
                width: parent.width
                topPadding: TesterStyle.margin
                text: qsTr("Time that a port took")
                wrapMode: Text.WordWrap
                font { pixelSize: TesterStyle.headingSize; bold: true }
            }
            PlainText {
                width: parent.width
                objectName: "times"
                wrapMode: Text.WordWrap
                text: root.figures.median
                    ? qsTr("Median %1, the longest %2").arg(root.figures.median).arg(root.figures.longest)
                    : qsTr("Not known: it takes inspections of two ports, one after the other.")
            }
            PlainText {
                width: parent.width
                wrapMode: Text.WordWrap
                color: TesterStyle.faintText
                text: qsTr("With cleaning and repeating. Ports with a pause of more than 30 minutes are left out.")
            }
            PlainText {
                width: parent.width
                objectName: "inspectionCount"
                topPadding: TesterStyle.margin
                text: qsTr("Inspections of the job: %1").arg(root.figures.inspections)
            }
        }
    }
}
