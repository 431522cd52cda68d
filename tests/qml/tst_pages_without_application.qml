// SPDX-License-Identifier: Apache-2.0
import QtQuick 2.11
import QtTest 1.12
import VantorTest 1.0
import "Items.js" as Items
import "Patience.js" as Patience
import "qrc:/Vantor/Pages"

// An application that forgot to publish anything: each object is named once in the log, and nothing else goes wrong.
Item {
    id: scene

    width: 600
    height: 920

    Component {
        id: inspectionComponent

        FiberInspectionPage {
            anchors.fill: parent
        }
    }
    Component {
        id: resultComponent

        FiberInspectionResultPage {
            anchors.fill: parent
        }
    }

    TestCase {
        name: "PagesWithoutApplication"
        when: windowShown

        function expectMissing(names) {
            names.forEach(function(name) {
                Expect.error("The application offers no context object \"" + name + "\"");
            });
        }

        function test_theInspectionPage() {
            simulatedScope.isPlugged = true;
            simulatedScope.face = "clean";
            simulatedScope.focus = 0;
            expectMissing(["titleBar", "fiberManager", "hardwareManager"]);
            const page = createTemporaryObject(inspectionComponent, scene);
            const preview = Items.byType(page, "CameraPreview");
            tryCompare(preview, "ready", true, Patience.longest);
            const analyser = preview.videoOutput.filters[0];

            analyser.active = false; // no frame changes what the test makes it say
            LiveAnalyses.watch();
            tryVerify(LiveAnalyses.areOver, Patience.longest);
            analyser.focusValue = 0.5;
            expectMissing(["messageBoxManager"]);
            page.analyse();
            analyser.active = true;
            tryVerify(function() { return analyser.focusValue > 2.5; }, Patience.longest);
            expectMissing(["appController"]);
            page.analyse();
            page.analyse();
            wait(0); // the application is called later
            expectMissing(["stackView"]);
            page.back();
        }

        function test_theResultPage() {
            expectMissing(["titleBar", "fiberManager"]);
            const page = createTemporaryObject(resultComponent, scene);

            expectMissing(["snackBar"]);
            page.showResult(true, "");
            page.showResult(false, "");
            wait(0);
            compare(Items.byType(page, "QQuickImage").status, Image.Null);
        }
    }
}
