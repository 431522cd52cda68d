// SPDX-License-Identifier: Apache-2.0
import QtQuick 2.11
import QtQuick.Controls 2.4 as Controls
import QtQuick.Controls.Material 2.4
import QtTest 1.12
import VantorTest 1.0
import "Patience.js" as Patience
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
        id: actionComponent

        Controls.Action {}
    }
    Controls.ButtonGroup {
        id: exclusiveGroup
    }
    Controls.ButtonGroup {
        id: looseGroup

        exclusive: false
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

        function create(properties) {
            const button = createTemporaryObject(buttonComponent, scene, properties || {});
            button.forceActiveFocus();
            tryCompare(button, "activeFocus", true, Patience.longest);
            return button;
        }

        // Notes what the button and its action say from now on. The signal pressed() hides behind the property.
        function record(button) {
            const log = [];
            button.toggled.connect(function() { log.push("toggled " + button.checked); });
            button.released.connect(function() { log.push("released"); });
            button.clicked.connect(function() { log.push("clicked " + button.checked); });
            button.canceled.connect(function() { log.push("canceled"); });
            if (button.action) {
                button.action.toggled.connect(function() { log.push("action toggled " + button.action.checked); });
                button.action.triggered.connect(function() { log.push("action triggered"); });
            }
            return log;
        }

        function keys() {
            return [
                { tag: "space bar", key: Qt.Key_Space },
                { tag: "return", key: Qt.Key_Return },
                { tag: "enter", key: Qt.Key_Enter },
            ];
        }

        function test_theReturnKeyClicksAsTheSpaceBarDoes_data() { return keys(); }
        function test_theReturnKeyClicksAsTheSpaceBarDoes(row) {
            const log = record(create());

            keyPress(row.key);
            compare(log, []);
            keyRelease(row.key);

            compare(log, ["released", "clicked false"]);
        }

        function test_theReturnKeyTogglesAsTheSpaceBarDoes_data() { return keys(); }
        function test_theReturnKeyTogglesAsTheSpaceBarDoes(row) {
            const log = record(create({ checkable: true }));

            keyClick(row.key);
            keyClick(row.key);

            compare(log, ["toggled true", "released", "clicked true", "toggled false", "released", "clicked false"]);
        }

        function test_theReturnKeyChecksAndUnchecksInGroupsAsTheSpaceBarDoes_data() {
            const buttons = [
                { tag: "on its own", properties: { autoExclusive: true }, group: null, stays: true },
                { tag: "in an exclusive group", properties: {}, group: exclusiveGroup, stays: true },
                { tag: "in another group", properties: { autoExclusive: true }, group: looseGroup, stays: false },
            ];
            const rows = [];
            keys().forEach(function(key) {
                buttons.forEach(function(button) {
                    rows.push({ tag: key.tag + ", " + button.tag, key: key.key, properties: button.properties,
                                group: button.group, stays: button.stays });
                });
            });
            return rows;
        }
        function test_theReturnKeyChecksAndUnchecksInGroupsAsTheSpaceBarDoes(row) {
            const button = create(row.properties);
            button.checkable = true;
            button.Controls.ButtonGroup.group = row.group;
            const log = record(button);

            keyClick(row.key);
            compare(log, ["toggled true", "released", "clicked true"]);
            log.length = 0;
            keyClick(row.key);

            compare(log, row.stays ? ["released", "clicked true"] : ["toggled false", "released", "clicked false"]);
        }

        function test_theReturnKeyTriggersTheActionAsTheSpaceBarDoes_data() { return keys(); }
        function test_theReturnKeyTriggersTheActionAsTheSpaceBarDoes(row) {
            const action = createTemporaryObject(actionComponent, scene);
            const log = record(create({ action: action }));

            keyClick(row.key);
            compare(log, ["released", "clicked false", "action triggered"]);
            log.length = 0;
            action.checkable = true;
            keyClick(row.key);

            compare(log, ["toggled true", "released", "action toggled true", "clicked true", "action triggered"]);
            verify(action.checked);
        }

        function test_theReturnKeyIsDeafWithADisabledAction_data() { return keys(); }
        function test_theReturnKeyIsDeafWithADisabledAction(row) {
            const button = create({ action: createTemporaryObject(actionComponent, scene) });
            const log = record(button);

            keyPress(row.key);
            button.action.enabled = false;
            keyRelease(row.key);

            compare(log, ["canceled"]);
        }

        function test_aButtonThatLosesTheFocusIsNotClicked_data() { return keys(); }
        function test_aButtonThatLosesTheFocusIsNotClicked(row) {
            const button = create();
            const log = record(button);

            keyPress(row.key);
            button.focus = false;
            compare(log, ["canceled"]);
            button.focus = true;
            tryCompare(button, "activeFocus", true, Patience.longest);
            keyRelease(row.key);

            compare(log, ["canceled"]);
        }

        function test_onlyTheKeyThatPressesReleases() {
            const log = record(create());

            keyPress(Qt.Key_Return);
            keyClick(Qt.Key_A);
            keyRelease(Qt.Key_Enter);
            compare(log, []);
            keyRelease(Qt.Key_Return);

            compare(log, ["released", "clicked false"]);
        }

        function test_aReturnKeyThatIsHeldPressesOnce_data() {
            return keys().filter(function(row) { return row.key !== Qt.Key_Space; }); // that one repeats
        }
        function test_aReturnKeyThatIsHeldPressesOnce(row) {
            const log = record(create({ checkable: true }));

            keyPress(row.key);
            Keyboard.repeat(row.key);
            Keyboard.repeat(row.key);
            compare(log, []);
            keyRelease(row.key);

            compare(log, ["toggled true", "released", "clicked true"]);
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
