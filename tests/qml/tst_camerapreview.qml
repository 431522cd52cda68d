// SPDX-License-Identifier: Apache-2.0
import FiberInspection 1.0
import QtMultimedia 5.4
import QtQuick 2.11
import QtTest 1.12
import VantorTest 1.0
import "Items.js" as Items
import "Patience.js" as Patience
import "qrc:/Vantor/Components" as VantorComponents

Item {
    id: scene

    width: 400
    height: 300

    Component {
        id: previewComponent

        VantorComponents.CameraPreview {
            property int failures: 0
            property var previews: []
            property int saved: 0

            anchors.fill: parent
            onInitializeFailed: ++failures
            onImageCaptured: previews.push(preview)
            onImageSaved: ++saved
        }
    }
    Component {
        id: filteredComponent

        VantorComponents.CameraPreview {
            property alias focusValue: analyser.focusValue

            anchors.fill: parent
            videoOutput.filters: ready ? [analyser] : []

            FiberRealtimeAnalyser {
                id: analyser
            }
        }
    }

    TestCase {
        name: "CameraPreview"
        when: windowShown

        function create(properties) {
            return createTemporaryObject(previewComponent, scene, properties || {});
        }

        function createReady() {
            const preview = create();
            tryCompare(preview, "ready", true, Patience.longest);
            return preview;
        }

        readonly property string noFolder: "The picture could not be written: No such file or directory"

        function expectCaptureFailure(reason) {
            ignoreWarning("QCameraImageCapture error: \"" + reason + "\""); // of the framework
            Expect.debug("Image capture failed: " + reason);
        }

        // The preview itself has told of a failure before it is counted.
        function countCaptureFailures(preview) {
            const failures = [];
            preview.videoOutput.source.imageCapture.captureFailed.connect(function(id, message) {
                failures.push(message);
            });
            return failures;
        }

        function init() {
            simulatedScope.isPlugged = true;
            simulatedScope.face = "clean";
            simulatedScope.focus = 0;
        }

        function test_itIsCoveredUntilTheCameraIsReady() {
            const preview = create();
            const cover = Items.byText(preview, "Initializing camera");
            verify(!preview.ready);
            verify(cover.visible);

            tryCompare(preview, "ready", true, Patience.longest);

            verify(!cover.visible);
            compare(preview.failures, 0);
        }

        function test_aPartOfTheNameWillDo_data() {
            return [
                { tag: "nothing", name: "", isFound: true },
                { tag: "all", name: "ODM Scope 2", isFound: true },
                { tag: "a part", name: "Scope", isFound: true },
                { tag: "another camera", name: "Webcam", isFound: false },
                { tag: "more than the name", name: "ODM Scope 2 ODM Scope 2", isFound: false },
            ];
        }
        function test_aPartOfTheNameWillDo(row) {
            const preview = create({ deviceName: row.name });

            compare(preview.failures, row.isFound ? 0 : 1);
            if (row.isFound) {
                tryCompare(preview, "ready", true, Patience.longest);
            } else {
                wait(300);
                verify(!preview.ready);
            }
        }

        function test_ofSeveralCamerasTheLastWithTheNameIsTaken_data() {
            const cameras = ["Built-in", "ODM Scope 2: ODM Scope 2", "ODM Scope 2: metadata", "Other"].map(
                function(name, i) { return { deviceId: "/dev/video" + i, displayName: name }; });
            return [
                { tag: "by name", name: "ODM Scope 2", cameras: cameras, id: "/dev/video2" },
                { tag: "the first one", name: "Built", cameras: cameras, id: "/dev/video0" },
                { tag: "no name", name: "", cameras: cameras, id: "/dev/video3" },
                { tag: "another name", name: "odm", cameras: cameras, id: null },
                { tag: "no camera", name: "", cameras: [], id: null },
            ];
        }
        function test_ofSeveralCamerasTheLastWithTheNameIsTaken(row) {
            const preview = create();
            preview.deviceName = row.name;

            const found = preview.findCamera(row.cameras);

            compare(found ? found.deviceId : null, row.id);
        }

        function test_withoutACameraThereIsNoPreview() {
            simulatedScope.isPlugged = false;

            const preview = create();

            compare(preview.failures, 1);
            verify(!preview.ready);
        }

        function test_theOutputFillsTheItem() {
            const preview = createReady();

            compare(preview.videoOutput.width, 400);
            compare(preview.videoOutput.height, 300);
            compare(preview.videoOutput.fillMode, VideoOutput.PreserveAspectCrop);
            compare(preview.videoOutput.orientation, 0);
            compare(preview.videoOutput.autoOrientation, false);
            compare(preview.videoOutput.source.captureMode, Camera.CaptureStillImage);
            compare(preview.videoOutput.source.imageCapture.resolution, Qt.size(800, 600));
        }

        function test_thePictureIsThatOfTheScope() {
            const preview = createReady();

            // The ferrule around the fibre is brighter than its cladding.
            tryVerify(function() {
                const image = grabImage(preview);
                return image.red(20, 20) > 150 && image.red(206, 120) > 90 && image.red(206, 120) < 150;
            }, Patience.longest);
        }

        function test_aStillIsSavedWhereItIsWanted() {
            const preview = createReady();
            const path = files.path("tmp/still one.jpg");
            tryVerify(simulatedScope.isSettled, Patience.longest);

            preview.captureImageToFile(path);

            tryCompare(preview, "saved", 1, Patience.longest);
            compare(preview.previews.length, 1);
            verify(preview.previews[0].indexOf("image://camera/") === 0, preview.previews[0]);
            compare(files.sizeOf(path), Qt.size(800, 600));
        }

        function test_aStillThatIsSavedBeforeTheCaptureReturnsIsTold() {
            const preview = createReady();
            const path = files.path("tmp/at once.jpg");
            tryVerify(simulatedScope.isSettled, Patience.longest);
            simulatedScope.saveNextStillAtOnce();

            preview.captureImageToFile(path);

            compare(preview.saved, 1);
            compare(preview.previews.length, 1);
            compare(files.sizeOf(path), Qt.size(800, 600));
            preview.captureImageToFile(path);
            tryCompare(preview, "saved", 2, Patience.longest);
        }

        function captureLateAndInTime(preview) {
            const late = files.path("tmp/late.jpg");
            simulatedScope.holdNextStill();
            preview.captureImageToFile(late);
            preview.captureImageToFile(files.path("tmp/in time.jpg"));
            tryCompare(preview, "saved", 1, Patience.longest);
            verify(!files.exists(late));
            return late;
        }

        function test_anEarlierStillThatIsSavedLateIsNotTold() {
            const preview = createReady();
            tryVerify(simulatedScope.isSettled, Patience.longest);
            const late = captureLateAndInTime(preview);

            simulatedScope.releaseStills();

            tryVerify(function() { return files.exists(late); }, Patience.longest);
            compare(preview.saved, 1);
            compare(preview.previews.length, 1);
            files.remove(late);
        }

        function test_aCaptureThatFailsLeavesTheEarlierOne_data() {
            return [
                { tag: "before that is saved", holds: "first" },
                { tag: "after that was saved", holds: "second" },
            ];
        }
        function test_aCaptureThatFailsLeavesTheEarlierOne(row) {
            const preview = createReady();
            tryVerify(simulatedScope.isSettled, Patience.longest);
            const path = files.path("tmp/earlier %1.jpg".arg(row.holds));
            const failures = countCaptureFailures(preview);
            expectCaptureFailure(noFolder);
            if (row.holds === "first")
                simulatedScope.holdNextStill();
            preview.captureImageToFile(path);
            if (row.holds === "second")
                simulatedScope.holdNextStill();
            preview.captureImageToFile(files.path("no/such/folder.jpg"));
            tryVerify(function() { return failures.length > 0 || files.exists(path); }, Patience.longest);
            compare(preview.saved, 0);

            simulatedScope.releaseStills();

            tryCompare(preview, "saved", 1, Patience.longest);
            compare(failures.length, 1);
            verify(preview.previews.length > 0);
            files.remove(path);
        }

        function test_ofSeveralThatFailAnyLeavesTheEarlierOne() {
            const preview = createReady();
            tryVerify(simulatedScope.isSettled, Patience.longest);
            const path = files.path("tmp/first of three.jpg");
            const failures = countCaptureFailures(preview);
            expectCaptureFailure(noFolder);
            expectCaptureFailure(noFolder);
            preview.captureImageToFile(path);
            simulatedScope.holdNextStill();
            preview.captureImageToFile(files.path("no/such/second.jpg"));
            preview.captureImageToFile(files.path("no/such/third.jpg"));
            tryVerify(function() { return failures.length === 1 && files.exists(path); }, Patience.longest);
            compare(preview.saved, 0); // the second one may still come

            simulatedScope.releaseStills();

            tryCompare(preview, "saved", 1, Patience.longest);
            compare(failures.length, 2);
            files.remove(path);
        }

        function test_aCaptureThatFailsBringsBackNoneThatWasForgotten() {
            const preview = createReady();
            tryVerify(simulatedScope.isSettled, Patience.longest);
            const path = files.path("tmp/forgotten before.jpg");
            const failures = countCaptureFailures(preview);
            expectCaptureFailure(noFolder);
            simulatedScope.holdNextStill();
            preview.captureImageToFile(path);
            preview.forgetCapture();
            preview.captureImageToFile(files.path("no/such/folder.jpg"));
            tryCompare(failures, "length", 1, Patience.longest);

            simulatedScope.releaseStills();

            tryVerify(function() { return files.exists(path); }, Patience.longest);
            compare(preview.saved, 0);
            files.remove(path);
        }

        // Some cameras refuse a request by another number than those that they give.
        function test_aCaptureThatIsNotTakenLeavesTheEarlierOne() {
            const preview = createReady();
            tryVerify(simulatedScope.isSettled, Patience.longest);
            const path = files.path("tmp/not taken.jpg");
            simulatedScope.holdNextStill();
            preview.captureImageToFile(path);
            simulatedScope.refuseNextStill();
            preview.captureImageToFile(path);

            simulatedScope.releaseStills();

            tryCompare(preview, "saved", 1, Patience.longest);
        }

        function test_aCaptureThatFailsAtOnceLeavesTheEarlierOne() {
            const preview = createReady();
            tryVerify(simulatedScope.isSettled, Patience.longest);
            const path = files.path("tmp/before one that fails at once.jpg");
            expectCaptureFailure(noFolder);
            preview.captureImageToFile(path);
            simulatedScope.saveNextStillAtOnce();

            preview.captureImageToFile(files.path("no/such/folder.jpg"));

            compare(preview.saved, 0);
            tryCompare(preview, "saved", 1, Patience.longest);
            verify(files.exists(path));
        }

        function test_aReceiverMayForgetOrCaptureAgain_data() {
            return [
                { tag: "forget", saved: 0, act: function(preview) { preview.forgetCapture(); } },
                { tag: "capture", saved: 1, act: function(preview, path) { preview.captureImageToFile(path); } },
            ];
        }
        function test_aReceiverMayForgetOrCaptureAgain(row) {
            const preview = createReady();
            tryVerify(simulatedScope.isSettled, Patience.longest);
            const again = files.path("tmp/captured by a receiver.jpg");
            const first = files.path("tmp/with a receiver.jpg");
            var calls = 0;
            preview.imageCaptured.connect(function() {
                if (++calls === 1)
                    row.act(preview, again);
            });
            simulatedScope.saveNextStillAtOnce();

            preview.captureImageToFile(first);

            compare(calls, 1);
            compare(preview.saved, 0);
            verify(files.exists(first));
            tryCompare(preview, "saved", row.saved, Patience.longest);
            compare(preview.previews.length, 1 + row.saved);
        }

        function test_aReceiverMayDestroyThePreview() {
            const preview = createReady();
            tryVerify(simulatedScope.isSettled, Patience.longest);
            const path = files.path("tmp/of a preview that goes.jpg");
            var saved = 0;
            var calls = 0;
            preview.imageSaved.connect(function() { ++saved; });
            preview.imageCaptured.connect(function() {
                ++calls;
                preview.destroy();
                Destruction.carryOut();
            });
            simulatedScope.saveNextStillAtOnce();

            preview.captureImageToFile(path);

            compare(calls, 1);
            compare(saved, 0);
        }

        function test_numbersOfRequestsMayBeginAgain() {
            const preview = createReady();
            tryVerify(simulatedScope.isSettled, Patience.longest);
            const path = files.path("tmp/again.jpg");
            preview.captureImageToFile(path);
            preview.captureImageToFile(path);
            tryCompare(preview, "saved", 1, Patience.longest);
            simulatedScope.beginNumbersAgain();

            preview.captureImageToFile(path);

            tryCompare(preview, "saved", 2, Patience.longest);
            compare(preview.previews.length, 2);
        }

        function test_aStillThatIsForgottenIsNotTold() {
            const preview = createReady();
            tryVerify(simulatedScope.isSettled, Patience.longest);
            const path = files.path("tmp/forgotten.jpg");
            preview.captureImageToFile(path);

            preview.forgetCapture();

            tryVerify(function() { return files.exists(path); }, Patience.longest);
            compare(preview.saved, 0);
            compare(preview.previews.length, 0);
            preview.captureImageToFile(path);
            tryCompare(preview, "saved", 1, Patience.longest);
        }

        function test_aStillThatCannotBeSavedIsTold() {
            const preview = createReady();
            tryVerify(simulatedScope.isSettled, Patience.longest);
            expectCaptureFailure(noFolder);

            const failures = countCaptureFailures(preview);

            preview.captureImageToFile(files.path("no/such/folder.jpg"));

            tryCompare(failures, "length", 1, Patience.longest);
            compare(preview.saved, 0);
        }

        function test_aFilterSeesTheFrames() {
            const preview = createTemporaryObject(filteredComponent, scene);
            compare(preview.focusValue, -1);

            tryVerify(function() { return preview.focusValue > 2.5; }, Patience.longest);
            simulatedScope.focus = 1;
            tryVerify(function() { return preview.focusValue < 1; }, Patience.longest);
        }

        function test_itStopsAndStarts() {
            const preview = createReady();

            preview.stop();
            tryCompare(preview, "ready", false, Patience.longest);
            preview.start();
            tryCompare(preview, "ready", true, Patience.longest);
        }

        function test_unpluggingEndsThePreviewAndPluggingInAllowsANewOne() {
            const preview = createReady();

            simulatedScope.isPlugged = false;
            compare(preview.ready, false);
            verify(Items.byText(preview, "Initializing camera").visible);

            simulatedScope.isPlugged = true;
            preview.start();
            tryCompare(preview, "ready", true, Patience.longest);
        }

        function test_unpluggingDuringACaptureEndsItWithoutAnImage() {
            const preview = createReady();
            tryVerify(simulatedScope.isSettled, Patience.longest);
            const path = files.path("tmp/cut off.jpg");
            expectCaptureFailure("The camera is not active");
            const failures = countCaptureFailures(preview);

            preview.captureImageToFile(path);
            simulatedScope.isPlugged = false;

            tryCompare(failures, "length", 1, Patience.longest);
            compare(preview.saved, 0);
            verify(!files.exists(path));
        }
    }
}
