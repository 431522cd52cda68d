// SPDX-License-Identifier: Apache-2.0
import QtQuick 2.11

// How a page comes and goes.
NumberAnimation {
    property: "x"
    from: 0
    to: 0
    easing.type: Easing.OutCubic
}
