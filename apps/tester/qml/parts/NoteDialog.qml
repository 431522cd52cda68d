// SPDX-License-Identifier: Apache-2.0
import QtQuick 2.11
import QtQuick.Controls 2.4
import QtQuick.Layouts 1.3
import "../style"

// Why a port is accepted though it did not pass.
Dialog {
    id: root

    property real pageWidth: 800

    signal noted(string note)

    objectName: "noteDialog"
    title: qsTr("Accept with a note") // is told, not shown
    header: null
    parent: Overlay.overlay
    x: Math.round((pageWidth - width) / 2)
    y: TesterStyle.target
    width: Math.min(600, pageWidth - 2 * TesterStyle.margin)
    padding: 2 * TesterStyle.margin
    modal: true
    focus: true
    closePolicy: Popup.CloseOnEscape
    onAboutToShow: note.text = ""
    onOpened: note.forceActiveFocus(Qt.TabFocusReason)

    Overlay.modal: Rectangle {
        color: TesterStyle.dim
    }
    background: Rectangle {
        radius: TesterStyle.radius
        color: TesterStyle.page
        border { width: 1; color: TesterStyle.line }
    }

    contentItem: ColumnLayout {
        spacing: TesterStyle.margin

        TextEntry {
            id: note

            Layout.fillWidth: true
            objectName: "note"
            caption: qsTr("Why is this port accepted?")
            onAccepted: {
                if (acceptButton.enabled)
                    acceptButton.clicked();
            }
        }

        RowLayout {
            Layout.fillWidth: true
            spacing: TesterStyle.margin

            TouchButton {
                Layout.fillWidth: true
                Layout.preferredWidth: 1
                objectName: "noteCancel"
                isPlain: true
                text: qsTr("Cancel")
                onClicked: root.close()
            }
            TouchButton {
                id: acceptButton

                Layout.fillWidth: true
                Layout.preferredWidth: 1
                objectName: "noteAccept"
                text: qsTr("Accept")
                enabled: note.text.trim() !== ""
                onClicked: {
                    root.close();
                    root.noted(note.text);
                }
            }
        }
    }
}
