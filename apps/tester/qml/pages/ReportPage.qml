// SPDX-License-Identifier: Apache-2.0
import QtQuick 2.11
import QtQuick.Controls 2.4
import QtQuick.Layouts 1.3
import "qrc:/Vantor/Components" as VantorComponents
import "../parts"
import "../style"

// The job as a document for others: what it will say, in which form, and where to. Writing goes on when the page is
// left.
VantorComponents.Page {
    id: root

    readonly property var facts: reportWriter.facts
    readonly property var outcome: reportWriter.outcome
    readonly property bool isKnown: facts.points !== undefined
    readonly property bool isRecord: what.value === 4
    readonly property bool isWriting: reportWriter.isWriting
    readonly property alias footerHeight: footer.height // what comes and goes keeps above it
    readonly property var counts: [
        { name: "points", icon: "grid-3x3-gap", caption: qsTr("points"), color: TesterStyle.text },
        stateCount("passed", TesterStyle.passed, facts.isSound === true),
        stateCount("failed", TesterStyle.failed, true),
        stateCount("accepted", TesterStyle.accepted, true),
        stateCount("withoutVerdict", TesterStyle.withoutVerdict, true),
        stateCount("doubtful", TesterStyle.doubtful, true),
        stateCount("open", TesterStyle.open, true),
    ]

    // Who has the keyboard when the page opens.
    function firstFocus() {
        return what;
    }

    function stateCount(name, state, isColoured) {
        return { name: name, icon: TesterStyle.stateIcons[state], caption: TesterStyle.stateName(state),
                 color: isColoured ? TesterStyle.stateColors[state] : TesterStyle.text };
    }

    // Where to: the folder of the settings, and what is plugged in.
    function places() {
        return [{ name: qsTr("Folder for exports"), value: "" }].concat(removableMedia.disks.map(function(disk) {
            return { name: qsTr("USB stick %1").arg(disk.name), value: disk.path };
        }));
    }

    function target() {
        return qsTr("Goes to %1").arg(place.value || settings.exportFolder);
    }

    function stateText() {
        if (reportWriter.isStopping)
            return qsTr("Stopping …");
        if (isWriting)
            return qsTr("Writing …");
        if (reportWriter.isReading)
            return qsTr("Reading …");
        return outcome.text || reportWriter.problem || target();
    }

    function headline() {
        if (isKnown)
            return facts.headline;
        return reportWriter.problem !== "" ? qsTr("There is no report") : qsTr("Reading …");
    }

    function stateColor() {
        if (isWriting || reportWriter.isReading)
            return TesterStyle.text;
        if (outcome.isWritten)
            return outcome.isSound ? TesterStyle.stateColors[TesterStyle.passed] : TesterStyle.warning;
        return outcome.text || reportWriter.problem ? TesterStyle.stateColors[TesterStyle.failed] : TesterStyle.text;
    }

    color: TesterStyle.page
    title: isKnown ? qsTr("Report: %1").arg(facts.jobName) : qsTr("Report")
    onPageOpened: {
        removableMedia.isWatched = true;
        what.focus = true; // else it stays with the page below
        reportWriter.look(jobStore.identity);
    }
    onIsWritingChanged: { // the keyboard is not lost with the button
        if (!isWriting && stop.focus)
            write.forceActiveFocus(stop.focusReason);
    }
    Component.onDestruction: removableMedia.isWatched = false

    Connections {
        target: removableMedia

        function onDisksChanged() {
            const isThere = removableMedia.disks.some(function(disk) { return disk.path === place.value; });
            if (!isThere)
                place.value = "";
        }
    }

    Notice {
        id: notice

        anchors { left: parent.left; right: parent.right; top: parent.top }
        objectName: "reportDoubts"
        text: reportWriter.doubts
    }

    FormView {
        id: view

        anchors { left: parent.left; right: parent.right; top: notice.bottom; bottom: footer.top }
        form: formGrid

        ColumnLayout {
            id: formGrid

            x: TesterStyle.margin
            y: TesterStyle.margin
            width: view.width - 3 * TesterStyle.margin
            spacing: TesterStyle.spacing

            PlainText {
                Layout.fillWidth: true
                objectName: "reportHeadline"
                wrapMode: Text.WordWrap
                font.pixelSize: TesterStyle.headingSize
                font.bold: true
                color: {
                    if (!root.isKnown)
                        return TesterStyle.text;
                    if (!root.facts.isSound)
                        return TesterStyle.stateColors[TesterStyle.failed];
                    return root.facts.allPassed ? TesterStyle.stateColors[TesterStyle.passed] : TesterStyle.text;
                }
                text: root.headline()
            }

            GridLayout {
                Layout.fillWidth: true
                columns: 4
                rowSpacing: TesterStyle.spacing
                columnSpacing: TesterStyle.spacing

                Repeater {
                    model: root.counts

                    Rectangle {
                        readonly property int number: root.facts[modelData.name] || 0

                        Layout.fillWidth: true
                        Layout.preferredWidth: 1
                        implicitHeight: 44 // with a notice above all fits on the smaller screen
                        objectName: "count_" + modelData.name
                        radius: TesterStyle.radius
                        color: TesterStyle.surface
                        Accessible.role: Accessible.StaticText
                        Accessible.name: modelData.caption + ": " + number

                        Row {
                            id: amount

                            readonly property color foreground: number > 0 ? modelData.color : TesterStyle.faintText

                            anchors { left: parent.left; leftMargin: 6; verticalCenter: parent.verticalCenter }
                            spacing: 6

                            Icon {
                                anchors.verticalCenter: parent.verticalCenter
                                visible: root.isKnown
                                iconName: modelData.icon
                                color: amount.foreground
                            }
                            PlainText {
                                text: root.isKnown ? number : "–"
                                font { pixelSize: TesterStyle.headingSize; bold: number > 0 }
                                color: amount.foreground
                                Accessible.ignored: true
                            }
                        }
                        PlainText {
                            id: caption

                            anchors { left: amount.right; leftMargin: 6; right: parent.right; verticalCenter: parent.verticalCenter }
                            text: modelData.caption
                            wrapMode: Text.WordWrap
                            Accessible.ignored: true
                        }
                    }
                }
            }

            RowLayout {
                Layout.fillWidth: true
                spacing: TesterStyle.margin
                enabled: !root.isWriting

                Choice {
                    id: what

                    Layout.fillWidth: true
                    Layout.preferredWidth: 4
                    objectName: "reportFormat"
                    caption: qsTr("What")
                    model: [
                        { name: qsTr("Report (PDF)"), value: 1 },
                        { name: qsTr("Everything with pictures (ZIP)"), value: 2 },
                        { name: qsTr("Table (CSV)"), value: 3 },
                        { name: qsTr("Record (JSON)"), value: 4 },
                    ]
                }
                Choice {
                    id: words

                    Layout.fillWidth: true
                    Layout.preferredWidth: 3
                    objectName: "reportLanguage"
                    caption: qsTr("Language")
                    enabled: !root.isRecord // it has no words
                    model: [{ name: "English", value: "en" }, { name: "Deutsch", value: "de" }]
                    value: language.current
                }
                Choice {
                    id: place

                    Layout.fillWidth: true
                    Layout.preferredWidth: 5
                    objectName: "reportPlace"
                    caption: qsTr("Where to")
                    model: root.places()
                    value: ""
                }
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

            ColumnLayout {
                Layout.fillWidth: true
                spacing: TesterStyle.spacing

                PlainText {
                    Layout.fillWidth: true
                    objectName: "reportState"
                    text: root.stateText()
                    color: root.stateColor()
                    wrapMode: Text.WrapAtWordBoundaryOrAnywhere
                    maximumLineCount: 3
                    elide: Text.ElideMiddle
                    Accessible.role: Accessible.StaticText
                    Accessible.name: text
                }
                ProgressBar {
                    id: bar

                    Layout.fillWidth: true
                    objectName: "reportProgress"
                    visible: reportWriter.isWriting || reportWriter.isReading
                    value: reportWriter.progress
                    Accessible.name: root.stateText()

                    background: Rectangle {
                        implicitHeight: 14
                        radius: 4
                        color: TesterStyle.page
                        border { width: 1; color: TesterStyle.line }
                    }
                    contentItem: Item {
                        Rectangle {
                            width: bar.visualPosition * parent.width
                            height: parent.height
                            radius: 4
                            color: TesterStyle.accent
                        }
                    }
                }
            }
            TouchButton {
                id: stop

                Layout.preferredWidth: 130
                objectName: "stopReport"
                isPlain: true
                visible: root.isWriting
                text: qsTr("Stop")
                enabled: !reportWriter.isStopping
                onClicked: reportWriter.stop()
            }
            TouchButton { // not in the place of the other: the second tap of two is not meant for that
                id: write

                Layout.preferredWidth: 150
                objectName: "writeReport"
                text: qsTr("Write")
                enabled: root.isKnown && !root.isWriting
                onClicked: {
                    const reason = focusReason;
                    reportWriter.write(what.value, words.value, place.value);
                    if (root.isWriting)
                        stop.forceActiveFocus(reason);
                }
            }
        }
    }
}
