// SPDX-License-Identifier: Apache-2.0
pragma Singleton

import QtQuick 2.11

// What the tester's own pages look like, in the theme that the settings name. Sizes are pixels. Text stands out from what
// it is on by 4.5 to 1 at least, marks by 3 to 1; colours never tell anything alone.
QtObject {
    readonly property bool isDark: settings.theme === "dark"
    readonly property var _theme: isDark ? _dark : _light
    readonly property var _light: ({
        page: "#FFFFFF", surface: "#EEF2F5", titleBar: "#17468F", toolBar: "#D8D8D8",
        text: "#1F2A30", faintText: "#455A64", line: "#718792",
        accent: "#17468F", accentPressed: "#0D2C5E", focusRing: "#D84300", disabled: "#5F6B72", onColor: "#FFFFFF",
        warning: "#8A4B00",
        states: ["#455A64", "#2E7D32", "#B71C1C", "#8A4B00", "#5E35B1", "#AD1457"]
    })
    readonly property var _dark: ({
        page: "#12181C", surface: "#20292F", titleBar: "#16335F", toolBar: "#2B363D",
        text: "#E8EEF1", faintText: "#B4C2CA", line: "#7D919D",
        accent: "#9CC3FF", accentPressed: "#C9DEFF", focusRing: "#FF9B3D", disabled: "#9AA7AE", onColor: "#0F1418",
        warning: "#FFC266",
        states: ["#B0BEC5", "#7ED283", "#FF9088", "#FFC266", "#C3ABFF", "#FF9CC8"]
    })

    readonly property color page: _theme.page
    readonly property color surface: _theme.surface
    readonly property color titleBar: _theme.titleBar
    readonly property color toolBar: _theme.toolBar
    readonly property color text: _theme.text
    readonly property color faintText: _theme.faintText
    readonly property color line: _theme.line
    readonly property color accent: _theme.accent
    readonly property color accentPressed: _theme.accentPressed
    readonly property color focusRing: _theme.focusRing // around what has the keyboard, not on it
    readonly property color disabled: _theme.disabled
    readonly property color onColor: _theme.onColor // on the accents, the warning, what is disabled and the states
    readonly property color warning: _theme.warning

    // The same in both: what lies on photographs, and on bars that are always dark.
    readonly property color backdrop: "black"
    readonly property color backdropText: "white"
    readonly property color dim: "#99000000" // over what cannot be touched while a message is there
    readonly property color failedOnPicture: "#B71C1C"
    readonly property color ringOnPicture: "#FF1744" // around a defect that fails
    readonly property color defectOnPicture: "#263238"
    readonly property color selectedOnPicture: "#FFEB3B"

    readonly property int textSize: 18
    readonly property int headingSize: 22
    readonly property int bigSize: 28
    readonly property int iconSize: 20
    readonly property int target: 66 // of a finger
    readonly property int margin: 12
    readonly property int spacing: 8
    readonly property int radius: 7
    readonly property int ring: 3

    // By the states of points, of which the first five are: open, passed, failed, accepted, without a verdict. A record
    // that contradicts itself is in doubt.
    readonly property var stateColors: _theme.states
    readonly property var stateIcons: ["circle", "check-lg", "x-lg", "pencil", "question-lg", "exclamation-triangle"]
    readonly property int open: 0
    readonly property int passed: 1
    readonly property int failed: 2
    readonly property int accepted: 3
    readonly property int withoutVerdict: 4
    readonly property int doubtful: 5

    function stateName(state) {
        return [qsTr("open"), qsTr("passed"), qsTr("failed"), qsTr("accepted"), qsTr("no verdict"),
            qsTr("in doubt")][state] || "";
    }

    // Of an inspection: its verdict, what the operator made of it, and whether its record contradicts itself.
    function stateOf(verdict, decision, isDoubtful) {
        if (isDoubtful)
            return doubtful;
        if (verdict === 1)
            return passed;
        if (decision === 1)
            return accepted;
        return verdict === 2 ? failed : withoutVerdict;
    }

    function zoneName(zone) {
        return [qsTr("Core"), qsTr("Cladding"), qsTr("Adhesive"), qsTr("Contact")][zone] || "";
    }
}
