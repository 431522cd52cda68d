// SPDX-License-Identifier: Apache-2.0
import QtQuick 2.11
import "../style"

// Bars under a heading. The rows of the model are maps of label and value, and may have a tone
// and an icon.
Column {
    id: root

    property string heading: ""
    property string nothing: "" // what is told when there is no row
    property var model: []
    readonly property int longest: model.reduce(function(most, row) { return Math.max(most, row.value); }, 0)

    spacing: 4

    PlainText {
        width: parent.width
        topPadding: TesterStyle.margin
        text: root.heading
        wrapMode: Text.WordWrap
        font { pixelSize: TesterStyle.headingSize; bold: true }
    }
    PlainText {
        width: parent.width
        visible: root.model.length === 0 && text !== ""
        text: root.nothing
        wrapMode: Text.WordWrap
    }
    Repeater {
        model: root.model

        BarRow {
            objectName: "barRow"
            width: root.width
            label: modelData.label
            iconName: modelData.icon || ""
            value: modelData.value
            tone: modelData.tone || TesterStyle.accent
            longest: root.longest
        }
    }
}
