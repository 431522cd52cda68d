// SPDX-License-Identifier: Apache-2.0
import QtQuick 2.11
import QtQuick.Controls 2.4
import "qrc:/Vantor/Controls" as VantorControls
import "qrc:/Vantor/Style"

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

    contentItem: Text {
        id: message

        objectName: "messageText"
        wrapMode: Text.WordWrap
        color: GlobalStyles.orvelBodyTextEmphasisColor
        font.pixelSize: GlobalStyles.textHeadingSize
    }

    footer: Item {
        implicitHeight: GlobalStyles.dialogFooterHeight + GlobalStyles.pageMargin / 2

        VantorControls.Button {
            id: confirm

            anchors.centerIn: parent
            objectName: "messageConfirm"
            text: qsTr("OK")
            onClicked: root.close()
        }
    }
}
