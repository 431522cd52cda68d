// SPDX-License-Identifier: Apache-2.0
import QtQuick 2.11
import QtTest 1.12
import "qrc:/Vantor/Pages/FocusGuidance.js" as FocusGuidance

TestCase {
    name: "FocusGuidance"

    function test_theColourTellsTheFocus_data() {
        return [
            { tag: "not measured", focus: -1, red: 255, green: 0 },
            { tag: "nothing", focus: 0, red: 255, green: 0 },
            { tag: "just bad", focus: 0.999, red: 255, green: 0 },
            { tag: "no longer bad", focus: 1.0, red: 255, green: 102 },
            { tag: "in between", focus: 2.0, red: 255, green: 204 },
            { tag: "floor", focus: 1.5, red: 255, green: 153 },
            { tag: "nearly good", focus: 2.499, red: 255, green: 254 },
            { tag: "yellow", focus: 2.5, red: 255, green: 255 },
            { tag: "good", focus: 5, red: 127.5, green: 255 },
            { tag: "very good", focus: 25, red: 25.5, green: 255 },
        ];
    }
    function test_theColourTellsTheFocus(row) {
        const colour = FocusGuidance.focusIndicatorColor(row.focus, 1.0, 2.5);

        fuzzyCompare(colour.r, row.red / 255, 0.0001);
        fuzzyCompare(colour.g, row.green / 255, 0.0001);
        compare(colour.b, 0);
        compare(colour.a, 1);
    }

    function test_theCircleFollowsTheCladding_data() {
        return [
            { tag: "middle, full height", x: 400, y: 300, height: 600, left: 340, top: 266 },
            { tag: "middle, half height", x: 400, y: 300, height: 300, left: 140, top: 116 },
            { tag: "top left", x: 0, y: 0, height: 480, left: -60, top: -34 },
            { tag: "bottom right", x: 800, y: 600, height: 480, left: 580, top: 446 },
            { tag: "no height", x: 400, y: 300, height: 0, left: -60, top: -34 },
        ];
    }
    function test_theCircleFollowsTheCladding(row) {
        const place = FocusGuidance.claddingCirclePosition(Qt.point(row.x, row.y), row.height, Qt.size(76, 76));

        fuzzyCompare(place.x, row.left, 0.0001);
        fuzzyCompare(place.y, row.top, 0.0001);
    }

    function test_aSweepIsDueWhenTheBestFocusIsBack_data() {
        return [
            { tag: "there and back", steps: [1.2, 1.8, 3.1, 5.4, 6.2, 4.0, 3.0, 6.1], dueAt: [7] },
            { tag: "the best value itself, once more", steps: [1.2, 6.2, 6.2], dueAt: [2] },
            { tag: "only up", steps: [1.2, 1.8, 3.1, 5.4, 6.2], dueAt: [] },
            { tag: "not back to the best", steps: [1.2, 6.2, 5.9, 4, 2], dueAt: [] },
            { tag: "never sharp", steps: [0.5, 2.4, 1.0, 2.2], dueAt: [] },
            { tag: "worst and best are too close", steps: [3.1, 3.2, 3.9, 3.5], dueAt: [] },
            { tag: "the first value is the worst so far", steps: [6.0], dueAt: [] },
            { tag: "down, then up, then back", steps: [6.0, 3.0, 6.5, 6.2], dueAt: [3] },
            { tag: "the first value does not become the best", steps: [6.0, 3.0, 6.0, 6.0], dueAt: [3] },
            { tag: "not a number", steps: [1.2, 6.2, NaN, NaN], dueAt: [] },
        ];
    }
    function test_aSweepIsDueWhenTheBestFocusIsBack(row) {
        var sweep = { minFocus: 99.0, maxFocus: 0.0 };
        var due = [];

        row.steps.forEach(function(focus, i) {
            sweep = FocusGuidance.sweepStep(sweep, focus, focus > 2.5);
            if (sweep.isCaptureDue)
                due.push(i);
        });

        compare(due, row.dueAt);
    }

    function test_aValueBelowTheWorstIsNotComparedWithTheBest() {
        const sweep = FocusGuidance.sweepStep({ minFocus: 99.0, maxFocus: 0.0 }, 5.0, true);

        compare(sweep.minFocus, 5.0);
        compare(sweep.maxFocus, 0.0);
    }

    function test_theFocusOfTheMomentDecidesToo() {
        const sweep = FocusGuidance.sweepStep({ minFocus: 1.0, maxFocus: 6.0 }, 6.0, false);

        verify(!sweep.isCaptureDue);
    }
}
