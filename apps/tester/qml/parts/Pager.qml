// SPDX-License-Identifier: Apache-2.0
import QtQuick 2.11
import QtQuick.Layouts 1.3
import "../style"

// Earlier and later rows of a list of which only a page is shown.
RowLayout {
    id: root

    property int offset: 0
    property int count: 0 // rows that are shown
    readonly property int rows: jobStore.pageRows

    signal turned(int offset)

    visible: offset > 0 || count >= rows
    spacing: TesterStyle.spacing

    TouchButton {
        objectName: "pagerBack"
        isPlain: true
        iconName: "chevron-left"
        text: qsTr("Newer")
        enabled: root.offset > 0
        onClicked: root.turned(Math.max(0, root.offset - root.rows))
    }
    PlainText {
        Layout.fillWidth: true
        horizontalAlignment: Text.AlignHCenter
        text: root.count > 0 ? qsTr("%1 to %2").arg(root.offset + 1).arg(root.offset + root.count) : qsTr("no more")
    }
    TouchButton {
        objectName: "pagerOn"
        isPlain: true
        iconName: "chevron-right"
        isIconBehind: true
        text: qsTr("Older")
        enabled: root.count >= root.rows
        onClicked: root.turned(root.offset + root.rows)
    }
}
