// SPDX-License-Identifier: Apache-2.0
import QtQuick 2.11
import QtQuick.Controls 2.12
import QtQuick.Layouts 1.3
import "../style"

// One of several, under its caption. The rows of the model are maps of name and value.
FocusScope {
    id: root

    property alias caption: captionText.text
    property string accessibleName: caption
    property var model: []
    readonly property alias shown: box.displayText
    property var value: model.length > 0 ? model[0].value : undefined

    signal chosen(var value)

    function indexOfValue() {
        return model.findIndex(function(row) { return row.value === root.value; });
    }

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

    ComboBox {
        id: box

        anchors { left: parent.left; right: parent.right; bottom: parent.bottom }
        height: TesterStyle.target
        topInset: 0
        bottomInset: 0
        focus: true
        model: root.model.map(function(row) { return row.name; })
        currentIndex: root.indexOfValue()
        font.pixelSize: TesterStyle.textSize
        onActivated: {
            root.value = root.model[index].value;
            root.chosen(root.value);
        }
        Accessible.name: root.accessibleName
        Accessible.description: displayText

        background: Rectangle {
            radius: TesterStyle.radius
            color: TesterStyle.page
            border {
                width: box.activeFocus ? TesterStyle.ring : 1
                color: box.activeFocus ? TesterStyle.focusRing : TesterStyle.line
            }
        }
        indicator: Icon {
            x: box.width - width - TesterStyle.margin
            y: (box.height - height) / 2
            iconName: "chevron-down"
            color: box.enabled ? TesterStyle.text : TesterStyle.disabled
        }
        contentItem: PlainText {
            leftPadding: TesterStyle.margin
            rightPadding: box.indicator.width + 2 * TesterStyle.margin
            verticalAlignment: Text.AlignVCenter
            text: box.displayText
            color: box.enabled ? TesterStyle.text : TesterStyle.disabled
            wrapMode: Text.Wrap // what tells standards apart stands at their end
            maximumLineCount: 2
            Accessible.ignored: true
        }
        popup.background: Rectangle {
            color: TesterStyle.page
            border { width: 1; color: TesterStyle.line }
        }
        delegate: ItemDelegate {
            id: row

            width: box.popup.availableWidth
            height: TesterStyle.target
            highlighted: box.highlightedIndex === index
            text: modelData
            background: Item {
                Rectangle {
                    anchors { fill: parent; margins: 1 } // beside the border
                    color: row.highlighted ? TesterStyle.surface : TesterStyle.page
                    border { width: row.highlighted ? TesterStyle.ring : 0; color: TesterStyle.focusRing }
                }
            }
            Accessible.name: text
            Accessible.onPressAction: clicked()
            Accessible.checkable: true
            Accessible.checked: index === box.currentIndex
            contentItem: PlainText {
                text: modelData
                wrapMode: Text.Wrap
                maximumLineCount: 2
                verticalAlignment: Text.AlignVCenter
                font.bold: index === box.currentIndex
                Accessible.ignored: true
            }
        }
    }
}
