// SPDX-License-Identifier: Apache-2.0
import QtQuick 2.11
import QtQuick.Controls 2.4
import QtQuick.Layouts 1.3
import "../style"

// A line to be typed, under its caption.
FocusScope {
    id: root

    property alias caption: captionText.text
    property alias text: field.text
    property alias field: field
    property alias hint: field.placeholderText

    signal accepted()
    signal edited()

    Layout.alignment: Qt.AlignBottom // beside one whose caption is longer
    implicitWidth: 200
    implicitHeight: captionText.height + TesterStyle.target

    PlainText {
        id: captionText

        width: parent.width
        height: text === "" ? 0 : Math.max(TesterStyle.textSize + 8, implicitHeight + 4)
        wrapMode: Text.WordWrap
        visible: text !== ""
        color: TesterStyle.faintText
        Accessible.ignored: true
    }

    TextField {
        id: field

        anchors { left: parent.left; right: parent.right; bottom: parent.bottom }
        height: TesterStyle.target
        focus: true
        topPadding: 0 // the style moves the text up
        bottomPadding: 0
        leftPadding: TesterStyle.margin
        rightPadding: TesterStyle.margin
        verticalAlignment: TextInput.AlignVCenter
        maximumLength: settings.maxTextLength
        selectByMouse: true
        color: TesterStyle.text
        selectionColor: TesterStyle.accent
        selectedTextColor: TesterStyle.onColor
        placeholderTextColor: TesterStyle.faintText
        font.pixelSize: TesterStyle.textSize + 2
        onAccepted: root.accepted()
        onTextEdited: root.edited()
        Accessible.name: root.caption || placeholderText
        Accessible.description: text

        background: Rectangle {
            radius: TesterStyle.radius
            color: TesterStyle.page
            border {
                width: field.activeFocus ? TesterStyle.ring : 1
                color: field.activeFocus ? TesterStyle.focusRing : TesterStyle.line
            }
        }
    }
}
