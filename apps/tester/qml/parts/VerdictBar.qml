// SPDX-License-Identifier: Apache-2.0
import QtQuick 2.11
import "../style"

// The verdict of an inspection: never the plain word of one that the store has not, or that contradicts its record.
Rectangle {
    id: root

    property var result: shownResult
    property int textSize: TesterStyle.bigSize
    readonly property bool hasVerdict: result.verdict !== 0
    readonly property bool isLost: result.isReady && !result.isKept
    readonly property int resultState: TesterStyle.stateOf(result.verdict, result.decision, result.isDoubtful)

    function verdictWord() {
        if (isLost && hasVerdict)
            return result.verdict === 1 ? qsTr("Passed, but not kept") : qsTr("Failed, but not kept");
        if (result.isDoubtful)
            return qsTr("In doubt");
        if (resultState === TesterStyle.accepted)
            return hasVerdict ? qsTr("Failed, accepted") : qsTr("No verdict, accepted");
        if (!hasVerdict)
            return qsTr("No verdict");
        return result.verdict === 1 ? qsTr("Passed") : qsTr("Failed");
    }

    implicitHeight: 56
    color: isLost ? TesterStyle.warning : TesterStyle.stateColors[resultState]
    Accessible.role: Accessible.AlertMessage
    Accessible.name: verdictWord()

    Row {
        anchors.centerIn: parent
        spacing: TesterStyle.margin

        Icon {
            id: icon

            anchors.verticalCenter: parent.verticalCenter
            objectName: "verdictIcon"
            iconName: root.isLost ? "exclamation-triangle" : TesterStyle.stateIcons[root.resultState]
            color: TesterStyle.onColor
            extent: root.textSize
        }
        PlainText {
            id: verdictText

            anchors.verticalCenter: parent.verticalCenter
            width: Math.min(implicitWidth, root.width - icon.width - 3 * TesterStyle.margin)
            objectName: "verdict"
            text: root.verdictWord()
            color: TesterStyle.onColor
            font { pixelSize: root.textSize; bold: true }
            fontSizeMode: Text.HorizontalFit
            minimumPixelSize: TesterStyle.textSize
            Accessible.ignored: true
        }
    }
}
