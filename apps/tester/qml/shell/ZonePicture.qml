// SPDX-License-Identifier: Apache-2.0
import QtQuick 2.11
import "qrc:/Vantor/Style"
import "ZoneStyle.js" as ZoneStyle

// The annotated picture with the borders of the zones.
Item {
    id: root

    property alias source: picture.source
    property var zones: [] // of InspectionDetails

    Image {
        id: picture

        readonly property real scaling: implicitWidth > 0 ? paintedWidth / implicitWidth : 0

        anchors.fill: parent
        fillMode: Image.PreserveAspectFit
        cache: false
        Accessible.role: Accessible.Graphic
        Accessible.name: qsTr("Picture of the end face")
    }

    Repeater {
        model: root.zones

        Rectangle {
            objectName: "zoneRing"
            anchors.centerIn: picture
            width: modelData.diameter * picture.scaling
            height: width
            radius: width / 2
            color: "transparent"
            border { width: 2; color: ZoneStyle.color(modelData.zone) }
            visible: picture.status === Image.Ready
        }
    }
}
