// SPDX-License-Identifier: Apache-2.0
import QtQuick 2.11
import QtTest 1.12
import "qrc:/Vantor/Style"

TestCase {
    name: "GlobalStyles"

    function test_colours_data() {
        const colours = {
            orvelBodyTextEmphasisColor: "#515B5F", orvelBodyTextColor: "#74787d",
            zelmoRed: "#FF5252", zelmoOrange: "#FF7043", zelmoGreen: "#4CAF50", zelmoLightGreen: "#00d808",
            zelmoDarkBlue: "#1c408c", zelmoBlue: "#0061a7",
            pending: "#17468F", pendingHighlight: "#F0F4FA", pendingBright: "#3479e3",
            failed: "#D0021B", failedHighlight: "#FFF1F3", marginalFailed: "#FF7E00",
            passed: "#539F00", passedHighlight: "#EDF5E3", marginalPassed: "#FF7E00", aborted: "#D8D8D8",
            statusBarBackground: "black", statusBarForeground: "white", titleBarSwitchAccent: "#00d808",
            bottomToolBarBackground: "#D8D8D8",
            snackBarInfoBackground: "#4CAF50", snackBarErrorBackground: "#FF5252"
        };
        return Object.keys(colours).map(function(name) { return { tag: name, colour: colours[name] }; });
    }
    function test_colours(row) {
        verify(Qt.colorEqual(GlobalStyles[row.tag], row.colour), GlobalStyles[row.tag]);
    }

    function test_sizesAndTexts_data() {
        const values = {
            fontAwesomeName: "Font Awesome 5 Pro",
            orvelLogoWhite: "qrc:/logos/orvel-logo-white.svg", orvelLogoColor: "qrc:/logos/orvel-logo-color.svg",
            customerSplashScreen: "",
            globalFontSizeScalar: 1.0, textSmallSize: 14, textSize: 20, textHeadingSize: 16, textBigSize: 20,
            textHugeSize: 24, defaultTextSize: 24, defaultComboBoxTextSize: 20,
            statusBarHeight: 32, statusBarIconSize: 24,
            titleBarHeight: 72, titleBarPadding: 20, titleBarIconSize: 24, titleBarLargeIconSize: 38,
            titleBarBackIconWidth: 72,
            bottomToolBarHeight: 72, bottomToolBarPadding: 20, bottomToolBarIconSize: 24, bottomToolBarTextSize: 14,
            tableCellHeight: 62, tableCellSmallHeight: 45, pageHeaderHeight: 68, drawerHeaderHeight: 72,
            listHeaderHeight: 42, settingsDelegateHeight: 80, currentJobItemHeight: 98, currentJobItemTextSize: 26,
            lastTestItemHeight: 98, lastTestItemTextSize: 26, dialogTitleHeight: 48, dialogFooterHeight: 68
        };
        return Object.keys(values).map(function(name) { return { tag: name, value: values[name] }; });
    }
    function test_sizesAndTexts(row) {
        compare(GlobalStyles[row.tag], row.value);
    }

    function test_nothingCanBeChanged() {
        var writable = [];
        for (var name in GlobalStyles) {
            if (typeof GlobalStyles[name] === "function" || name === "objectName")
                continue;
            try {
                GlobalStyles[name] = GlobalStyles[name];
                writable.push(name);
            } catch (error) {
                verify(error.message.indexOf("read-only") !== -1, error.message);
            }
        }
        compare(writable, []);
    }
}
