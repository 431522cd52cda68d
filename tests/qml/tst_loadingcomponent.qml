// SPDX-License-Identifier: Apache-2.0
import QtQuick 2.11
import QtTest 1.12
import "Items.js" as Items
import "qrc:/Vantor/Components" as VantorComponents

Item {
    id: scene

    width: 400
    height: 300

    MouseArea {
        id: underneath

        property int events: 0

        anchors.fill: parent
        acceptedButtons: Qt.AllButtons
        onClicked: ++events
        onWheel: ++events
    }
    Component {
        id: loadingComponent

        VantorComponents.LoadingComponent {}
    }
    Component {
        id: progressComponent

        VantorComponents.LoadingComponentWithProgressBar {}
    }

    TestCase {
        name: "LoadingComponent"
        when: windowShown

        function test_coversWhatIsUnderneath() {
            const loading = createTemporaryObject(loadingComponent, scene);

            compare(loading.width, 400);
            compare(loading.height, 300);
            verify(Qt.colorEqual(loading.color, "white"));
            underneath.events = 0;
            mouseClick(loading, 10, 10);
            mouseClick(loading, 200, 150, Qt.RightButton);
            mouseWheel(loading, 200, 150, 0, 120);
            compare(underneath.events, 0);

            loading.hide();
            verify(!loading.visible);
            mouseClick(scene, 10, 10);
            compare(underneath.events, 1);

            loading.show();
            verify(loading.visible);
        }

        function test_showsItsTextInTheMiddle() {
            const loading = createTemporaryObject(loadingComponent, scene);
            const label = Items.byType(loading, "QQuickText");

            compare(loading.text, "Loading");
            compare(label.text, "Loading");
            compare(label.font.pixelSize, 20);
            compare(label.width, 320);
            compare(label.x, 40);
            compare(label.y, (300 - label.height) / 2);
            compare(label.horizontalAlignment, Text.AlignHCenter);
            compare(label.wrapMode, Text.WordWrap);
            loading.text = "words that need more than one line ".repeat(3);
            compare(label.text, loading.text);
            verify(label.lineCount > 1);
        }

        function test_dotsComeAndGo() {
            const loading = createTemporaryObject(loadingComponent, scene);
            const label = Items.byType(loading, "QQuickText");
            var seen = [label.text];
            label.textChanged.connect(function() { seen.push(label.text); });

            tryVerify(function() { return seen.length === 7; }, 7500);

            compare(seen, ["Loading", "Loading.", "Loading..", "Loading...", "Loading....", "Loading", "Loading."]);
        }

        function test_anInvisibleOneRestsAndGoesOnFromItsDots() {
            const loading = createTemporaryObject(loadingComponent, scene);
            tryCompare(loading, "dots", "..", 2500);

            loading.hide();
            wait(1300);
            compare(loading.dots, "..");

            loading.show();
            compare(loading.dots, "..");
            tryCompare(loading, "dots", "...", 1300);
        }

        function test_theAnimationCanBeSwitchedOff() {
            const loading = createTemporaryObject(loadingComponent, scene, { enableBasicAnimation: false });

            wait(1200);

            compare(loading.dots, "");
        }

        function test_theProgressBarIsHiddenAtFirst() {
            const loading = createTemporaryObject(progressComponent, scene);

            verify(!loading.progressBarVisible);
            verify(!loading.progressBarTextVisible);
            compare(loading.from, 0);
            compare(loading.text, "Loading");
        }

        function test_theProgressBarShowsHowFarThingsAre() {
            const loading = createTemporaryObject(progressComponent, scene);
            const bar = Items.byType(loading, "ProgressBar");

            loading.to = 8;
            loading.value = 3;
            loading.progressBarTextVisible = true;

            verify(loading.progressBarVisible);
            verify(bar.visible);
            compare(bar.height, 40);
            compare(bar.width, 200);
            compare(bar.x, 100);
            compare(bar.y + bar.height / 2, 200);
            compare(loading.progressBarText, "3/8");
            const label = Items.byText(loading, "3/8");
            verify(label.visible);
            compare(label.y, bar.y + 40);
            fuzzyCompare(label.x + label.width / 2, 200, 0.5);
            loading.progressBarVisible = false;
            verify(!loading.progressBarTextVisible);
            verify(!label.visible);
            loading.progressBarText = "nearly";
            compare(loading.progressBarText, "nearly");
        }
    }
}
