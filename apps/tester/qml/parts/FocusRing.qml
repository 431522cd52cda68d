// SPDX-License-Identifier: Apache-2.0
import QtQuick 2.11
import "../style"

// Shows who has the keyboard, to those who use it.
Rectangle {
    property Item target: parent

    anchors.fill: parent
    visible: !!target && target.activeFocus && keyboardUse.isOn
    radius: TesterStyle.radius
    color: "transparent"
    border { width: TesterStyle.ring; color: TesterStyle.focusRing }
}
