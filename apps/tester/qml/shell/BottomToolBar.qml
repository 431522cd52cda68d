// SPDX-License-Identifier: Apache-2.0
import QtQuick 2.11
import QtQuick.Templates 2.4 as Templates
import "qrc:/Vantor/Style"
import "../parts"
import "../style"

// What belongs to the unit rather than to a page: the language.
Rectangle {
    id: root

    height: GlobalStyles.bottomToolBarHeight
    color: TesterStyle.toolBar

    Row {
        anchors {
            right: parent.right
            rightMargin: GlobalStyles.bottomToolBarPadding
            verticalCenter: parent.verticalCenter
        }
        spacing: GlobalStyles.pageSpacing / 2

        Repeater {
            model: [{ code: "en", name: "English" }, { code: "de", name: "Deutsch" }]

            Templates.RadioButton {
                id: choice

                readonly property bool isCurrent: language.current === modelData.code

                objectName: "language_" + modelData.code
                width: 110
                height: TesterStyle.target
                text: modelData.name
                checked: isCurrent
                Accessible.name: text
                onClicked: language.current = modelData.code
                Keys.onReturnPressed: clicked()
                Keys.onEnterPressed: clicked()

                background: Rectangle {
                    radius: TesterStyle.radius
                    color: choice.isCurrent ? TesterStyle.accent : TesterStyle.page

                    FocusRing {
                        target: choice
                    }
                }
                contentItem: Text {
                    text: choice.text
                    color: choice.isCurrent ? TesterStyle.onColor : TesterStyle.text
                    font.pixelSize: TesterStyle.textSize
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
        color: TesterStyle.text
        font.pixelSize: TesterStyle.textSize
        Accessible.role: Accessible.StaticText
        Accessible.name: text
    }
}
