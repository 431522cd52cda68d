// SPDX-License-Identifier: Apache-2.0
import QtQuick 2.11
import QtQuick.Controls 2.4
import "qrc:/Vantor/Style"

// A LoadingComponent that can tell how far things are.
LoadingComponent {
    id: root

    property alias from: bar.from
    property alias value: bar.value
    property alias to: bar.to
    property alias progressBarVisible: bar.visible
    property alias progressBarTextVisible: bar.visible
    property alias progressBarText: barText.text

    ProgressBar {
        id: bar

        anchors.horizontalCenter: parent.horizontalCenter
        anchors.verticalCenter: parent.verticalCenter
        anchors.verticalCenterOffset: 50
        width: parent.width / 2
        height: 40
        visible: false
        from: 0
    }

    Text {
        id: barText

        anchors.top: bar.bottom
        anchors.horizontalCenter: bar.horizontalCenter
        visible: bar.visible
        text: bar.value + "/" + bar.to
        font.pixelSize: GlobalStyles.textSize
    }
}
