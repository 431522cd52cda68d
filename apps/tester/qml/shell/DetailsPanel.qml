// SPDX-License-Identifier: Apache-2.0
import QtQuick 2.11
import QtQuick.Controls 2.4
import "qrc:/Vantor/Style"
import "../parts"
import "../style"
import "ZoneStyle.js" as ZoneStyle

// What stands behind the verdict: each rule with what was allowed and what was found, and the zones on the picture.
Popup {
    id: root

    readonly property var zoneNames: [qsTr("Core"), qsTr("Cladding"), qsTr("Adhesive"), qsTr("Contact")]
    readonly property real numberWidth: 106
    readonly property real mostPictureWidth: width * 0.34

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
        color: TesterStyle.page
    }

    contentItem: FocusScope {
        focus: true

        Item {
            id: pictureSide

            anchors { left: parent.left; top: parent.top; bottom: parent.bottom; margins: GlobalStyles.pageMargin }
            width: Math.min(height - legend.height, root.mostPictureWidth)

            ZonePicture {
                id: picture

                anchors { left: parent.left; right: parent.right; top: parent.top }
                height: width
                source: root.visible ? inspectionDetails.picture : ""
                zones: inspectionDetails.zones
            }

            Grid {
                id: legend

                function widest() {
                    var most = 0;
                    for (var i = 0; i < legendRows.count; ++i) {
                        const row = legendRows.itemAt(i);
                        most = Math.max(most, row ? row.width : 0);
                    }
                    return most;
                }

                anchors { top: picture.bottom; topMargin: 8; left: parent.left }
                columns: 2 * widest() + columnSpacing <= root.mostPictureWidth ? 2 : 1
                columnSpacing: 16
                rowSpacing: 4
                bottomPadding: 4

                Repeater {
                    id: legendRows

                    model: inspectionDetails.zones

                    Row {
                        spacing: 6

                        Rectangle { // as on the picture
                            anchors.verticalCenter: parent.verticalCenter
                            width: 20
                            height: 20
                            color: TesterStyle.backdrop

                            Rectangle {
                                anchors { fill: parent; margins: 3 }
                                radius: width / 2
                                color: "transparent"
                                border { width: 2; color: ZoneStyle.color(modelData.zone) }
                            }
                        }
                        Text {
                            text: root.zoneNames[modelData.zone]
                            color: TesterStyle.text
                            font.pixelSize: TesterStyle.textSize
                            Accessible.role: Accessible.StaticText
                            Accessible.name: text
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
                height: TesterStyle.target
                spacing: 10

                Text {
                    anchors.verticalCenter: parent.verticalCenter
                    width: parent.width - verdict.width - closing.width - 2 * parent.spacing
                    wrapMode: Text.WordWrap
                    maximumLineCount: 3
                    elide: Text.ElideRight
                    text: inspectionDetails.standardName
                    color: TesterStyle.text
                    font.pixelSize: TesterStyle.textSize
                    font.bold: true
                    Accessible.role: Accessible.StaticText
                    Accessible.name: text
                }
                Rectangle {
                    id: verdict

                    readonly property int resultState: inspectionDetails.passed ? TesterStyle.passed : TesterStyle.failed

                    anchors.verticalCenter: parent.verticalCenter
                    width: verdictLine.width + 20
                    height: 28
                    radius: 4
                    color: TesterStyle.stateColors[resultState]

                    Row {
                        id: verdictLine

                        anchors.centerIn: parent
                        spacing: 4

                        Icon {
                            anchors.verticalCenter: parent.verticalCenter
                            iconName: TesterStyle.stateIcons[verdict.resultState]
                            color: TesterStyle.onColor
                        }
                        Text {
                            objectName: "detailsVerdict"
                            text: inspectionDetails.passed ? qsTr("Passed") : qsTr("Failed")
                            color: TesterStyle.onColor
                            font.pixelSize: TesterStyle.textSize
                            Accessible.role: Accessible.StaticText
                            Accessible.name: text
                        }
                    }
                }
                AbstractButton {
                    id: closing

                    objectName: "detailsClose"
                    width: TesterStyle.target
                    height: parent.height
                    Accessible.name: qsTr("Close")
                    onClicked: root.close()
                    Keys.onReturnPressed: root.close()
                    Keys.onEnterPressed: root.close()

                    background: Rectangle {
                        radius: TesterStyle.radius
                        color: closing.pressed ? TesterStyle.surface : "transparent"

                        FocusRing {
                            target: closing
                        }
                    }
                    contentItem: Item {
                        Icon {
                            anchors.centerIn: parent
                            iconName: "x-lg"
                        }
                    }
                }
            }

            RuleRow {
                id: columnTitles

                anchors.top: heading.bottom
                width: parent.width
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
                Accessible.role: Accessible.List
                Accessible.name: qsTr("Rules")
                clip: true
                focus: true
                keyNavigationEnabled: true
                model: inspectionDetails.rules
                delegate: RuleRow {
                    width: rules.width
                    numberWidth: root.numberWidth
                    zone: root.zoneNames[modelData.zone]
                    kind: modelData.isScratch ? qsTr("Scratches") : qsTr("Defects")
                    sizes: modelData.sizes || qsTr("any")
                    allowed: modelData.allowed < 0 ? qsTr("any") : modelData.allowed
                    found: modelData.found
                    isViolated: modelData.violated
                }
                ScrollBar.vertical: VerticalBar {}

                FocusRing {
                    parent: rules
                }
            }
        }
    }
}
