// SPDX-License-Identifier: Apache-2.0
import QtQuick 2.11
import QtTest 1.12
import VantorTest 1.0
import "Items.js" as Items
import "Patience.js" as Patience
import "Pixels.js" as Pixels
import "qrc:/Vantor/Pages"

Item {
    id: scene

    property var calls: []

    width: 480
    height: 696

    QtObject {
        id: titleBar

        property Item actionBack: Item {}
        property var _allActions: [actionBack]
    }
    QtObject {
        id: fiberManager

        signal analyseFinished(bool passed, string sourceFilePath, string resultFilePath)
        signal analyseFailed()
    }
    QtObject {
        id: snackBar

        function showSuccess(text) {
            scene.calls.push(["success", text]);
        }
        function showError(text) {
            scene.calls.push(["error", text]);
        }
    }

    Component {
        id: pageComponent

        FiberInspectionResultPage {
            anchors.fill: parent
        }
    }

    TestCase {
        name: "FiberInspectionResultPage"
        when: windowShown

        function init() {
            scene.calls = [];
            scene.width = 480;
            scene.height = 696;
        }

        function cover(page) { return Items.byType(page, "LoadingComponent"); }
        function picture(page) { return Items.byType(page, "QQuickImage"); }
        function verdict(page) {
            return Items.find(page, function(item) { return item.width === 40 && item.radius === 4; });
        }

        // The window follows a change of the scene's size a frame or two later.
        function verifyColour(page, x, y, colour) {
            tryVerify(function() { return Pixels.hasColour(grabImage(page), x, y, colour); }, Patience.longest);
        }

        function finish(passed, path) {
            fiberManager.analyseFinished(passed, "", path || files.path("result.png"));
        }

        function test_itWaitsForAnAnswer() {
            const page = createTemporaryObject(pageComponent, scene, { standardId: 3 });

            compare(page.standardId, 3);
            compare(page.testPassed, false);
            verify(cover(page).visible);
            compare(cover(page).text, "Processing image\n\nPlease wait\n\n");
            compare([cover(page).width, cover(page).height], [480, 696]);
            verify(!verdict(page).visible);
            compare(Array.from(page.actions), [titleBar.actionBack]);
        }

        function test_theVerdict_data() {
            return [
                { tag: "passed", passed: true, colour: "green", sign: "✓", call: ["success", "Connector test passed"] },
                { tag: "rejected", passed: false, colour: "red", sign: "X", call: ["error", "Connector test failed"] },
            ];
        }
        function test_theVerdict(row) {
            files.paint(files.path("result.png"), "blue");
            const page = createTemporaryObject(pageComponent, scene);

            finish(row.passed);

            verify(!cover(page).visible);
            compare(page.testPassed, row.passed);
            tryCompare(scene, "calls", [row.call], Patience.longest);
            const sign = verdict(page);
            verify(sign.visible);
            compare([sign.x, sign.y, sign.width, sign.height, sign.radius], [430, 10, 40, 40, 4]);
            verify(Qt.colorEqual(sign.color, row.colour));
            compare(sign.children[0].text, row.sign);
            verify(Qt.colorEqual(sign.children[0].color, "white"));
            verifyColour(page, 240, 240, "blue");
            verifyColour(page, 433, 30, row.colour);
        }

        function test_thePictureIsAsWideAsThePageAndSquare() {
            files.paint(files.path("result.png"), "blue");
            const page = createTemporaryObject(pageComponent, scene);
            finish(true);

            const image = picture(page);

            compare([image.x, image.y, image.width, image.height], [0, 0, 480, 480]);
            compare(image.source.toString(), "file://" + files.path("result.png"));
            compare(image.cache, false);
            compare(image.fillMode, Image.PreserveAspectFit);
            scene.width = 800;
            scene.height = 376;
            compare([image.width, image.height], [800, 376]);
        }

        function test_aLaterPictureUnderTheSameNameIsShown() {
            const page = createTemporaryObject(pageComponent, scene);
            files.paint(files.path("result.png"), "blue");
            finish(true);
            verifyColour(page, 240, 240, "blue");

            files.paint(files.path("result.png"), "yellow");
            finish(false);

            verifyColour(page, 240, 240, "yellow");
            verify(!page.testPassed);
        }

        function test_anAnalysisWithoutAVerdictShowsNothing() {
            const page = createTemporaryObject(pageComponent, scene);
            Expect.error("analyse failed");

            fiberManager.analyseFailed();

            verify(!cover(page).visible);
            verify(!verdict(page).visible);
            compare(picture(page).source.toString(), "");
            compare(scene.calls, []);
        }

        function test_anAnalysisWithoutAVerdictTakesTheOneBeforeAway() {
            files.paint(files.path("result.png"), "blue");
            const page = createTemporaryObject(pageComponent, scene);
            finish(true);
            verify(verdict(page).visible);
            Expect.error("analyse failed");

            fiberManager.analyseFailed();

            verify(!verdict(page).visible);
            compare(picture(page).source.toString(), "");
        }

        function test_aVerdictAfterAnAnalysisWithoutOneIsShown() {
            files.paint(files.path("result.png"), "blue");
            const page = createTemporaryObject(pageComponent, scene);
            Expect.error("analyse failed");
            fiberManager.analyseFailed();

            finish(true);

            verify(verdict(page).visible);
        }

        function test_theNameOfThePictureIsNotEncoded_data() {
            return ["face #1.png", "face%20.png", "face?.png"].map(function(name) { return { tag: name, name: name }; });
        }
        function test_theNameOfThePictureIsNotEncoded(row) {
            const path = files.path(row.name);
            files.paint(path, "blue");
            const page = createTemporaryObject(pageComponent, scene);
            ignoreWarning(new RegExp("Cannot open: file://.*/face"));

            finish(true, path);

            compare(picture(page).status, Image.Error);
            verify(verdict(page).visible); // the verdict does not hang on the picture
        }

        function missingPicture(page) {
            return Items.find(page, function(item) { return item.objectName === "missingPicture"; });
        }

        function test_aPictureThatIsNotThereIsTold_data() {
            return [
                { tag: "not written", path: files.path("no picture.png"),
                  text: "There is no picture: it could not be saved. The disk may be full." },
                { tag: "not filed", path: "", text: "There is no picture: it could not be filed." },
            ];
        }
        function test_aPictureThatIsNotThereIsTold(row) {
            const page = createTemporaryObject(pageComponent, scene);
            verify(!missingPicture(page).visible);
            if (row.path !== "")
                ignoreWarning(new RegExp("Cannot open: file://.*/no.*picture"));

            fiberManager.analyseFinished(false, "", row.path);

            verify(verdict(page).visible);
            verify(missingPicture(page).visible);
            compare(missingPicture(page).text, row.text);
            files.paint(files.path("result.png"), "blue");
            finish(true);
            verify(!missingPicture(page).visible);
        }

        function test_withoutPathsThereIsAVerdict() {
            const page = createTemporaryObject(pageComponent, scene);

            fiberManager.analyseFinished(true, "", "");

            verify(verdict(page).visible);
            compare(picture(page).status, Image.Null);
        }
    }
}
