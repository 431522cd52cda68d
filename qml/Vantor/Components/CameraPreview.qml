// SPDX-License-Identifier: Apache-2.0
import QtMultimedia 5.4
import QtQuick 2.11

// The live picture of a camera, and stills of it.
Item {
    id: root

    property string deviceName: "" // part of the display name; empty is part of every name
    readonly property bool ready: camera.cameraStatus === Camera.ActiveStatus
    property alias videoOutput: output

    readonly property int noCapture: -1
    property int lastCapture: noCapture // the request that is still waited for; answers to earlier ones come too late

    signal initializeFailed()
    signal imageCaptured(string preview)
    signal imageSaved()

    function captureImageToFile(path) {
        lastCapture = camera.imageCapture.captureToLocation(path);
    }

    // Whatever becomes of it, it is not told any more.
    function forgetCapture() {
        lastCapture = noCapture;
    }

    function start() {
        camera.start();
    }

    function stop() {
        camera.stop();
    }

    // The last one with the name. Some devices report their name twice, so a part of it has to do. Null: there is none.
    function findCamera(cameras) {
        for (var i = cameras.length - 1; i >= 0; --i) {
            if (cameras[i].displayName.indexOf(deviceName) !== -1)
                return cameras[i];
        }
        return null;
    }

    Component.onCompleted: {
        const device = findCamera(QtMultimedia.availableCameras);
        if (!device) {
            initializeFailed();
            return;
        }
        camera.deviceId = device.deviceId;
        start();
    }

    Camera {
        id: camera

        cameraState: Camera.UnloadedState // until the device is known
        captureMode: Camera.CaptureStillImage
        imageCapture.resolution: "800x600"
        imageCapture.onImageCaptured: function(requestId, preview) {
            if (requestId === root.lastCapture)
                root.imageCaptured(preview);
        }
        imageCapture.onImageSaved: function(requestId, path) {
            if (requestId === root.lastCapture)
                root.imageSaved();
        }
        imageCapture.onCaptureFailed: function(requestId, message) {
            console.log("Image capture failed: " + message);
        }
    }

    VideoOutput {
        id: output

        anchors.fill: parent
        source: camera
        fillMode: VideoOutput.PreserveAspectCrop
        orientation: 0 // landscape, as the scope sees it
        autoOrientation: false
    }

    LoadingComponent {
        text: qsTr("Initializing camera")
        visible: !root.ready
    }
}
