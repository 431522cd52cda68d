// SPDX-License-Identifier: Apache-2.0
pragma Singleton

import QtQuick 2.11

// What the pages and the shell around them look like. Sizes are pixels; the logos are files of the application.
QtObject {
    // Fonts
    readonly property string fontAwesomeName: "Font Awesome 5 Pro"
    readonly property int fontAwesomeLightWeight: Font.Light
    readonly property int fontAwesomeRegularWeight: Font.Normal
    readonly property int fontAwesomeSolidWeight: Font.Black

    // Brand
    readonly property color orvelBodyTextColor: "#74787d"
    readonly property color orvelBodyTextEmphasisColor: "#515B5F"
    readonly property string orvelLogoColor: "qrc:/logos/orvel-logo-color.svg"
    readonly property string orvelLogoWhite: "qrc:/logos/orvel-logo-white.svg"
    readonly property string customerSplashScreen: ""

    // Palette
    readonly property color zelmoRed: "#FF5252"
    readonly property color zelmoOrange: "#FF7043"
    readonly property color zelmoGreen: "#4CAF50"
    readonly property color zelmoLightGreen: "#00d808"
    readonly property color zelmoDarkBlue: "#1c408c"
    readonly property color zelmoBlue: "#0061a7"

    // Result states
    readonly property color pending: "#17468F"
    readonly property color pendingHighlight: "#F0F4FA"
    readonly property color pendingBright: "#3479e3"
    readonly property color failed: "#D0021B"
    readonly property color failedHighlight: "#FFF1F3"
    readonly property color marginalFailed: "#FF7E00"
    readonly property color passed: "#539F00"
    readonly property color passedHighlight: "#EDF5E3"
    readonly property color marginalPassed: "#FF7E00"
    readonly property color aborted: "#D8D8D8"

    // Text sizes
    readonly property real globalFontSizeScalar: 1.0
    readonly property real textSmallSize: 14 * globalFontSizeScalar
    readonly property real textSize: 20 * globalFontSizeScalar
    readonly property real textHeadingSize: 16 * globalFontSizeScalar
    readonly property real textBigSize: 20 * globalFontSizeScalar
    readonly property real textHugeSize: 24 * globalFontSizeScalar
    readonly property int defaultTextSize: 24
    readonly property int defaultComboBoxTextSize: 20

    // Pages
    readonly property int pageMargin: 20
    readonly property int pageSpacing: 20
    readonly property color pageBackground: "white"

    // Status bar
    readonly property int statusBarHeight: 32
    readonly property int statusBarIconSize: 24
    readonly property color statusBarBackground: "black"
    readonly property color statusBarForeground: "white"

    // Title bar
    readonly property int titleBarHeight: 72
    readonly property int titleBarPadding: 20
    readonly property int titleBarIconSize: 24
    readonly property int titleBarLargeIconSize: 38
    readonly property int titleBarBackIconWidth: 72
    readonly property color titleBarSwitchAccent: zelmoLightGreen

    // Bottom tool bar
    readonly property int bottomToolBarHeight: 72
    readonly property int bottomToolBarPadding: 20
    readonly property int bottomToolBarIconSize: 24
    readonly property int bottomToolBarTextSize: 14
    readonly property color bottomToolBarBackground: "#D8D8D8"

    // Lists
    readonly property int tableCellHeight: 62
    readonly property int tableCellSmallHeight: 45
    readonly property int pageHeaderHeight: 68
    readonly property int drawerHeaderHeight: 72
    readonly property int listHeaderHeight: 42
    readonly property int settingsDelegateHeight: 80
    readonly property int currentJobItemHeight: 98
    readonly property int currentJobItemTextSize: 26
    readonly property int lastTestItemHeight: 98
    readonly property int lastTestItemTextSize: 26

    // Dialogs
    readonly property int dialogTitleHeight: 48
    readonly property int dialogFooterHeight: 68

    // Snack bar
    readonly property color snackBarInfoBackground: zelmoGreen
    readonly property color snackBarErrorBackground: zelmoRed
}
