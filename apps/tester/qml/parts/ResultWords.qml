// SPDX-License-Identifier: Apache-2.0
import QtQuick 2.11
import QtQuick.Controls 2.4
import "../style"

// What an inspection came to, in words.
Flickable {
    id: root

    property var result: shownResult
    property bool isMadeShown: true // when
    readonly property var facts: result.facts
    readonly property bool isToRepeat: result.decision === 2
    readonly property bool isScrollable: contentHeight > height

    function words() {
        if (result.isDoubtful)
            return [qsTr("The record contradicts itself: its verdict is not that of its rules and defects. "
                         + "Please inspect the port again.")].concat(result.lines);
        if (result.verdict === 0) // one that cannot be read back has another cause
            return result.isKept && facts.problem ? [] : [facts.cause];
        if (result.verdict === 1)
            return [qsTr("Nothing is above what the standard allows.")];
        return result.lines;
    }

    function scroll(step) {
        contentY = Math.max(0, Math.min(contentHeight - height, contentY + step));
    }

    contentHeight: wordsColumn.height
    clip: true
    boundsBehavior: Flickable.StopAtBounds
    activeFocusOnTab: isScrollable
    Accessible.role: Accessible.Pane
    Accessible.name: qsTr("What was found")
    ScrollBar.vertical: VerticalBar {
        policy: root.isScrollable ? ScrollBar.AlwaysOn : ScrollBar.AsNeeded // or nobody knows that there is more
    }
    Keys.onUpPressed: scroll(-TesterStyle.target)
    Keys.onDownPressed: scroll(TesterStyle.target)

    Column {
        id: wordsColumn

        width: root.width - 20 // beside the bar
        spacing: TesterStyle.spacing

        Repeater {
            model: root.words()

            PlainText {
                objectName: "words"
                width: wordsColumn.width
                text: modelData
                wrapMode: Text.WordWrap
                font.pixelSize: TesterStyle.textSize + 2
            }
        }
        PlainText {
            objectName: "shownNote"
            width: parent.width
            visible: root.facts.note !== ""
            text: root.isToRepeat ? root.facts.note : qsTr("Note: %1").arg(root.facts.note)
            wrapMode: Text.Wrap
        }
        PlainText {
            width: parent.width
            visible: root.isToRepeat
            text: qsTr("It is to be cleaned and inspected again.")
            wrapMode: Text.WordWrap
        }
        PlainText {
            width: parent.width
            text: root.facts.standardName
            wrapMode: Text.WordWrap
            color: TesterStyle.faintText
        }
        PlainText {
            objectName: "made"
            width: parent.width
            visible: root.isMadeShown
            text: root.facts.made
            color: TesterStyle.faintText
        }
    }

    FocusRing {
        parent: root
        radius: 0
    }
}
