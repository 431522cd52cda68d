// SPDX-License-Identifier: Apache-2.0
import QtQuick 2.11
import QtQuick.Controls 2.4
import "qrc:/Vantor/Style"
import "ZoneStyle.js" as ZoneStyle

// What stands behind the verdict: each rule with what was allowed and what was found, and the zones on the picture.
Popup {
    id: root

    readonly property var zoneNames: [qsTr("Core"), qsTr("Cladding"), qsTr("Adhesive"), qsTr("Contact")]
    readonly property real numberWidth: 82

    objectName: "detailsPanel"
    padding: 0
    modal: true
    focus: true
    dim: false
    closePolicy: Popup.CloseOnEscape

    enter: Transition {
        NumberAnimation { property: "opacity"; from: 0; to: 1; duration: 120 }
    }
    exit: Transition {
        NumberAnimation { property: "opacity"; from: 1; to: 0; duration: 120 }
    }

    background: Rectangle {
        color: GlobalStyles.pageBackground
    }

    contentItem: FocusScope {
        focus: true

        Item {
            id: pictureSide

            anchors { left: parent.left; top: parent.top; bottom: parent.bottom; margins: GlobalStyles.pageMargin }
            width: Math.min(height - legend.height, parent.width * 0.4)

            ZonePicture {
                id: picture

                anchors { left: parent.left; right: parent.right; top: parent.top }
                height: width
                source: root.visible ? inspectionDetails.picture : ""
                zones: inspectionDetails.zones
            }

            Grid {
                id: legend

                anchors { top: picture.bottom; topMargin: 8; left: parent.left }
                columns: 2
                columnSpacing: 16
                rowSpacing: 4
                bottomPadding: 4

                Repeater {
                    model: inspectionDetails.zones

                    Row {
                        spacing: 6

                        Rectangle {
                            anchors.verticalCenter: parent.verticalCenter
                            width: 14
                            height: 14
                            radius: 7
                            color: "transparent"
                            border { width: 2; color: ZoneStyle.color(modelData.zone) }
                        }
                        Text {
                            text: root.zoneNames[modelData.zone]
                            color: GlobalStyles.orvelBodyTextEmphasisColor
                            font.pixelSize: GlobalStyles.textSmallSize
                        }
                    }
                }
            }
        }

        Item {
            anchors {
                left: pictureSide.right
                leftMargin: GlobalStyles.pageMargin
                right: parent.right
                rightMargin: GlobalStyles.pageMargin
                top: parent.top
                bottom: parent.bottom
            }

            Row {
                id: heading

                anchors { left: parent.left; right: parent.right }
                height: 48
                spacing: 10

                Text {
                    anchors.verticalCenter: parent.verticalCenter
                    width: parent.width - verdict.width - closing.width - 2 * parent.spacing
                    wrapMode: Text.WordWrap
                    maximumLineCount: 2
                    elide: Text.ElideRight
                    text: inspectionDetails.standardName
                    color: GlobalStyles.orvelBodyTextEmphasisColor
                    font.pixelSize: GlobalStyles.textSmallSize
                    font.bold: true
                }
                Rectangle {
                    id: verdict

                    anchors.verticalCenter: parent.verticalCenter
                    width: verdictText.implicitWidth + 20
                    height: 28
                    radius: 4
                    color: inspectionDetails.passed ? GlobalStyles.passed : GlobalStyles.failed

                    Text {
                        id: verdictText

                        anchors.centerIn: parent
                        objectName: "detailsVerdict"
                        text: inspectionDetails.passed ? qsTr("Passed") : qsTr("Failed")
                        color: "white"
                        font.pixelSize: GlobalStyles.textSmallSize
                    }
                }
                AbstractButton {
                    id: closing

                    objectName: "detailsClose"
                    width: 48
                    height: parent.height
                    Accessible.name: qsTr("Close")
                    onClicked: root.close()
                    Keys.onReturnPressed: root.close()
                    Keys.onEnterPressed: root.close()

                    background: Rectangle {
                        radius: 7
                        color: closing.pressed ? GlobalStyles.aborted : "transparent"
                        border { width: closing.visualFocus ? 3 : 0; color: GlobalStyles.pendingBright }
                    }
                    contentItem: Text {
                        text: "✕"
                        color: GlobalStyles.orvelBodyTextEmphasisColor
                        font.pixelSize: GlobalStyles.titleBarIconSize
                        horizontalAlignment: Text.AlignHCenter
                        verticalAlignment: Text.AlignVCenter
                    }
                }
            }

            RuleRow {
                id: columnTitles

                anchors.top: heading.bottom
                width: parent.width
                height: 30
                numberWidth: root.numberWidth
                isHeading: true
                zone: qsTr("Zone")
                kind: qsTr("Criterion")
                sizes: qsTr("Size (µm)")
                allowed: qsTr("Allowed")
                found: qsTr("Found")
            }

            ListView {
                id: rules

                anchors { left: parent.left; right: parent.right; top: columnTitles.bottom; bottom: parent.bottom }
                objectName: "rules"
                clip: true
                focus: true
                keyNavigationEnabled: true
                model: inspectionDetails.rules
                delegate: RuleRow {
                    width: rules.width
                    height: 32
                    numberWidth: root.numberWidth
                    zone: root.zoneNames[modelData.zone]
                    kind: modelData.isScratch ? qsTr("Scratches") : qsTr("Defects")
                    sizes: modelData.sizes || qsTr("any")
                    allowed: modelData.allowed < 0 ? qsTr("any") : modelData.allowed
                    found: modelData.found
                    isViolated: modelData.violated
                }
                ScrollBar.vertical: ScrollBar {}
            }
        }
    }
}
