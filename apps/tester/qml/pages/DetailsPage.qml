// SPDX-License-Identifier: Apache-2.0
import QtQuick 2.11
import QtQuick.Controls 2.4
import QtQuick.Templates 2.4 as Templates
import "qrc:/Vantor/Components" as VantorComponents
import "../parts"
import "../style"

// What stands behind the verdict: each rule with what was allowed and found, and each defect; one that is tapped is shown.
VantorComponents.Page {
    id: root

    readonly property var facts: shownResult.facts
    readonly property int hidden: shownResult.defectCount - shownResult.defects.length

    // Who has the keyboard when the page opens.
    function firstFocus() {
        return list;
    }

    color: TesterStyle.page
    title: qsTr("Details of %1").arg(facts.pointName || qsTr("the quick inspection"))

    MarkedPicture {
        id: picture

        anchors { left: parent.left; top: parent.top; bottom: parent.bottom; margins: TesterStyle.spacing }
        width: Math.min(height, root.width * 0.42)
        objectName: "detailsPicture"
        selected: list.selected
    }

    ListView {
        id: list

        property int selected: 0

        function scroll(distance) {
            const last = Math.max(originY, originY + contentHeight - height);
            contentY = Math.max(originY, Math.min(last, contentY + distance));
        }

        anchors {
            left: picture.right
            right: parent.right
            top: parent.top
            bottom: parent.bottom
            margins: TesterStyle.spacing
        }
        objectName: "defects"
        Accessible.role: Accessible.List
        Accessible.name: qsTr("Rules and defects")
        clip: true
        focus: true
        activeFocusOnTab: true
        keyNavigationEnabled: true
        onActiveFocusChanged: {
            if (activeFocus && currentIndex < 0) // other rows came
                currentIndex = 0;
        }
        Keys.onUpPressed: function(event) {
            event.accepted = currentIndex <= 0; // from there on only the rules are above
            if (event.accepted)
                scroll(-TesterStyle.target);
        }
        Keys.onDownPressed: function(event) {
            event.accepted = currentIndex >= count - 1;
            if (event.accepted)
                scroll(TesterStyle.target);
        }
        boundsBehavior: Flickable.StopAtBounds
        model: shownResult.defects
        ScrollBar.vertical: VerticalBar {}

        header: Column {
            width: list.width

            Repeater {
                model: shownResult.rules

                Rectangle {
                    readonly property string words: qsTr("%1, %2 %3: %4 found, %5 allowed")
                        .arg(TesterStyle.zoneName(modelData.zone))
                        .arg(modelData.isScratch ? qsTr("scratches") : qsTr("defects"))
                        .arg(modelData.sizes ? modelData.sizes + " µm" : qsTr("of any size"))
                        .arg(modelData.found).arg(modelData.allowed < 0 ? qsTr("any") : modelData.allowed)

                    width: list.width
                    height: ruleText.implicitHeight + 8
                    color: modelData.violated ? TesterStyle.stateColors[TesterStyle.failed] : TesterStyle.page
                    Accessible.role: Accessible.StaticText
                    Accessible.name: words + ", "
                        + TesterStyle.stateName(modelData.violated ? TesterStyle.failed : TesterStyle.passed)

                    Icon {
                        id: ruleIcon

                        anchors { left: parent.left; leftMargin: TesterStyle.spacing; verticalCenter: parent.verticalCenter }
                        iconName: TesterStyle.stateIcons[modelData.violated ? TesterStyle.failed : TesterStyle.passed]
                        color: ruleText.color
                    }
                    PlainText {
                        id: ruleText

                        anchors { left: ruleIcon.right; right: parent.right; verticalCenter: parent.verticalCenter }
                        anchors { leftMargin: TesterStyle.spacing; rightMargin: 2 * TesterStyle.margin }
                        wrapMode: Text.WordWrap
                        color: modelData.violated ? TesterStyle.onColor : TesterStyle.text
                        text: parent.words
                        Accessible.ignored: true
                    }
                    Rectangle {
                        anchors { left: parent.left; right: parent.right; bottom: parent.bottom }
                        height: 1
                        color: TesterStyle.line
                    }
                }
            }
            PlainText {
                width: parent.width
                topPadding: TesterStyle.margin
                bottomPadding: 4
                leftPadding: TesterStyle.spacing
                font.bold: true
                wrapMode: Text.WordWrap
                text: shownResult.defectCount === 0 ? qsTr("No defects")
                    : root.hidden > 0 ? qsTr("Defects: the %1 worst of %2").arg(shownResult.defects.length)
                                          .arg(shownResult.defectCount)
                    : qsTr("Defects: tap one to see it")
            }
        }

        delegate: Templates.ItemDelegate {
            id: row

            readonly property bool isSelected: list.selected === modelData.number
            readonly property string words: qsTr("%1  %2, %3 of %4").arg(modelData.number)
                .arg(TesterStyle.zoneName(modelData.zone)).arg(modelData.isScratch ? qsTr("scratch") : qsTr("defect"))
                .arg(modelData.size)

            objectName: "defect_" + modelData.number
            width: list.width
            height: Math.max(TesterStyle.target, rowWords.implicitHeight + topPadding + bottomPadding)
            padding: TesterStyle.spacing
            rightPadding: 2 * TesterStyle.margin // beside the scroll bar
            onClicked: list.selected = isSelected ? 0 : modelData.number
            activeFocusOnTab: false // arrows lead from row to row
            Keys.onReturnPressed: clicked()
            Keys.onEnterPressed: clicked()
            Accessible.name: words + (modelData.fails ? ", " + TesterStyle.stateName(TesterStyle.failed) : "")
            Accessible.description: place.text
            Accessible.onPressAction: clicked()
            Accessible.selectable: true
            Accessible.selected: isSelected

            background: Rectangle {
                color: row.isSelected || row.pressed ? TesterStyle.surface : TesterStyle.page
                border {
                    width: row.isSelected ? 2 : 0
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
            contentItem: Column {
                id: rowWords

                spacing: 2

                Row {
                    width: parent.width
                    spacing: TesterStyle.spacing

                    PlainText {
                        id: line

                        width: Math.min(implicitWidth, parent.width - failing.width - parent.spacing)
                        wrapMode: Text.WordWrap
                        font.bold: modelData.fails
                        color: modelData.fails ? TesterStyle.stateColors[TesterStyle.failed] : TesterStyle.text
                        text: row.words
                        Accessible.ignored: true
                    }
                    Icon {
                        id: failing

                        anchors.verticalCenter: parent.verticalCenter
                        visible: modelData.fails
                        iconName: TesterStyle.stateIcons[TesterStyle.failed]
                        color: line.color
                    }
                }
                PlainText {
                    id: place

                    width: parent.width
                    wrapMode: Text.WordWrap
                    color: TesterStyle.faintText
                    text: qsTr("at %1 µm from the middle (right / down)").arg(modelData.place)
                    Accessible.ignored: true
                }
            }
        }
    }
}
