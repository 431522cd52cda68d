// SPDX-License-Identifier: Apache-2.0
import OrvelPage 1.0
import QtQuick 2.11
import QtQuick.Controls.Material 2.4
import QtTest 1.12
import VantorTest 1.0
import "Items.js" as Items
import "Patience.js" as Patience
import "qrc:/Vantor/Pages"

// The page in the middle of what an application publishes; the camera, the live analyser, and the list of standards are
// real, the rest writes down how it is called.
Item {
    id: scene

    property var calls: []

    function note(name, parameters) {
        calls = calls.concat([[name].concat(parameters)]);
    }
    function callsOf(name) {
        return calls.filter(function(call) {
            return call[0] === name;
        });
    }

    width: 600
    height: 920

    QtObject {
        id: titleBar

        property Item actionBack: MouseArea {}
        property Item actionLayers: MouseArea {}
        property var _allActions: [actionBack, actionLayers]
    }
    QtObject {
        id: stackView

        function pop(operation) {
            scene.note("pop", [operation]);
        }
    }
    QtObject {
        id: fiberManager

        signal analyseFinished(bool passed, string sourceFilePath, string resultFilePath)
        signal analyseFailed()

        function requestAnalyse(name, standardId) {
            scene.note("requestAnalyse", [name, standardId]);
        }
        function tmpFiberInspectionImagePath() {
            scene.note("tmpFiberInspectionImagePath", []);
            return realFiberManager.tmpFiberInspectionImagePath();
        }
        function fiberInspectionStandardModel() {
            return realFiberManager.fiberInspectionStandardModel();
        }
    }
    QtObject {
        id: appController

        function navigateTo(pageId, title, properties) {
            scene.note("navigateTo", [pageId, title, properties]);
        }
    }
    QtObject {
        id: messageBoxManager

        function showInfo(title, text) {
            scene.note("showInfo", [title, text]);
        }
    }
    QtObject {
        id: hardwareManager

        signal fiberMicroscopeDisconnected()
    }

    Component {
        id: pageComponent

        FiberInspectionPage {
            anchors.fill: parent
            deviceName: "ODM Scope"
        }
    }

    TestCase {
        name: "FiberInspectionPage"
        when: windowShown

        readonly property string imagePath: realFiberManager.tmpFiberInspectionImagePath()

        function init() {
            simulatedScope.isPlugged = true;
            simulatedScope.face = "clean";
            simulatedScope.focus = 1;
            scene.width = 600;
            scene.height = 920;
            scene.calls = [];
            if (files.exists(imagePath))
                files.remove(imagePath);
            tryVerify(simulatedScope.isSettled, Patience.longest);
        }

        function create() {
            const page = createTemporaryObject(pageComponent, scene);
            verify(page);
            tryCompare(preview(page), "ready", true, Patience.longest);
            return page;
        }

        function preview(page) { return Items.byType(page, "CameraPreview"); }
        function combo(page) { return Items.byType(page, "ComboBox"); }
        function analyseButton(page) { return Items.byText(page, "Analyse"); }
        function autoButton(page) { return Items.byText(page, "Auto Analyse"); }
        function instruction(page) {
            return Items.byText(page, "Turn focus knob slowly from left to right & left again");
        }
        function dot(page) {
            return Items.find(preview(page), function(item) { return item.width === 20 && item.radius === 10; });
        }
        function analyser(page) { return preview(page).videoOutput.filters[0]; }
        function focusOf(page) { return analyser(page).focusValue; }

        function focus(page) {
            simulatedScope.focus = 0;
            tryVerify(function() {
                return focusOf(page) > 2.5 && analyser(page).claddingPosition.x > 0;
            }, Patience.longest);
        }

        // From here on the analyser says what it said last, or what the test makes it say.
        function freeze(page) {
            analyser(page).active = false; // frames pass by
            LiveAnalyses.watch();
            tryVerify(LiveAnalyses.areOver, Patience.longest);
            wait(0); // for what they have told
        }

        function createWithoutFrames() {
            const page = create();
            freeze(page);
            return page;
        }

        function click(item) {
            mouseClick(item, item.width / 2, item.height / 2);
        }

        function test_theLayout() {
            const page = create();
            const view = preview(page);
            const box = combo(page);

            compare([view.x, view.y, view.width, view.height], [0, 0, 600, 480]);
            const place = box.mapToItem(page, 0, 0);
            compare(place.x, 20);
            compare(box.width, 560);
            compare(analyseButton(page).width, 180);
            compare(autoButton(page).width, 360);
            compare(autoButton(page).x - analyseButton(page).width, 20);
            const label = Items.byText(page, "Test Standard");
            verify(label.font.bold);
            compare(label.font.pixelSize, 20);
            verify(Qt.colorEqual(autoButton(page).Material.accent, "green"));
        }

        function test_everythingFitsOnEveryScreen_data() {
            return [
                { tag: "480x800", width: 480, height: 696 },
                { tag: "600x1024", width: 600, height: 920 },
                { tag: "800x480", width: 800, height: 376 },
                { tag: "1024x600", width: 1024, height: 496 },
            ];
        }
        function test_everythingFitsOnEveryScreen(row) {
            scene.width = row.width;
            scene.height = row.height;
            const page = create();

            verify(preview(page).width >= 200);
            verify(preview(page).height >= 200);
            [combo(page), analyseButton(page), autoButton(page)].forEach(function(item) {
                const topLeft = item.mapToItem(page, 0, 0);
                verify(topLeft.x >= 0 && topLeft.x + item.width <= row.width, item + " is too wide");
                verify(topLeft.y >= 0 && topLeft.y + item.height <= row.height, item + " is too low");
                const inView = preview(page).mapFromItem(item, 0, 0);
                verify(!preview(page).contains(inView), item + " covers the picture");
            });
            verify(analyseButton(page).contentItem.implicitWidth <= analyseButton(page).availableWidth);
        }

        function test_theThresholdsAreThoseOfTheLibrary() {
            const page = create();

            compare(page.badFocusThreshold, LiveAnalyses.badFocus);
            compare(page.mediumFocusThreshold, LiveAnalyses.captureFocus);
        }

        function test_theDefaults() {
            const page = create();

            compare(page.zonesVisible, true);
            compare(page.mediumFocusThreshold, 2.5);
            compare(page.badFocusThreshold, 1.0);
            compare(page.deviceName, "ODM Scope");
            compare(Array.from(page.actions), [titleBar.actionBack, titleBar.actionLayers]);
            verify(Qt.colorEqual(page.calculateFocusIndicatorColor(2.5), Qt.rgba(1, 1, 0, 1)));
        }

        function test_theAnalyserLooksOnlyWhileTheCameraIsReady() {
            const page = create();
            compare(preview(page).videoOutput.filters.length, 1);

            preview(page).stop();
            tryCompare(preview(page), "ready", false, Patience.longest);

            compare(preview(page).videoOutput.filters.length, 0);
        }

        function test_theDotTellsTheFocus() {
            const page = create();
            const indicator = dot(page);

            compare([indicator.x, indicator.y], [570, 10]);
            tryVerify(function() { return Qt.colorEqual(indicator.color, "red"); }, Patience.longest);
            focus(page);
            tryVerify(function() { return indicator.color.g === 1 && indicator.color.r < 1; }, Patience.longest);
            preview(page).stop();
            tryCompare(indicator, "visible", false, Patience.longest);
        }

        function test_theCirclesSurroundTheFibre() {
            const page = create();
            const cladding = Items.byBorder(preview(page), "orange");
            const contact = Items.byBorder(preview(page), "green");
            verify(!cladding.visible);

            focus(page);

            tryCompare(cladding, "visible", true, Patience.longest);
            verify(contact.visible);
            freeze(page);
            compare([cladding.width, cladding.height, cladding.border.width], [76, 76, 2]);
            compare([contact.width, contact.height, contact.border.width], [152, 152, 2]);
            compare(contact.x + contact.width / 2, cladding.x + cladding.width / 2);
            compare(contact.y + contact.height / 2, cladding.y + cladding.height / 2);
            const found = analyser(page).claddingPosition;
            fuzzyCompare(cladding.x, found.x * 0.8 - 38 - 22, 0.001);
            fuzzyCompare(cladding.y, found.y * 0.8 - 38 + 4, 0.001);
        }

        function test_theCirclesNeedMoreThanABadFocus() {
            const page = createWithoutFrames();
            const cladding = Items.byBorder(preview(page), "orange");
            const contact = Items.byBorder(preview(page), "green");

            analyser(page).focusValue = 1.0;
            compare([cladding.visible, contact.visible], [false, false]);
            analyser(page).focusValue = 1.0000001;
            compare([cladding.visible, contact.visible], [true, true]);
        }

        function test_theCirclesDoNotNeedTheCamera() {
            const page = createWithoutFrames();
            const filter = analyser(page);
            preview(page).stop();
            tryCompare(preview(page), "ready", false, Patience.longest);

            filter.focusValue = 6;

            verify(Items.byBorder(preview(page), "orange").visible);
            verify(Items.byBorder(preview(page), "green").visible);
        }

        function test_theCirclesAreInTheMiddleOfTheFibreInThePicture_data() {
            return [
                { tag: "600x1024", width: 600, height: 920 },
                { tag: "800x480", width: 800, height: 376 },
                { tag: "1024x600", width: 1024, height: 496 },
            ];
        }
        function test_theCirclesAreInTheMiddleOfTheFibreInThePicture(row) {
            scene.width = row.width;
            scene.height = row.height;
            const page = create();
            const view = preview(page);
            focus(page);

            const cladding = Items.byBorder(view, "orange");
            const rect = view.videoOutput.contentRect;
            freeze(page);
            const found = analyser(page).claddingPosition;
            fuzzyCompare(cladding.x + 38, rect.x + found.x * rect.width / 800, 6);
            fuzzyCompare(cladding.y + 38, rect.y + found.y * rect.height / 600, 6);
        }

        function test_theLayersActionShowsAndHidesTheCircles() {
            const page = create();
            focus(page);
            const cladding = Items.byBorder(preview(page), "orange");
            tryCompare(cladding, "visible", true, Patience.longest);

            titleBar.actionLayers.clicked(null);
            verify(!page.zonesVisible);
            verify(!cladding.visible);
            titleBar.actionLayers.clicked(null);
            verify(page.zonesVisible);
            verify(cladding.visible);
        }

        function test_theStandardsAreThoseOfTheLibrary() {
            const page = create();
            const box = combo(page);

            compare(box.count, 5);
            compare(box.textRole, "name");
            compare(box.valueRole, "id");
            var ids = [];
            for (var i = 0; i < box.count; ++i) {
                box.currentIndex = i;
                ids.push(box.currentValue);
                verify(box.currentText !== "");
            }
            compare(ids, [0, 2, 3, 4, 5]);
        }

        // The handlers of the page call the application when they are over.
        function waitForCalls(name, count) {
            tryVerify(function() { return scene.callsOf(name).length === count; }, Patience.longest);
        }

        function test_anInspectionOfEachStandard_data() {
            return [0, 2, 3, 4, 5].map(function(id) { return { tag: "standard " + id, id: id }; });
        }
        function test_anInspectionOfEachStandard(row) {
            const page = create();
            focus(page);
            combo(page).currentIndex = row.id === 0 ? 1 : 0;
            combo(page).setCurrentValue(row.id);

            click(analyseButton(page));

            waitForCalls("navigateTo", 1);
            compare(scene.callsOf("navigateTo"), [["navigateTo", OrvelPage.FiberInspectionResult, "", { standardId: row.id }]]);
            tryVerify(function() { return scene.callsOf("requestAnalyse").length === 1; }, Patience.longest);
            compare(scene.callsOf("requestAnalyse")[0], ["requestAnalyse", "analyse_test", row.id]);
            compare(files.sizeOf(imagePath), Qt.size(800, 600));
            compare(scene.callsOf("showInfo").length, 0);
        }

        function test_theStandardIsThatOfTheMomentTheImageIsSaved() {
            const page = create();
            focus(page);

            page.analyse();
            combo(page).setCurrentValue(4);

            tryVerify(function() { return scene.callsOf("requestAnalyse").length === 1; }, Patience.longest);
            compare(scene.callsOf("navigateTo")[0][3], { standardId: 0 });
            compare(scene.callsOf("requestAnalyse")[0][2], 4);
        }

        function test_theCaptureWaitsForNothing() {
            const page = create();
            focus(page);

            page.analyse();

            compare(scene.calls, [["tmpFiberInspectionImagePath"]]);
            waitForCalls("requestAnalyse", 1);
        }

        function test_theResultPageIsThereBeforeTheRequest() {
            const page = create();
            focus(page);
            simulatedScope.saveNextStillAtOnce();

            page.analyse();

            waitForCalls("requestAnalyse", 1);
            compare(scene.calls.map(function(call) { return call[0]; }),
                    ["tmpFiberInspectionImagePath", "navigateTo", "requestAnalyse"]);
        }

        function test_aBouncingKeyCountsOnce() {
            const page = create();
            focus(page);

            Keyboard.press(Qt.Key_WebCam);
            Keyboard.press(Qt.Key_WebCam);
            page.analyse();

            waitForCalls("requestAnalyse", 1);
            wait(0); // another call would come now
            compare(scene.calls.map(function(call) { return call[0]; }),
                    ["tmpFiberInspectionImagePath", "navigateTo", "requestAnalyse"]);
            page.analyse();
            waitForCalls("requestAnalyse", 2);
        }

        function test_aBouncingKeyTellsOnceThatThereIsNoFocus() {
            const page = createWithoutFrames();
            analyser(page).focusValue = 1;

            page.analyse();
            page.analyse();

            waitForCalls("showInfo", 1);
            wait(0); // another call would come now
            compare(scene.callsOf("showInfo").length, 1);
            page.analyse();
            waitForCalls("showInfo", 2);
        }

        function test_onlyTheLastPhotographIsAnalysed() {
            const page = create();
            focus(page);
            simulatedScope.holdNextStill();
            page.analyse();
            waitForCalls("navigateTo", 1);
            page.analyse();
            tryVerify(function() { return scene.callsOf("requestAnalyse").length === 1; }, Patience.longest);
            files.remove(imagePath);

            simulatedScope.releaseStills();

            tryVerify(function() { return files.exists(imagePath); }, Patience.longest);
            wait(0); // the request would come now
            compare(scene.callsOf("requestAnalyse").length, 1);
        }

        function test_anImageOutOfFocusIsNotAnalysed_data() {
            return [
                { tag: "not measured", focus: -1 },
                { tag: "bad", focus: 0.5 },
                { tag: "exactly at the threshold", focus: 2.5 },
            ];
        }
        function test_anImageOutOfFocusIsNotAnalysed(row) {
            const page = createWithoutFrames();
            analyser(page).focusValue = row.focus;

            click(analyseButton(page));

            waitForCalls("showInfo", 1);
            compare(scene.calls, [["showInfo", "Image out of Focus",
                "Please adjust image focus and try again.\n\nPlease make sure that focus indicator in top right corner "
                + "turns green. If it's red then image is out of focus. Green means image is focused."]]);
            verify(!files.exists(imagePath));
        }

        function test_justAboveTheThresholdIsAnalysed() {
            const page = createWithoutFrames();
            analyser(page).focusValue = 2.5000001;

            click(analyseButton(page));

            waitForCalls("navigateTo", 1);
        }

        function test_theKeyOfTheScopeAnalyses() {
            const page = create();
            focus(page);

            Keyboard.press(Qt.Key_WebCam);

            waitForCalls("navigateTo", 1);
            tryVerify(function() { return scene.callsOf("requestAnalyse").length === 1; }, Patience.longest);
        }

        function test_theKeyOfTheScopeAlsoEndsASweep() {
            const page = createWithoutFrames();
            click(autoButton(page));
            analyser(page).focusValue = 6;

            Keyboard.press(Qt.Key_WebCam);

            waitForCalls("navigateTo", 1);
            waitForCalls("requestAnalyse", 1);
        }

        function test_theKeyOfTheScopeIsNotForACoveredPage() {
            const page = create();
            focus(page);
            page.visible = false;

            Keyboard.press(Qt.Key_WebCam);

            wait(0);
            compare(scene.calls, []);
        }

        function test_withoutAReadyCameraNothingIsCaptured() {
            const page = createWithoutFrames();
            const filter = analyser(page);
            preview(page).stop();
            tryCompare(preview(page), "ready", false, Patience.longest);
            verify(!analyseButton(page).enabled);
            filter.focusValue = 6;
            Expect.debug("capture image is not available in preview mode or when camera is not ready yet");

            page.analyse();

            waitForCalls("navigateTo", 1);
            wait(200);
            compare(scene.callsOf("requestAnalyse").length, 0);
        }

        function test_autoAnalyseTellsWhatToDo() {
            const page = create();
            const text = instruction(page);
            verify(!text.visible);
            verify(analyseButton(page).enabled);

            click(autoButton(page));

            verify(autoButton(page).checked);
            verify(text.visible);
            verify(!analyseButton(page).enabled);
            verify(Qt.colorEqual(text.color, "white"));
            compare(text.font.pixelSize, 16);
            compare(text.y + text.height, preview(page).height - 14);
            fuzzyCompare(text.x + text.width / 2, preview(page).width / 2, 0.5);
            const backdrop = Items.find(preview(page), function(item) { return item.opacity === 0.5; });
            verify(backdrop.visible);
            verify(backdrop.radius > 0);
            verify(Qt.colorEqual(backdrop.color, "black"));
            compare([backdrop.x, backdrop.y, backdrop.width, backdrop.height],
                    [text.x - 8, text.y - 8, text.width + 16, text.height + 16]);
            click(autoButton(page));
            verify(!text.visible);
        }

        function sweep(page, steps) {
            steps.forEach(function(focus) { analyser(page).focusValue = focus; });
        }

        function test_autoAnalyseCapturesWhenTheBestFocusIsBack() {
            const page = createWithoutFrames();
            click(autoButton(page));

            sweep(page, [1.2, 3.1, 6.2, 4.0]);
            wait(0);
            compare(scene.calls, []);
            verify(autoButton(page).checked);
            sweep(page, [6.1]);

            verify(!autoButton(page).checked);
            waitForCalls("navigateTo", 1);
            tryVerify(function() { return scene.callsOf("requestAnalyse").length === 1; }, Patience.longest);
        }

        function test_autoAnalyseDoesNothingWhileItIsOff() {
            const page = createWithoutFrames();

            sweep(page, [1.2, 3.1, 6.2, 4.0, 6.1]);
            wait(0);
            compare(scene.calls, []);

            click(autoButton(page)); // what was seen before does not count
            sweep(page, [6.0, 6.5]);
            wait(0);
            compare(scene.calls, []);
        }

        function test_noMeasurementNeverAdvancesAutoAnalyse() {
            const page = createWithoutFrames();
            click(autoButton(page));

            sweep(page, [3.1, 6.2, -1, 3.5, -1]);
            wait(0);
            compare(scene.calls, []);
            sweep(page, [6.1]);
            verify(!autoButton(page).checked);
        }

        function test_noMeasurementIsNotTheWorstFocus() {
            const page = createWithoutFrames();
            click(autoButton(page));

            sweep(page, [6.1, 6.9, -1, 6.5]);

            verify(autoButton(page).checked); // worst and best are still too close to each other
            wait(0);
            compare(scene.calls, []);
        }

        function test_aLaterSweepGoesOnFromTheFormer() {
            const page = createWithoutFrames();
            click(autoButton(page));
            sweep(page, [1.2, 6.2, 4.0, 6.1]);
            verify(!autoButton(page).checked);
            waitForCalls("navigateTo", 1);
            scene.calls = [];

            click(autoButton(page));
            sweep(page, [6.15]); // the best and the worst are known already

            verify(!autoButton(page).checked);
            waitForCalls("navigateTo", 1);
        }

        // Returns when the page knows the focus of the picture that the scope shows now.
        function waitForMeasurement(page) {
            const filter = analyser(page);
            tryVerify(simulatedScope.isSettled, Patience.longest);
            for (var i = 0; i < 3; ++i) { // one frame may be under way, another one may wait to be drawn
                filter.focusValue = -1;
                tryVerify(function() { return filter.focusValue !== -1; }, Patience.longest);
                wait(0); // the page is told by an event
            }
        }

        function test_aSweepWithTheKnob() {
            const page = create();
            click(autoButton(page));

            // To one end, where the worst is, and back: the best comes again on the way.
            var knob = 1;
            var direction = -1;
            for (var i = 0; i < 60 && autoButton(page).checked; ++i) {
                knob += direction * 0.1;
                if (Math.abs(knob) >= 1)
                    direction = -direction;
                simulatedScope.focus = knob;
                waitForMeasurement(page);
            }

            verify(!autoButton(page).checked, "no capture in " + i + " steps");
            tryVerify(function() { return scene.callsOf("requestAnalyse").length === 1; }, Patience.longest);
        }

        function test_aDisconnectedScopeLeadsBack() {
            create();

            hardwareManager.fiberMicroscopeDisconnected();

            tryCompare(scene, "calls", [["pop", undefined]], Patience.longest); // with its transition
        }

        function test_aPageThatGoesStopsItsCamera() {
            const page = pageComponent.createObject(scene);
            tryCompare(preview(page), "ready", true, Patience.longest);
            var isStopped = false;
            preview(page).readyChanged.connect(function() { isStopped = true; });

            page.destroy();

            tryVerify(function() { return isStopped; }, Patience.longest);
        }

        function test_aSavedImageOfAPageThatIsGoneIsNotAnalysed() {
            const page = pageComponent.createObject(scene);
            tryCompare(preview(page), "ready", true, Patience.longest);
            focus(page);

            page.analyse();
            page.destroy();
            Destruction.carryOut(); // a slow wait() would take the picture first
            verify(!Items.byType(scene, "FiberInspectionPage"));
            wait(300);

            compare(scene.callsOf("requestAnalyse").length, 0);
        }

        function test_withoutACameraThePageIsThereAllTheSame() {
            simulatedScope.isPlugged = false;
            const page = createTemporaryObject(pageComponent, scene);

            verify(!analyseButton(page).enabled);
            verify(!dot(page).visible);
            compare(scene.calls, []);
        }

        function test_unpluggingDuringThePreviewDisablesTheButton() {
            const page = create();
            verify(analyseButton(page).enabled);

            simulatedScope.isPlugged = false;

            verify(!analyseButton(page).enabled);
            compare(preview(page).videoOutput.filters.length, 0);
        }
    }
}
