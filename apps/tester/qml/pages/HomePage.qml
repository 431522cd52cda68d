// SPDX-License-Identifier: Apache-2.0
import QtQuick 2.11
import QtQuick.Controls 2.4
import QtQuick.Layouts 1.3
import "qrc:/Vantor/Components" as VantorComponents
import "../parts"
import "../style"

// A tile for each page that can be started from here; the first one leads back to the work.
VantorComponents.Page {
    id: root

    readonly property bool hasJob: jobStore.job.id !== undefined
    readonly property string doubtWords: hasJob && jobStore.counts.doubtful > 0
        ? ", " + qsTr("%1 in doubt").arg(jobStore.counts.doubtful) : ""
    readonly property var goOn: ({
        pageId: pageRegistry.panel,
        title: qsTr("Continue"),
        typed: hasJob ? jobStore.job.name : "", // may be as long as it likes
        summary: hasJob ? qsTr("%1 of %2, %3 failed").arg(jobStore.counts.done)
                          .arg(jobStore.counts.points).arg(jobStore.counts.failed) + doubtWords
                        : qsTr("There is no job yet"),
        icon: "play-fill",
        isOff: !hasJob
    })

    // Who has the keyboard when the page opens.
    function firstFocus() {
        return tiles.itemAt(hasJob ? 0 : 1);
    }

    function openEntry(entry) {
        appController.navigateTo(entry.pageId, "", entry.needsScope ? { deviceName: hardwareManager.scopeName } : {});
    }

    function isUsable(entry) {
        return !entry.isOff && (!entry.needsScope || hardwareManager.isScopeConnected);
    }

    color: TesterStyle.page
    actions: []
    onPageOpened: jobStore.reopen() // what was in its way may be gone

    Notice {
        id: notice

        anchors { left: parent.left; right: parent.right; top: parent.top }
        objectName: "storeNotice"
        text: jobStore.notice
    }

    GridLayout {
        anchors { left: parent.left; right: parent.right; top: notice.bottom; bottom: parent.bottom }
        anchors.margins: TesterStyle.margin
        columns: 4
        rowSpacing: TesterStyle.spacing
        columnSpacing: TesterStyle.spacing

        Repeater {
            id: tiles

            model: [root.goOn].concat(pageRegistry.entries.filter(function(entry) { return entry.summary !== ""; }))

            AbstractButton {
                id: tile

                readonly property bool isFirst: index === 0

                objectName: "tile_" + modelData.pageId
                Layout.fillWidth: true
                Layout.fillHeight: true
                Layout.preferredWidth: isFirst ? 2 : 1
                Layout.columnSpan: isFirst ? 2 : 1
                leftPadding: TesterStyle.margin
                rightPadding: TesterStyle.spacing
                enabled: root.isUsable(modelData)
                onClicked: root.openEntry(modelData)
                Keys.onReturnPressed: clicked()
                Keys.onEnterPressed: clicked()
                Accessible.name: modelData.title
                Accessible.description: (modelData.typed ? modelData.typed + ", " : "") + summary.text

                background: Rectangle {
                    radius: TesterStyle.radius
                    color: tile.pressed || tile.isFirst && tile.enabled ? TesterStyle.accent : TesterStyle.surface
                    border { width: 1; color: TesterStyle.line }

                    FocusRing {
                        target: tile
                    }
                }

                contentItem: Item {
                    readonly property color foreground: {
                        if (!tile.enabled)
                            return TesterStyle.disabled;
                        return tile.pressed || tile.isFirst ? TesterStyle.onColor : TesterStyle.accent;
                    }

                    Column {
                        anchors { left: parent.left; right: parent.right; verticalCenter: parent.verticalCenter }
                        spacing: 2

                        Icon {
                            objectName: "tileIcon"
                            iconName: modelData.icon
                            color: parent.parent.foreground
                            extent: TesterStyle.bigSize
                        }
                        PlainText {
                            width: parent.width
                            text: modelData.title
                            wrapMode: Text.WordWrap
                            maximumLineCount: 2
                            color: parent.parent.foreground
                            font.pixelSize: TesterStyle.textSize + 2
                            Accessible.ignored: true
                        }
                        PlainText {
                            width: parent.width
                            visible: text !== ""
                            text: modelData.typed || ""
                            color: summary.color
                            Accessible.ignored: true
                        }
                        PlainText {
                            id: summary

                            width: parent.width
                            text: tile.enabled || !modelData.needsScope ? modelData.summary
                                                                        : qsTr("Plug in the scope")
                            wrapMode: Text.WordWrap
                            maximumLineCount: 2
                            color: tile.pressed || tile.isFirst && tile.enabled ? TesterStyle.onColor
                                                                                : TesterStyle.faintText
                            Accessible.ignored: true
                        }
                    }
                }
            }
        }
    }
}
