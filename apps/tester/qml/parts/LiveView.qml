// SPDX-License-Identifier: Apache-2.0
import FiberInspection 1.0
import QtQuick 2.11
import VantorTester 1.0
import "qrc:/Vantor/Components" as VantorComponents
import "../shell/ZoneStyle.js" as ZoneStyle
import "../style"

// The live picture of the scope with the rings of the zones around the fibre; can be enlarged, moved and frozen. There is
// a camera only while the scope is plugged in.
Item {
    id: root

    property bool isLive: true // somebody looks at it
    property real zoom: 1
    property var zones: [] // maps of zone and diameter, in pixels of the frames
    property bool isHeld: false // it is to stand still, as soon as there is a picture of it
    property bool isFrozen: false
    readonly property alias meter: meter
    readonly property bool isReady: camera.item !== null && camera.item.ready
    readonly property real frameScale: Math.max(width / frame.width, height / frame.height) // the preview is cropped
    readonly property size frame: Qt.size(800, 600)

    signal saved()
    signal failed()

    // Answered by saved() or failed(), or by nothing at all.
    function capture(path) {
        camera.item.forgetCapture(); // what was asked for before was given up
        camera.item.captureImageToFile(path);
        if (camera.item.captures.length === 0 && !camera.hasSaved)
            failed();
    }

    function freeze(isWanted) {
        isFrozen = false;
        isHeld = isWanted && isReady && camera.item.grabToImage(function(picture) {
            if (!root.isHeld) // it goes on again
                return;
            still.source = picture.url;
            root.isFrozen = true;
        }, Qt.size(2 * width, 2 * height));
    }

    // Where a point of the frame is shown, before the zoom.
    function place(position) {
        return Qt.point((position.x - frame.width / 2) * frameScale + width / 2,
                        (position.y - frame.height / 2) * frameScale + height / 2);
    }

    function center() {
        scene.x = 0;
        scene.y = 0;
    }

    clip: true
    onZoomChanged: center()
    onIsReadyChanged: freeze(false)
    Component.onDestruction: if (camera.item) camera.item.stop()

    FiberRealtimeAnalyser {
        id: analyser
    }

    FocusMeter {
        id: meter

        filter: analyser
        isRunning: root.isLive && root.isReady
    }

    Rectangle {
        anchors.fill: parent
        color: TesterStyle.backdrop
    }

    Item {
        id: scene

        width: root.width
        height: root.height
        scale: root.zoom

        Loader {
            id: camera

            property bool hasSaved: false // before the request came back

            anchors.fill: parent
            active: hardwareManager.isScopeConnected
            opacity: root.isReady ? 1 : 0 // what the preview shows until then is white
            sourceComponent: VantorComponents.CameraPreview {
                deviceName: hardwareManager.scopeName
                clip: true
                videoOutput.filters: ready ? [analyser] : []
                onImageSaved: {
                    camera.hasSaved = true;
                    root.saved();
                    camera.hasSaved = false;
                }
            }
        }

        Image {
            id: still

            anchors.fill: parent
            visible: root.isFrozen
            cache: false
        }

        Repeater {
            model: root.isFrozen || !meter.hasFibre ? [] : root.zones

            Rectangle {
                readonly property point middle: root.place(meter.claddingPosition)

                x: middle.x - width / 2
                y: middle.y - height / 2
                width: modelData.diameter * root.frameScale
                height: width
                radius: width / 2
                color: "transparent"
                border { width: 2 / Math.sqrt(root.zoom); color: ZoneStyle.color(modelData.zone) }
            }
        }
    }

    MouseArea {
        anchors.fill: parent
        enabled: root.zoom > 1
        drag {
            target: scene
            minimumX: -root.width * (root.zoom - 1) / 2
            maximumX: root.width * (root.zoom - 1) / 2
            minimumY: -root.height * (root.zoom - 1) / 2
            maximumY: root.height * (root.zoom - 1) / 2
        }
    }
}
