// SPDX-License-Identifier: Apache-2.0
import QtQuick 2.11
import QtQuick.Controls 2.4
import "qrc:/Vantor/Style"

// What belongs to the unit rather than to a page: the language.
Rectangle {
    id: root

    height: GlobalStyles.bottomToolBarHeight
    color: GlobalStyles.bottomToolBarBackground

    Row {
        anchors {
            right: parent.right
            rightMargin: GlobalStyles.bottomToolBarPadding
            verticalCenter: parent.verticalCenter
        }
        spacing: GlobalStyles.pageSpacing / 2

        Repeater {
            model: [{ code: "en", name: "English" }, { code: "de", name: "Deutsch" }]

            AbstractButton {
                id: choice

                readonly property bool isCurrent: language.current === modelData.code

                objectName: "language_" + modelData.code
                width: 110
                height: 48
                text: modelData.name
                onClicked: language.current = modelData.code
                Keys.onReturnPressed: clicked()
                Keys.onEnterPressed: clicked()

                background: Rectangle {
                    radius: 7
                    color: choice.isCurrent ? GlobalStyles.pending : "white"
                    border { width: choice.visualFocus ? 3 : 0; color: GlobalStyles.pendingBright }
                }
                contentItem: Text {
                    text: choice.text
                    color: choice.isCurrent ? "white" : GlobalStyles.orvelBodyTextEmphasisColor
                    font.pixelSize: GlobalStyles.textHeadingSize
                    horizontalAlignment: Text.AlignHCenter
                    verticalAlignment: Text.AlignVCenter
                }
            }
        }
    }

    Text {
        anchors {
            left: parent.left
            leftMargin: GlobalStyles.bottomToolBarPadding
            verticalCenter: parent.verticalCenter
        }
        text: qsTr("Language")
        color: GlobalStyles.orvelBodyTextEmphasisColor
        font.pixelSize: GlobalStyles.textHeadingSize
    }
}
