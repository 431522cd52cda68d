// SPDX-License-Identifier: Apache-2.0
import QtQuick 2.11
import QtTest 1.12
import "Items.js" as Items
import "Patience.js" as Patience
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

    Timer { // as slow as the machine makes those of the components
        id: metronome

        property int beats: 0

        interval: 1000
        repeat: true
        onTriggered: ++beats
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

        function startBeats() {
            metronome.beats = 0;
            metronome.restart();
        }
        function waitForBeats(beats) {
            tryVerify(function() { return metronome.beats >= beats; }, Patience.longest);
        }

        function test_dotsComeAndGo() {
            const loading = createTemporaryObject(loadingComponent, scene);
            const label = Items.byType(loading, "QQuickText");
            var seen = [label.text];
            var beats = 0;
            label.textChanged.connect(function() {
                seen.push(label.text);
                beats = metronome.beats;
            });
            startBeats();

            tryVerify(function() { return seen.length >= 7; }, Patience.longest);

            compare(seen.slice(0, 7),
                    ["Loading", "Loading.", "Loading..", "Loading...", "Loading....", "Loading", "Loading."]);
            fuzzyCompare(beats, seen.length - 1, 1); // the dots change once a second
        }

        function test_theDotsChangeOnceASecond() {
            const loading = createTemporaryObject(loadingComponent, scene);
            const timer = Items.among(loading.resources, function(resource) { return resource.interval !== undefined; });

            compare(timer.interval, 1000);
            verify(timer.repeat);
            verify(timer.running);
        }

        function test_anInvisibleOneRestsAndGoesOnFromItsDots() {
            const loading = createTemporaryObject(loadingComponent, scene);
            loading.dotsChanged.connect(function() {
                if (loading.dots === "..")
                    loading.hide();
            });
            tryCompare(loading, "visible", false, Patience.longest);

            startBeats();
            waitForBeats(2);
            compare(loading.dots, "..");

            var next = [];
            loading.dotsChanged.connect(function() { next.push(loading.dots); });
            loading.show();
            compare(loading.dots, "..");
            tryVerify(function() { return next.length > 0; }, Patience.longest);
            compare(next[0], "...");
        }

        function test_theAnimationCanBeSwitchedOff() {
            const loading = createTemporaryObject(loadingComponent, scene, { enableBasicAnimation: false });

            startBeats();
            waitForBeats(2);

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
