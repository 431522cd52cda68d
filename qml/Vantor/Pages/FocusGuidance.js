// SPDX-License-Identifier: Apache-2.0
// What the inspection page decides and where it draws, as functions of what it knows.
.pragma library

const frameHeight = 600; // pixels of the camera's frames, which the position of the cladding counts in

// The preview fills its place by cropping; these offsets were found by trial on it, in its pixels.
const claddingOffsetX = -22;
const claddingOffsetY = 4;

// Red for a bad focus, over yellow at the medium one, to green.
function focusIndicatorColor(focusValue, badFocus, mediumFocus) {
    const share = focusValue / mediumFocus;
    var red = 255;
    var green = 255;
    if (focusValue < badFocus) {
        green = 0;
    } else if (focusValue < mediumFocus) {
        green = Math.floor(255 * share);
    } else {
        green = Math.floor(255 * share);
        red = 255 / share;
    }
    return Qt.rgba(red / 255, green / 255, 0, 255); // rgba() cuts everything to 0..1
}

// Top left corner of the circle around the cladding, in pixels of the preview.
function claddingCirclePosition(claddingPosition, previewHeight, circleSize) {
    const scale = previewHeight / frameHeight;
    return Qt.point(claddingPosition.x * scale - circleSize.width / 2 + claddingOffsetX,
                    claddingPosition.y * scale - circleSize.height / 2 + claddingOffsetY);
}

// One step of a sweep through the focus. The capture is due when the user has passed the best focus and is back at it.
// Gives the sweep after the step.
function sweepStep(sweep, currentFocus, isSharpEnough) {
    if (currentFocus < sweep.minFocus)
        return { minFocus: currentFocus, maxFocus: sweep.maxFocus, isCaptureDue: false };
    if (currentFocus > sweep.maxFocus)
        return { minFocus: sweep.minFocus, maxFocus: currentFocus, isCaptureDue: false };
    const best = Math.floor(sweep.maxFocus);
    return {
        minFocus: sweep.minFocus,
        maxFocus: sweep.maxFocus,
        isCaptureDue: Math.floor(currentFocus) === best && best !== Math.floor(sweep.minFocus)
            && isSharpEnough
    };
}
