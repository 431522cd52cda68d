// SPDX-License-Identifier: Apache-2.0
import QtQuick 2.11
import QtQuick.Controls.Material 2.4
import QtTest 1.12
import "Pixels.js" as Pixels
import "qrc:/Vantor/Controls" as VantorControls
import "qrc:/Vantor/Style"

Item {
    id: scene

    width: 400
    height: 300

    Component {
        id: buttonComponent

        VantorControls.Button {}
    }
    Component {
        id: iconComponent

        VantorControls.FontAwesomeButton {}
    }
    Component {
        id: nestedComponent

        VantorControls.Button {
            Item { // a child before the background
                objectName: "decoration"
            }
        }
    }
    Component {
        id: ownBackgroundComponent

        VantorControls.Button {
            background: Rectangle {
                radius: 1
            }
        }
    }
    Component {
        id: noBackgroundComponent

        VantorControls.Button {
            background: null
        }
    }

    TestCase {
        name: "Button"
        when: windowShown

        function test_theReturnKeyDoesWhatTheSpaceBarDoes_data() {
            return [
                { tag: "space bar", key: Qt.Key_Space },
                { tag: "return", key: Qt.Key_Return },
                { tag: "enter", key: Qt.Key_Enter },
            ];
        }
        function test_theReturnKeyDoesWhatTheSpaceBarDoes(row) {
            const button = createTemporaryObject(buttonComponent, scene, { checkable: true });
            var clicks = 0;
            var toggles = 0;
            button.clicked.connect(function() { ++clicks; });
            button.toggled.connect(function() { ++toggles; });
            button.forceActiveFocus();
            tryCompare(button, "activeFocus", true);

            keyClick(row.key);
            compare(clicks, 1);
            verify(button.checked);

            keyClick(row.key);
            compare(clicks, 2);
            compare(toggles, 2);
            verify(!button.checked);
        }

        function test_isOfTouchSizeAndInTheColoursOfTheHouse() {
            const button = createTemporaryObject(buttonComponent, scene, { text: "Go on" });

            compare(button.width, 155);
            compare(button.height, 65);
            verify(Qt.colorEqual(button.Material.background, "#17468F"));
            verify(Qt.colorEqual(button.Material.foreground, "white"));
            compare(button.font.pixelSize, 20);
            compare(button.font.capitalization, Font.MixedCase);
        }

        function test_isPaintedInItsColour() {
            const button = createTemporaryObject(buttonComponent, scene, { text: "" });

            const image = grabImage(button);

            const middle = button.height / 2;
            const top = button.background.y;
            verify(Pixels.hasColour(image, 20, middle, GlobalStyles.pending), image.pixel(20, middle));
            verify(Pixels.hasColour(image, 0, middle, GlobalStyles.pending), image.pixel(0, middle));
            verify(image.red(0, top) > 100, "the corner is not rounded");
        }

        function test_roundsTheBackground_data() {
            return [
                { tag: "of the style", component: buttonComponent },
                { tag: "behind another child", component: nestedComponent },
                { tag: "of the user", component: ownBackgroundComponent },
            ];
        }
        function test_roundsTheBackground(row) {
            const button = createTemporaryObject(row.component, scene);

            compare(button.roundedCornerAmount, 7);
            compare(button.background.radius, 7);
            button.roundedCornerAmount = 12;
            compare(button.background.radius, 12);
        }

        function test_leavesTheCornersToTheStyleAtZero_data() {
            return [
                { tag: "of the style", component: buttonComponent, radius: 2 },
                { tag: "of the user", component: ownBackgroundComponent, radius: 1 },
            ];
        }
        function test_leavesTheCornersToTheStyleAtZero(row) {
            const button = createTemporaryObject(row.component, scene);

            button.roundedCornerAmount = 0;
            compare(button.background.radius, row.radius);
            button.roundedCornerAmount = 5;
            compare(button.background.radius, 5);
            const plain = createTemporaryObject(row.component, scene, { roundedCornerAmount: 0 });
            compare(plain.background.radius, row.radius);
        }

        function test_livesWithoutABackground() {
            const button = createTemporaryObject(noBackgroundComponent, scene);

            compare(button.roundedItem, null);
        }

        function test_followsABackgroundThatIsReplaced() {
            const button = createTemporaryObject(buttonComponent, scene);

            button.background = Qt.createQmlObject("import QtQuick 2.11; Rectangle { radius: 3 }", button);

            compare(button.background.radius, 7);
        }

        function test_iconsAreHalfAsHighAsTheButton() {
            const button = createTemporaryObject(iconComponent, scene, { text: "x" });

            compare(button.font.family, "Font Awesome 5 Pro");
            compare(button.iconSize, 32.5);
            compare(button.font.pixelSize, 33);
            button.height = 100;
            compare(button.iconSize, 50);
            compare(button.font.pixelSize, 50);
            button.iconSize = 24;
            compare(button.font.pixelSize, 24);
        }
    }
}
