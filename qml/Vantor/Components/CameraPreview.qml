// SPDX-License-Identifier: Apache-2.0
import QtMultimedia 5.4
import QtQuick 2.11

// The live picture of a camera, and stills of it.
Item {
    id: root

    property string deviceName: "" // part of the display name; empty is part of every name
    readonly property bool ready: camera.cameraStatus === Camera.ActiveStatus
    property alias videoOutput: output

    // Requests that may still be told, oldest first: of those that have not failed the last one counts.
    readonly property var captures: []
    property var earlyAnswers: null // by number, while a request is made: a camera may answer before that returns

    signal initializeFailed()
    signal imageCaptured(string preview)
    signal imageSaved()

    // The last one counts, unless it fails.
    function captureImageToFile(path) {
        const all = captures;
        const early = {};
        earlyAnswers = early;
        const requestId = camera.imageCapture.captureToLocation(path);
        earlyAnswers = null;
        if (requestId >= 0) // a camera that does not take the request gives it no number
            all.push(early[requestId] || newCapture(requestId));
        tell();
    }

    // Whatever becomes of it, it is not told any more.
    function forgetCapture() {
        const all = captures;
        all.length = 0;
    }

    function newCapture(requestId) {
        return { id: requestId, preview: null, isSaved: false, hasFailed: false };
    }

    // Puts down what the camera answers to a request that may still be told.
    function answer(requestId, change) {
        const all = captures;
        var capture = all.find(function(one) { return one.id === requestId; });
        if (!capture && earlyAnswers)
            capture = earlyAnswers[requestId] = earlyAnswers[requestId] || newCapture(requestId);
        if (!capture)
            return;
        Object.assign(capture, change);
        if (!earlyAnswers)
            tell();
    }

    function tell() {
        const all = captures; // outlives this item, which a receiver may destroy
        while (all.length > 0 && all[all.length - 1].hasFailed)
            all.pop();
        if (all.length === 0)
            return;
        const capture = all[all.length - 1];
        if (capture.preview !== null) {
            const preview = capture.preview;
            capture.preview = null;
            imageCaptured(preview);
        }
        if (all[all.length - 1] !== capture || !capture.isSaved) // a receiver may have forgotten it, or captured again
            return;
        forgetCapture();
        imageSaved();
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

    Component.onDestruction: forgetCapture()
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
            root.answer(requestId, { preview: preview });
        }
        imageCapture.onImageSaved: function(requestId, path) {
            root.answer(requestId, { isSaved: true });
        }
        imageCapture.onCaptureFailed: function(requestId, message) {
            console.log("Image capture failed: " + message);
            root.answer(requestId, { hasFailed: true });
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
