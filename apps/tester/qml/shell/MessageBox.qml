// SPDX-License-Identifier: Apache-2.0
import QtQuick 2.11
import QtQuick.Controls 2.4
import "qrc:/Vantor/Controls" as VantorControls
import "qrc:/Vantor/Style"
import "../style"

// A text that has to be read before anything else is done.
Dialog {
    id: root

    property int screenWidth: 800
    property int screenHeight: 480

    function showInfo(title, text) {
        root.title = title;
        message.text = text;
        open();
    }

    objectName: "messageBox"
    x: Math.round((screenWidth - width) / 2)
    y: Math.round((screenHeight - height) / 2)
    width: Math.min(560, screenWidth - 2 * GlobalStyles.pageMargin)
    modal: true
    focus: true
    closePolicy: Popup.CloseOnEscape
    onOpened: confirm.forceActiveFocus(Qt.TabFocusReason)

    Overlay.modal: Rectangle {
        color: TesterStyle.dim
    }
    background: Rectangle {
        radius: TesterStyle.radius
        color: TesterStyle.page
        border { width: 1; color: TesterStyle.line }
    }

    header: Text {
        leftPadding: root.leftPadding
        rightPadding: root.rightPadding
        topPadding: GlobalStyles.pageMargin
        text: root.title
        wrapMode: Text.WordWrap
        color: TesterStyle.text
        font { pixelSize: TesterStyle.headingSize; bold: true }
        Accessible.ignored: true // the dialog tells it
    }

    contentItem: Text {
        id: message

        objectName: "messageText"
        wrapMode: Text.WordWrap
        color: TesterStyle.text
        font.pixelSize: TesterStyle.textSize
        Accessible.role: Accessible.AlertMessage
        Accessible.name: text
    }

    footer: Item {
        implicitHeight: GlobalStyles.dialogFooterHeight + GlobalStyles.pageMargin / 2

        VantorControls.Button {
            id: confirm

            anchors.centerIn: parent
            height: TesterStyle.target
            objectName: "messageConfirm"
            text: qsTr("OK")
            onClicked: root.close()
        }
    }
}
