// SPDX-License-Identifier: Apache-2.0
import QtQuick 2.11
import "../shell/ZoneStyle.js" as ZoneStyle
import "../style"

// The picture of an inspection with the borders of its zones and its defects by their numbers. A defect that is selected
// is enlarged, in the middle, and enclosed.
Item {
    id: root

    property var result: shownResult
    property int selected: 0 // number of a defect; 0: the whole picture
    property int shownNumbers: 20
    property bool areNumbered: true // else encircled, which hides less of a small picture
    readonly property var defect: selected > 0 && selected <= defects.length ? defects[selected - 1] : null
    readonly property real zoom: defect ? 3 : 1
    readonly property var defects: root.result.defects
    readonly property bool isMissing: root.result.pictureProblem !== ""

    readonly property real scaling: picture.implicitWidth > 0 ? picture.paintedWidth / picture.implicitWidth : 0
    readonly property real pictureLeft: (scene.width - picture.paintedWidth) / 2
    readonly property real pictureTop: (scene.height - picture.paintedHeight) / 2

    clip: true

    Rectangle {
        anchors.fill: parent
        color: TesterStyle.backdrop
    }

    Item {
        id: scene

        width: root.width * root.zoom
        height: root.height * root.zoom
        x: root.defect ? root.width / 2 - (root.pictureLeft + root.defect.x * root.scaling) : 0
        y: root.defect ? root.height / 2 - (root.pictureTop + root.defect.y * root.scaling) : 0

        Image {
            id: picture

            objectName: "resultPicture"
            anchors.fill: parent
            fillMode: Image.PreserveAspectFit
            source: root.result.picture
            cache: false
            asynchronous: false
            Accessible.role: Accessible.Graphic
            Accessible.name: qsTr("Picture of the end face")
        }

        Repeater {
            model: picture.status === Image.Ready ? root.result.zones : []

            Rectangle {
                anchors.centerIn: picture
                width: modelData.diameter * root.scaling
                height: width
                radius: width / 2
                color: "transparent"
                border { width: 2; color: ZoneStyle.color(modelData.zone) }
            }
        }

        Repeater {
            model: picture.status === Image.Ready ? root.defects.slice(0, root.shownNumbers) : []

            Item {
                readonly property bool isSelected: modelData.number === root.selected
                readonly property real extent: Math.max(10, 2 * modelData.radius * root.scaling + 8)

                x: root.pictureLeft + modelData.x * root.scaling
                y: root.pictureTop + modelData.y * root.scaling

                Rectangle {
                    anchors.centerIn: parent
                    width: parent.extent
                    height: width
                    radius: width / 2
                    visible: parent.isSelected || !root.areNumbered
                    color: "transparent"
                    border {
                        width: parent.isSelected ? 3 : 2
                        color: parent.isSelected ? TesterStyle.selectedOnPicture
                             : modelData.fails ? TesterStyle.ringOnPicture : TesterStyle.backdropText
                    }
                }
                Rectangle {
                    x: parent.extent / 2
                    y: -height
                    width: Math.max(height, number.implicitWidth + 6)
                    height: 22
                    visible: root.areNumbered
                    radius: 4
                    color: modelData.fails ? TesterStyle.failedOnPicture : TesterStyle.defectOnPicture
                    border { width: 1; color: TesterStyle.backdropText }

                    PlainText {
                        id: number

                        anchors.centerIn: parent
                        text: modelData.number
                        color: TesterStyle.backdropText
                        Accessible.ignored: true
                    }
                }
            }
        }
    }

    PlainText {
        objectName: "missingPicture"
        anchors.centerIn: parent
        width: parent.width - 2 * TesterStyle.margin
        visible: root.isMissing
        horizontalAlignment: Text.AlignHCenter
        wrapMode: Text.WordWrap
        color: TesterStyle.backdropText
        text: root.result.pictureProblem
    }
}
