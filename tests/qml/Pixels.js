// SPDX-License-Identifier: Apache-2.0
// Colours in a grabbed picture. TestCase.fuzzyCompare() takes any two colours for equal.
.pragma library

const tolerance = 3; // of 255; a software renderer is off by one or two

// Whether the pixel has the colour, which may be a name.
function hasColour(image, x, y, colour) {
    const wanted = Qt.lighter(colour, 1.0); // the same colour, but never a name
    return Math.abs(image.red(x, y) - 255 * wanted.r) <= tolerance
        && Math.abs(image.green(x, y) - 255 * wanted.g) <= tolerance
        && Math.abs(image.blue(x, y) - 255 * wanted.b) <= tolerance;
}
