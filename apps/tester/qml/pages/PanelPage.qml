// SPDX-License-Identifier: Apache-2.0
import QtQuick 2.11
import QtQuick.Controls 2.4
import QtQuick.Layouts 1.3
import "qrc:/Vantor/Components" as VantorComponents
import "../parts"
import "../style"

// The points of the job, as they lie on the panel.
VantorComponents.Page {
    id: root

    readonly property var counts: jobStore.counts
    readonly property var point: jobStore.point
    readonly property bool isOpen: jobStore.job.isOpen === true
    readonly property alias footerHeight: footer.height // what comes and goes keeps above it
    readonly property int mostColumns: Math.floor(width / TesterStyle.target)

    // Who has the keyboard when the page opens.
    function firstFocus() {
        return grid;
    }

    function columns() {
        const wanted = counts.points > 24 ? 12 : counts.points > 12 ? 8 : 6;
        return Math.max(1, Math.min(wanted, mostColumns));
    }

    function showSelected() {
        grid.currentIndex = jobStore.points.indexOf(point.id || 0);
        grid.positionViewAtIndex(grid.currentIndex, GridView.Contain);
    }

    function inspect() {
        if (isOpen && point.id)
            appController.navigateTo(pageRegistry.inspect, "", {});
    }

    function showResult() {
        if (shownResult.showStored(point.lastInspection))
            appController.navigateTo(pageRegistry.result, "", {});
        else
            snackBar.showError(qsTr("The result cannot be read: %1").arg(shownResult.facts.problem));
    }

    color: TesterStyle.page
    title: jobStore.job.name || ""
    actions: [titleBar.actionBack, titleBar.actionReport, titleBar.actionStatistics]
    onPageOpened: {
        jobStore.refresh();
        grid.focus = true; // another page may have had it
        showSelected();
    }

    Shortcut { // the key of the scope
        sequence: "WebCam"
        enabled: root.visible
        onActivated: root.inspect()
    }

    Connections {
        target: titleBar.actionReport

        function onClicked() {
            appController.navigateTo(pageRegistry.report, "", {});
        }
    }

    Connections {
        target: titleBar.actionStatistics

        function onClicked() {
            appController.navigateTo(pageRegistry.statistics, "", { job: jobStore.identity });
        }
    }

    Notice {
        id: notice

        anchors { left: parent.left; right: parent.right; top: parent.top }
        text: jobStore.notice
    }

    Rectangle {
        id: header

        anchors { left: parent.left; right: parent.right; top: notice.bottom }
        height: Math.max(40, countsText.implicitHeight + TesterStyle.spacing)
        color: TesterStyle.surface

        PlainText {
            id: countsText

            anchors { fill: parent; leftMargin: TesterStyle.margin; rightMargin: TesterStyle.margin }
            verticalAlignment: Text.AlignVCenter
            objectName: "panelCounts"
            font.pixelSize: TesterStyle.headingSize
            wrapMode: Text.WordWrap
            text: {
                const counts = root.counts;
                var words = qsTr("%1 of %2, %3 failed").arg(counts.done).arg(counts.points).arg(counts.failed);
                if (counts.accepted > 0)
                    words += ", " + qsTr("%1 accepted").arg(counts.accepted);
                if (counts.withoutVerdict > 0)
                    words += ", " + qsTr("%1 without a verdict").arg(counts.withoutVerdict);
                if (counts.doubtful > 0)
                    words += ", " + qsTr("%1 in doubt").arg(counts.doubtful);
                return root.isOpen ? words : words + " – " + qsTr("closed");
            }
        }
    }

    GridView {
        id: grid

        readonly property int columnCount: root.columns()

        anchors { left: parent.left; right: parent.right; top: header.bottom; bottom: footer.top }
        objectName: "panel"
        clip: true
        focus: true
        activeFocusOnTab: true
        keyNavigationEnabled: true
        cellWidth: Math.floor(width / columnCount)
        cellHeight: TesterStyle.target
        boundsBehavior: Flickable.StopAtBounds
        model: jobStore.points
        onCurrentIndexChanged: {
            if (activeFocus && currentIndex >= 0)
                jobStore.selectPoint(jobStore.points.row(currentIndex).id);
        }
        Keys.onReturnPressed: root.inspect()
        Keys.onEnterPressed: root.inspect()
        Accessible.role: Accessible.List
        Accessible.name: qsTr("Points of the job")
        Accessible.description: selectedText.text
        ScrollBar.vertical: VerticalBar {}

        delegate: PointCell {
            objectName: "point_" + model.name + (model.side === "B" ? "_B" : "")
            width: grid.cellWidth
            height: grid.cellHeight
            name: model.name
            side: model.side
            pointState: model.state
            isSelected: model.id === root.point.id
            hasKeyboard: grid.activeFocus && GridView.isCurrentItem
            onClicked: {
                grid.forceActiveFocus(Qt.MouseFocusReason);
                jobStore.selectPoint(model.id);
                grid.currentIndex = index;
            }
            onDoubleClicked: root.inspect()
        }
    }

    Rectangle {
        id: footer

        anchors { left: parent.left; right: parent.right; bottom: parent.bottom }
        height: TesterStyle.target + 2 * TesterStyle.spacing
        color: TesterStyle.surface

        RowLayout {
            anchors { fill: parent; margins: TesterStyle.spacing; leftMargin: TesterStyle.margin }
            spacing: TesterStyle.spacing

            Rectangle {
                Layout.preferredWidth: 40
                Layout.preferredHeight: 40
                radius: 5
                color: TesterStyle.stateColors[root.point.state || 0]

                Icon {
                    anchors.centerIn: parent
                    iconName: TesterStyle.stateIcons[root.point.state || 0]
                    color: TesterStyle.onColor
                }
            }
            PlainText {
                id: selectedText

                Layout.fillWidth: true
                objectName: "selectedPoint"
                text: root.point.id
                    ? qsTr("%3, side %1: %2").arg(root.point.side)
                        .arg(TesterStyle.stateName(root.point.state)).arg(root.point.name)
                    : qsTr("The job has no points")
                wrapMode: Text.Wrap
                maximumLineCount: 3
            }
            TouchButton {
                objectName: "closeJob"
                isPlain: true
                text: root.isOpen ? qsTr("Close the job") : qsTr("Open it again")
                enabled: jobStore.canWrite
                onClicked: {
                    if (!jobStore.setJobClosed(root.isOpen))
                        snackBar.showError(jobStore.error);
                }
            }
            TouchButton {
                objectName: "showResult"
                isPlain: true
                text: qsTr("Show result")
                enabled: root.point.lastInspection > 0
                onClicked: root.showResult()
            }
            TouchButton {
                Layout.preferredWidth: 150
                objectName: "inspectPoint"
                text: qsTr("Inspect")
                enabled: root.isOpen && root.point.id !== undefined
                onClicked: root.inspect()
            }
        }
    }
}
