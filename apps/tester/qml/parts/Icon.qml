// SPDX-License-Identifier: Apache-2.0
import QtQuick 2.11
import "../style"

// An icon by its name, in one colour: shape alone, the words are beside it.
Image {
    id: root

    property string iconName: ""
    property color color: TesterStyle.text
    property int extent: TesterStyle.iconSize // pixels

    width: extent
    height: extent
    sourceSize: Qt.size(extent, extent)
    source: iconName === "" ? "" : "image://icons/" + iconName + "/" + String(color).slice(1)
    Accessible.ignored: true
}
