// SPDX-License-Identifier: Apache-2.0
import QtQuick 2.11
import "qrc:/Vantor/Style"

// A button whose caption is an icon glyph.
Button {
    id: root

    property real iconSize: height / 2

    font.family: GlobalStyles.fontAwesomeName
    font.pixelSize: iconSize
}
