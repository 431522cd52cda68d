// SPDX-License-Identifier: Apache-2.0
import QtQuick 2.11
import QtQuick.Controls 2.4
import "qrc:/Vantor/Components" as VantorComponents
import "qrc:/Vantor/Style"

// A tile for each page that can be started from here.
VantorComponents.Page {
    id: root

    function openEntry(entry) {
        appController.navigateTo(entry.pageId, "", entry.needsScope ? { deviceName: hardwareManager.scopeName } : {});
    }

    actions: []

    Grid {
        id: tiles

        readonly property real cellWidth: (root.width - 2 * GlobalStyles.pageMargin - spacing) / columns

        anchors { fill: parent; margins: GlobalStyles.pageMargin }
        columns: 2
        spacing: GlobalStyles.pageSpacing

        Repeater {
            model: pageRegistry.entries.filter(function(entry) { return entry.summary !== ""; })

            AbstractButton {
                id: tile

                objectName: "tile_" + modelData.pageId
                width: tiles.cellWidth
                height: 120
                enabled: !modelData.needsScope || hardwareManager.isScopeConnected
                onClicked: root.openEntry(modelData)
                Keys.onReturnPressed: clicked()
                Keys.onEnterPressed: clicked()
                Accessible.name: modelData.title

                background: Rectangle {
                    radius: 7
                    color: tile.pressed ? GlobalStyles.aborted : GlobalStyles.pendingHighlight
                    border {
                        width: tile.visualFocus ? 3 : 1
                        color: tile.visualFocus ? GlobalStyles.pendingBright : GlobalStyles.aborted
                    }
                }

                contentItem: Item {
                    opacity: tile.enabled ? 1 : 0.5

                    Text {
                        id: glyph

                        anchors.verticalCenter: parent.verticalCenter
                        width: 84
                        horizontalAlignment: Text.AlignHCenter
                        text: modelData.icon
                        color: GlobalStyles.pending
                        font.pixelSize: 52
                    }

                    Column {
                        anchors {
                            left: glyph.right
                            right: parent.right
                            rightMargin: 12
                            verticalCenter: parent.verticalCenter
                        }
                        spacing: 6

                        Text {
                            width: parent.width
                            text: modelData.title
                            elide: Text.ElideRight
                            color: GlobalStyles.pending
                            font.pixelSize: GlobalStyles.textHugeSize
                        }
                        Text {
                            width: parent.width
                            text: tile.enabled ? modelData.summary : qsTr("Please plug in the fibre scope")
                            wrapMode: Text.WordWrap
                            color: GlobalStyles.orvelBodyTextEmphasisColor
                            font.pixelSize: GlobalStyles.textSmallSize
                        }
                    }
                }
            }
        }
    }
}
