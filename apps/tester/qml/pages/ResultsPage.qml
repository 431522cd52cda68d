// SPDX-License-Identifier: Apache-2.0
import QtQuick 2.11
import QtQuick.Controls 2.4
import QtQuick.Layouts 1.3
import QtQuick.Templates 2.4 as Templates
import "qrc:/Vantor/Components" as VantorComponents
import "../parts"
import "../style"

// All inspections, the latest first: search, filter, open; or choose two to compare them.
VantorComponents.Page {
    id: root

    property int offset: 0
    readonly property real footerHeight: pager.visible ? pager.height + 2 * TesterStyle.spacing : 0

    property bool isLeft: false // for one of its rows
    property var chosen: [] // inspections that are to be compared
    property var jobs: jobStore.jobChoices()
    readonly property var filterChoices: [job, standard, verdict, days]
    readonly property var narrowing: filterChoices.filter(function(choice) { return choice.isNarrowing; })

    // Who has the keyboard when the page opens.
    function firstFocus() {
        return isLeft ? view : search;
    }

    function list(from) {
        offset = from;
        jobStore.listResults({ text: search.text, job: job.value, standard: standard.value, verdict: verdict.value,
                               days: days.value }, from);
        view.positionViewAtBeginning();
    }

    function showAll() {
        filterChoices.forEach(function(choice) { choice.value = choice.model[0].value; });
        list(0);
    }

    // As it was left.
    function takeFilter() {
        const filter = jobStore.resultFilter;
        search.text = filter.text || "";
        filterChoices.forEach(function(choice) {
            const value = filter[choice.key];
            const isOffered = choice.model.some(function(row) { return row.value === value; });
            choice.value = isOffered ? value : choice.model[0].value;
        });
    }

    function open(inspection) {
        isLeft = true;
        if (compare.checked)
            choose(inspection);
        else if (shownResult.showStored(inspection))
            appController.navigateTo(pageRegistry.result, "", {});
        else
            snackBar.showError(qsTr("The result cannot be read: %1").arg(shownResult.facts.problem));
    }

    function choose(inspection) {
        const others = chosen.filter(function(id) { return id !== inspection; });
        chosen = others.length < chosen.length ? others : chosen.concat([inspection]);
        if (chosen.length < 2)
            return;
        const pair = chosen.sort(function(a, b) { return a - b; }); // the larger is the later
        compare.checked = false;
        comparison.show(pair[0], pair[1]);
        appController.navigateTo(pageRegistry.compare, "", {});
    }

    color: TesterStyle.page
    Component.onCompleted: takeFilter()
    onPageOpened: list(offset)

    Connections {
        target: jobStore

        function onReopened() { // the numbers may be others' now
            root.chosen = [];
            root.jobs = jobStore.jobChoices();
            root.takeFilter();
            root.list(0);
        }
    }

    RowLayout {
        id: searchRow

        anchors { left: parent.left; right: parent.right; top: parent.top; margins: TesterStyle.spacing }
        spacing: TesterStyle.spacing

        TextEntry {
            id: search

            Layout.fillWidth: true
            objectName: "search"
            hint: qsTr("Search")
            focus: true
            onEdited: root.list(0)
        }
        TouchButton {
            id: filterButton

            objectName: "filter"
            isPlain: !checked
            checkable: true
            text: root.narrowing.length > 0 ? qsTr("Filter (%1)").arg(root.narrowing.length) : qsTr("Filter")
        }
        TouchButton {
            id: compare

            objectName: "compare"
            isPlain: !checked
            checkable: true
            text: qsTr("Compare")
            onCheckedChanged: root.chosen = []
        }
    }

    GridLayout {
        id: filters

        anchors { left: parent.left; right: parent.right; top: searchRow.bottom; margins: TesterStyle.spacing }
        visible: filterButton.checked
        height: visible ? implicitHeight : 0
        columns: 3
        columnSpacing: TesterStyle.spacing
        rowSpacing: TesterStyle.spacing

        FilterChoice {
            id: job

            readonly property var identity: {
                const index = indexOfValue();
                return index < 0 ? undefined : model[index].identity;
            }

            key: "job"
            objectName: "jobFilter"
            model: [{ name: qsTr("All jobs"), value: 0 }].concat(root.jobs)
            accessibleName: qsTr("Job")
            onChosen: root.list(0)
        }
        FilterChoice {
            id: standard

            key: "standard"
            share: 0.37 // for its names, whose ends tell them apart
            objectName: "standardFilter"
            model: [{ name: qsTr("All standards"), value: -1 }].concat(settings.standardRows)
            accessibleName: qsTr("Standard")
            onChosen: root.list(0)
        }
        FilterChoice {
            id: verdict

            key: "verdict"
            objectName: "verdictFilter"
            model: [
                { name: qsTr("All verdicts"), value: -1 },
                { name: qsTr("Passed"), value: 1 },
                { name: qsTr("Failed"), value: 2 },
                { name: qsTr("No verdict"), value: 0 },
            ]
            accessibleName: qsTr("Verdict")
            onChosen: root.list(0)
        }
        FilterChoice {
            id: days

            key: "days"
            objectName: "daysFilter"
            model: [
                { name: qsTr("Any time"), value: 0 },
                { name: qsTr("Today"), value: 1 },
                { name: qsTr("Last 7 days"), value: 7 },
                { name: qsTr("Last 30 days"), value: 30 },
            ]
            accessibleName: qsTr("Time")
            onChosen: root.list(0)
        }
        TouchButton {
            Layout.fillWidth: true
            Layout.preferredWidth: standard.share * filters.width
            objectName: "showAll"
            isPlain: true
            text: qsTr("Show all")
            enabled: root.narrowing.length > 0
            onClicked: root.showAll()
        }
        TouchButton {
            Layout.fillWidth: true
            Layout.preferredWidth: verdict.share * filters.width
            objectName: "jobStatistics"
            isPlain: true
            text: qsTr("Statistics of the job")
            enabled: job.value > 0
            onClicked: appController.navigateTo(pageRegistry.statistics, "", { job: job.identity })
        }
    }

    PlainText { // what is not seen at a glance: why rows are missing, and what a tap does
        id: hint

        anchors {
            left: parent.left
            leftMargin: TesterStyle.margin
            right: parent.right
            rightMargin: TesterStyle.margin
            top: filters.bottom
        }
        objectName: "resultsHint"
        height: visible ? implicitHeight + TesterStyle.spacing : 0
        visible: text !== ""
        verticalAlignment: Text.AlignVCenter
        color: TesterStyle.faintText
        text: {
            if (compare.checked)
                return root.chosen.length === 0 ? qsTr("Tap two inspections to compare them")
                                                : qsTr("Tap the second inspection");
            if (filterButton.checked)
                return "";
            return root.narrowing.map(function(choice) { return choice.valueName; }).join(" · ");
        }
    }

    ListView {
        id: view

        anchors {
            left: parent.left
            right: parent.right
            top: hint.bottom
            topMargin: TesterStyle.spacing
            bottom: pager.visible ? pager.top : parent.bottom
        }
        objectName: "results"
        Accessible.role: Accessible.List
        Accessible.name: qsTr("Inspections")
        clip: true
        boundsBehavior: Flickable.StopAtBounds
        activeFocusOnTab: true
        keyNavigationEnabled: true
        onActiveFocusChanged: {
            if (activeFocus && currentIndex < 0) // other rows came
                currentIndex = 0;
        }
        cacheBuffer: 0 // a row that is under way when the others go would be looked for in vain
        model: jobStore.results
        ScrollBar.vertical: VerticalBar {}

        delegate: Templates.ItemDelegate {
            id: row

            readonly property int resultState: TesterStyle.stateOf(model.verdict, model.decision, model.isDoubtful)
            readonly property bool isChosen: root.chosen.indexOf(model.id) !== -1

            objectName: "result_" + index
            width: view.width
            height: TesterStyle.target
            leftPadding: TesterStyle.margin
            rightPadding: 2 * TesterStyle.margin // beside the scroll bar
            onClicked: root.open(model.id)
            activeFocusOnTab: false // arrows lead from row to row
            Keys.onReturnPressed: clicked()
            Keys.onEnterPressed: clicked()
            Accessible.onPressAction: clicked()
            Accessible.selectable: compare.checked
            Accessible.selected: isChosen
            Accessible.name: heading.text + ", " + TesterStyle.stateName(resultState) + ", " + model.made
                + (isChosen ? ", " + qsTr("chosen") : "")

            background: Rectangle {
                color: row.pressed || row.isChosen ? TesterStyle.surface : TesterStyle.page
                border {
                    width: row.isChosen ? 2 : 0
                    color: TesterStyle.accent
                }
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

                Rectangle {
                    Layout.preferredWidth: 40
                    Layout.preferredHeight: 40
                    radius: 5
                    color: TesterStyle.stateColors[row.resultState]

                    Icon {
                        anchors.centerIn: parent
                        iconName: TesterStyle.stateIcons[row.resultState]
                        color: TesterStyle.onColor
                    }
                }
                ColumnLayout {
                    Layout.fillWidth: true
                    spacing: 0

                    PlainText {
                        id: heading

                        Layout.fillWidth: true
                        text: model.pointName ? qsTr("%2, side %1").arg(model.side).arg(model.pointName)
                                                + " – " + model.jobName : qsTr("Quick inspection")
                        Accessible.ignored: true
                    }
                    PlainText {
                        Layout.fillWidth: true
                        text: TesterStyle.stateName(row.resultState)
                            + (model.note ? ": " + model.note : model.cause ? ": " + model.cause : "")
                        color: TesterStyle.stateColors[row.resultState]
                        Accessible.ignored: true
                    }
                }
                PlainText {
                    objectName: "made"
                    text: model.made
                    color: TesterStyle.faintText
                    Accessible.ignored: true
                }
            }
        }

        PlainText {
            anchors.centerIn: parent
            visible: view.count === 0
            text: jobStore.error || qsTr("Nothing was found")
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
