// SPDX-License-Identifier: Apache-2.0
import QtQuick 2.11
import QtQuick.Controls.Material 2.4
import QtTest 1.12
import VantorTest 1.0
import "Patience.js" as Patience
import "qrc:/Vantor/Controls" as VantorControls

Item {
    id: scene

    width: 400
    height: 500

    ListModel {
        id: listModel

        ListElement { number: 0; name: "zero" }
        ListElement { number: 7; name: "seven" }
        ListElement { number: 3; name: "three" }
    }
    ListModel {
        id: wideModel

        ListElement { name: "WWWWWWWWWWWWWWWWWWW" } // wider, but with fewer characters
        ListElement { name: "iiiiiiiiiiiiiiiiiiii" }
        ListElement { name: "nnnnnnnnnnnnnnnnnnnn" }
        ListElement { name: "WWWWWWWWWWWWWWWWWW" }
    }
    ListModel {
        id: hugeModel

        ListElement { name: "a text that is much too long for the window that this combo box is shown in" }
    }
    NativeModel {
        id: nativeTexts
    }
    Component {
        id: nativeModelComponent

        NativeModel {}
    }
    Component {
        id: listCombo

        VantorControls.ComboBox {
            model: listModel
            textRole: "name"
            valueRole: "number"
        }
    }
    Component {
        id: nativeCombo

        VantorControls.ComboBox {
            textRole: "name"
            valueRole: "id"
        }
    }
    Component {
        id: boundCombo

        VantorControls.ComboBox {
            property string role: "id"

            model: NativeModel {}
            textRole: "name"
            valueRole: role
        }
    }
    Component {
        id: stringCombo

        VantorControls.ComboBox {
            model: ["alpha", "beta", "gamma"]
            modelIsStringList: true
        }
    }
    Component {
        id: wideCombo

        VantorControls.ComboBox {
            model: wideModel
            textRole: "name"
            autoAdjustPopupWidth: true
        }
    }
    Component {
        id: watchedCombo

        VantorControls.ComboBox {
            property var seen: [] // what the handlers see, in their order

            model: listModel
            textRole: "name"
            valueRole: "number"
            currentIndex: -1
            onCurrentIndexChanged: seen.push("index: " + currentValue + ", row: " + valueOfRow(currentIndex))
            onCurrentValueChanged: seen.push("value: " + currentValue)
            onActivated: seen.push("activated: " + currentValue)
        }
    }
    Component {
        id: emptyCombo

        VantorControls.ComboBox {}
    }
    Text {
        id: ruler

        font.pixelSize: 20
        visible: false
    }
    SignalSpy {
        id: valueSpy

        signalName: "currentValueChanged"
    }
    SignalSpy {
        id: indexSpy

        signalName: "currentIndexChanged"
    }

    TestCase {
        name: "ComboBox"
        when: windowShown

        function createNativeCombo() {
            const model = createTemporaryObject(nativeModelComponent, scene);
            return createTemporaryObject(nativeCombo, scene, { model: model });
        }

        function seenBy(combo) {
            const seen = combo.seen;
            combo.seen = [];
            return seen;
        }

        function test_theValueIsTrueInItsOwnHandlerAndOldInThatOfTheIndex() {
            const combo = createTemporaryObject(watchedCombo, scene);
            seenBy(combo);

            combo.setCurrentValue(7);
            compare(seenBy(combo), ["index: undefined, row: 7", "value: 7"]);
            combo.currentIndex = 2;
            compare(seenBy(combo), ["index: 7, row: 3", "value: 3"]);
        }

        function test_theValueIsThatOfTheRowThatTheUserChose() {
            const combo = createTemporaryObject(watchedCombo, scene);
            combo.setCurrentValue(0);
            seenBy(combo);

            combo.forceActiveFocus();
            keyClick(Qt.Key_Down);

            compare(seenBy(combo), ["index: 0, row: 7", "value: 7", "activated: 7"]);
        }

        function painted(text) {
            ruler.text = text;
            return Math.ceil(ruler.contentWidth);
        }

        function open(combo) {
            mouseClick(combo);
            tryCompare(combo.popup, "opened", true, Patience.longest);
        }

        function test_theDefaults() {
            const combo = createTemporaryObject(emptyCombo, scene);

            compare(combo.currentValue, undefined); // there is no row
            compare(combo.valueRole, "");
            compare(combo.modelIsStringList, false);
            compare(combo.popupWidth, -1);
            verify(Qt.colorEqual(combo.delegateTextColor, "black"));
            compare(combo.specificItemHighlightRole, "");
            compare(combo.specificItemHighlightValueToMatch, null);
            verify(Qt.colorEqual(combo.specificItemHighlightColor, "blue"));
            compare(combo.popupTextLeftPadding, 16);
            compare(combo.autoAdjustPopupWidth, false);
            verify(Qt.colorEqual(combo.Material.background, "white"));
            compare(combo.font.pixelSize, 20);
        }

        function test_theValueIsThatOfTheCurrentRow() {
            const combo = createTemporaryObject(listCombo, scene);
            compare(combo.currentValue, 0);

            combo.currentIndex = 1;
            compare(combo.currentValue, 7);
            combo.currentIndex = 2;
            compare(combo.currentValue, 3);
        }

        function test_theValueOfANativeModel() {
            const combo = createNativeCombo();

            compare(combo.currentValue, 0);
            compare(combo.currentText, "red");
            combo.currentIndex = 1;
            compare(combo.currentValue, 7);
        }

        function test_theValueOfAStringListIsItsText() {
            const combo = createTemporaryObject(stringCombo, scene);

            compare(combo.currentValue, "alpha");
            combo.currentIndex = 2;
            compare(combo.currentValue, "gamma");
        }

        function test_theTextIsTheValueOfAnyModelThatIsAStringList_data() {
            return [
                { tag: "list model with several roles", model: listModel, textRole: "name", texts: ["zero", "seven"] },
                { tag: "native model", model: nativeTexts, textRole: "name", texts: ["red", "amber"] },
                { tag: "string list of C++", model: nativeTexts.roles(), textRole: "", texts: ["id", "name"] },
            ];
        }
        function test_theTextIsTheValueOfAnyModelThatIsAStringList(row) {
            const combo = createTemporaryObject(emptyCombo, scene, { modelIsStringList: true, textRole: row.textRole,
                                                                     model: row.model });

            compare(combo.currentValue, row.texts[0]);
            combo.setCurrentValue(row.texts[1]);
            compare(combo.currentIndex, 1);
            compare(combo.currentValue, row.texts[1]);
        }

        function test_withoutARowThereIsNoValue() {
            const combo = createTemporaryObject(listCombo, scene);

            combo.currentIndex = -1;

            compare(combo.currentValue, undefined);
        }

        function test_withoutAModelNothingCanBeSet() {
            const combo = createTemporaryObject(emptyCombo, scene);
            Expect.error("Model has no roles. Count: undefined, array: false");
            ignoreWarning("Model 'undefined' doesn't have role 'id'. Roles: ");
            ignoreWarning("couldnt set combo. 3 not found");

            combo.setComboBoxFromRole("id", 3);

            compare(combo.currentIndex, -1);
        }

        function test_aTouchSelectsARow() {
            const combo = createTemporaryObject(listCombo, scene, { width: 200 });
            open(combo);

            mouseClick(combo.popup.contentItem.itemAtIndex(1));

            tryCompare(combo, "currentIndex", 1, Patience.longest);
            compare(combo.currentValue, 7);
            compare(combo.displayText, "seven");
        }

        function test_setCurrentValue_data() {
            return [
                { tag: "list model", component: listCombo, value: 3, index: 2 },
                { tag: "list model, zero", component: listCombo, value: 0, index: 0 },
                { tag: "list model, number as text", component: listCombo, value: "7", index: 1 },
                { tag: "string list", component: stringCombo, value: "beta", index: 1 },
            ];
        }
        function test_setCurrentValue(row) {
            const combo = createTemporaryObject(row.component, scene);
            combo.currentIndex = row.index === 0 ? 1 : 0;

            combo.setCurrentValue(row.value);

            compare(combo.currentIndex, row.index);
            compare(String(combo.currentValue), String(row.value));
        }

        function test_everyRowOfANativeModelCanBeSet() {
            const combo = createNativeCombo();

            [7, 0, 3, 0].forEach(function(id) {
                combo.setCurrentValue(id);
                compare(combo.currentValue, id);
            });
        }

        function test_anAbsentValueChangesNothing_data() {
            return [
                { tag: "list model", component: listCombo, value: 5, warnings: ["Value wasn't find: 5"] },
                { tag: "string list", component: stringCombo, value: "delta", warnings: ["Value wasn't find: delta"] },
                { tag: "part of a string", component: stringCombo, value: "bet", warnings: ["Value wasn't find: bet"] },
                { tag: "null", component: listCombo, value: null,
                  warnings: ["Provided empty value", "Value wasn't find: null"] },
            ];
        }
        function test_anAbsentValueChangesNothing(row) {
            const combo = createTemporaryObject(row.component, scene, { currentIndex: 1 });
            const value = combo.currentValue;
            row.warnings.forEach(function(warning) { ignoreWarning(warning); });

            combo.setCurrentValue(row.value);

            compare(combo.currentIndex, 1);
            compare(combo.currentValue, value);
        }

        function test_settingTheCurrentValueRefreshesIt() {
            const combo = createNativeCombo();
            compare(combo.currentValue, 0);
            combo.model.setIdSilently(0, 12);
            compare(combo.currentValue, 0);

            combo.setCurrentValue(12);

            compare(combo.currentIndex, 0);
            compare(combo.currentValue, 12);
        }

        function test_refreshingTheCurrentValueLeavesTheRow() {
            const combo = createNativeCombo();
            combo.model.setIdSilently(0, 12);
            indexSpy.target = combo;
            indexSpy.clear();

            combo.setCurrentValue(12);

            compare(indexSpy.count, 0);
            compare(combo.currentValue, 12);
            compare(combo.valueRole, "id");
        }

        function test_refreshingTheCurrentValueIsOneChange() {
            const combo = createNativeCombo();
            const seen = [];
            combo.currentValueChanged.connect(function() { seen.push("value " + combo.currentValue); });
            combo.valueRoleChanged.connect(function() { seen.push("role " + combo.valueRole); });
            combo.modelChanged.connect(function() { seen.push("model"); });
            combo.model.setIdSilently(0, 12);

            combo.setCurrentValue(12);

            compare(seen, ["value 12"]);
        }

        function test_theCurrentValueIsRefreshedWhileThePopupIsOpen() {
            const combo = createNativeCombo();
            open(combo);
            combo.model.setIdSilently(0, 12);

            combo.setComboBoxFromRole("name", "red");

            compare(combo.currentValue, 12);
            compare(combo.popup.contentItem.count, 3);
            mouseClick(combo.popup.contentItem.itemAtIndex(1));
            tryCompare(combo, "currentIndex", 1, Patience.longest);
        }

        function test_refreshingTheCurrentValueLeavesTheBindingOfItsRole() {
            const combo = createTemporaryObject(boundCombo, scene);
            combo.model.setIdSilently(0, 12);
            combo.setCurrentValue(12);
            compare([combo.valueRole, combo.currentValue], ["id", 12]);

            combo.role = "name";

            compare(combo.valueRole, "name");
        }

        function test_settingAValueThatHoldsIsNoChange() {
            const combo = createTemporaryObject(listCombo, scene, { currentIndex: 1 });
            valueSpy.target = combo;
            valueSpy.clear();

            combo.setCurrentValue(7);

            compare(valueSpy.count, 0);
            compare(combo.currentIndex, 1);
        }

        function test_setComboBoxFromRole() {
            const combo = createTemporaryObject(listCombo, scene);

            combo.setComboBoxFromRole("name", "three");
            compare(combo.currentIndex, 2);
            compare(combo.currentValue, 3);
            combo.setComboBoxFromRole("number", 0);
            compare(combo.currentIndex, 0);
            ignoreWarning("couldnt set combo. four not found");
            combo.setComboBoxFromRole("name", "four");
            compare(combo.currentIndex, 0);
        }

        function test_aNewModelBringsANewValue() {
            const combo = createTemporaryObject(listCombo, scene, { currentIndex: 1 });
            const model = createTemporaryObject(nativeModelComponent, scene);

            combo.valueRole = "id";
            combo.model = model;

            compare(combo.currentIndex, 0);
            compare(combo.currentValue, 0);
            model.clear();
            compare(combo.count, 0);
        }

        function test_thePopupIsAtLeastAsWideAsTheComboBox_data() {
            return [
                { tag: "not set", popupWidth: -1, width: 150 },
                { tag: "narrower", popupWidth: 100, width: 150 },
                { tag: "wider", popupWidth: 220, width: 220 },
            ];
        }
        function test_thePopupIsAtLeastAsWideAsTheComboBox(row) {
            const combo = createTemporaryObject(listCombo, scene, { width: 150, popupWidth: row.popupWidth });

            open(combo);

            compare(combo.popup.width, row.width);
            compare(combo.popup.contentItem.itemAtIndex(0).width, row.width);
        }

        function test_thePopupStaysInsideTheWindow_data() {
            return [
                { tag: "room on the right", x: 20, popupWidth: 300, popupX: 0 },
                { tag: "just fits", x: 100, popupWidth: 300, popupX: 0 },
                { tag: "shifted to the left", x: 240, popupWidth: 300, popupX: -140 },
                { tag: "not beyond the left edge", x: 30, popupWidth: 450, popupX: -30 },
            ];
        }
        function test_thePopupStaysInsideTheWindow(row) {
            const combo = createTemporaryObject(listCombo, scene, { width: 150, x: row.x, popupWidth: row.popupWidth });
            compare(combo.windowWidth, 400);

            open(combo);

            compare(combo.popup.x, row.popupX);
        }

        function test_thePopupFitsTheLongestText() {
            const combo = createTemporaryObject(wideCombo, scene, { width: 120 });
            const longest = "nnnnnnnnnnnnnnnnnnnn";
            verify(painted(longest) > painted("iiiiiiiiiiiiiiiiiiii"));

            compare(combo.popupWidth, Math.min(painted(longest) + 48, 400));
            combo.font.pixelSize = 10;
            ruler.font.pixelSize = 10;
            compare(combo.popupWidth, painted(longest) + 48);
            open(combo);
            compare(combo.popup.width, combo.popupWidth);

            combo.popup.close();
            combo.textRole = "name";
            combo.model = listModel;
            compare(combo.popupWidth, Math.max(painted("seven"), painted("three")) + 48);
            listModel.append({ number: 9, name: "rather a lot" });
            compare(combo.popupWidth, painted("rather a lot") + 48);
            listModel.remove(3);
            ruler.font.pixelSize = 20;
        }

        function test_onlyTextsOfTheGreatestLengthAreMeasured() {
            const combo = createTemporaryObject(wideCombo, scene, { width: 120 });
            combo.font.pixelSize = 10;
            ruler.font.pixelSize = 10;

            verify(painted("WWWWWWWWWWWWWWWWWWW") > painted("nnnnnnnnnnnnnnnnnnnn"));
            compare(combo.popupWidth, painted("nnnnnnnnnnnnnnnnnnnn") + 48);
            ruler.font.pixelSize = 20;
        }

        function test_thePopupIsNotWiderThanTheWindow() {
            const combo = createTemporaryObject(wideCombo, scene, { model: hugeModel });

            compare(combo.popupWidth, 400);
        }

        function test_rowsAreDrawnInTheirColours() {
            const combo = createTemporaryObject(listCombo, scene, { width: 200, specificItemHighlightRole: "number",
                                                                    specificItemHighlightValueToMatch: 0 });
            open(combo);

            const rows = [0, 1, 2].map(function(i) { return combo.popup.contentItem.itemAtIndex(i); });

            verify(Qt.colorEqual(rows[0].Material.foreground, "blue"));
            verify(Qt.colorEqual(rows[1].Material.foreground, "black"));
            verify(Qt.colorEqual(rows[2].Material.foreground, "black"));
            compare(rows[1].leftPadding, 16);
            compare(rows[1].text, "seven");
            combo.popupTextLeftPadding = 30;
            compare(rows[1].leftPadding, 30);
            combo.specificItemHighlightValueToMatch = 3;
            combo.specificItemHighlightColor = "red";
            combo.delegateTextColor = "green";
            verify(Qt.colorEqual(rows[0].Material.foreground, "green"));
            verify(Qt.colorEqual(rows[2].Material.foreground, "red"));
        }

        function test_withoutAHighlightRoleNoRowIsHighlighted() {
            const combo = createTemporaryObject(stringCombo, scene, { width: 200 });
            open(combo);

            verify(Qt.colorEqual(combo.popup.contentItem.itemAtIndex(0).Material.foreground, "black"));
        }

        // Of several combo boxes that are given the names, the work of the one with the least: milliseconds.
        function leastWork(names) {
            const widest = Math.max.apply(null, names.map(painted));
            var least = Infinity;
            for (var i = 0; i < 3; ++i) {
                const combo = createTemporaryObject(stringCombo, scene, { autoAdjustPopupWidth: true });
                const start = Processor.milliseconds();
                combo.model = names;
                least = Math.min(least, Processor.milliseconds() - start);
                compare(combo.popupWidth, widest + 48);
            }
            return least;
        }

        function test_aModelOfManyRowsIsNoBurden() {
            var names = [];
            for (var i = 1000; i < 9000; ++i)
                names.push("row " + i);

            const few = leastWork(names.slice(0, 1000));
            const many = leastWork(names);

            // 8 times as many rows; if each row looked at all the others, the work were 64 times as much.
            verify(many < 20 * Math.max(few, 1), few + " ms for few rows, " + many + " ms for many");
        }
    }
}
