// SPDX-License-Identifier: Apache-2.0
import QtQuick 2.11
import QtQuick.Controls 2.4
import "../style"

// A button for a finger, with a ring where the keyboard is.
AbstractButton {
    id: root

    property string iconName: ""
    property bool isIconBehind: false // the text
    property bool isPlain: false // only an outline: not the next thing to do
    readonly property color foreground: isPlain ? (enabled ? TesterStyle.accent : TesterStyle.disabled)
                                                : TesterStyle.onColor

    function pressByKey(event) {
        if (!event.isAutoRepeat)
            use();
    }

    // As a tap does.
    function use() {
        if (!enabled)
            return;
        if (checkable) {
            toggle();
            toggled(); // which toggle() leaves out
        }
        clicked();
    }

    leftPadding: iconName === "" ? 4 : TesterStyle.margin
    rightPadding: leftPadding
    implicitWidth: Math.max(TesterStyle.target, caption.implicitWidth + content.iconSpace + 2 * TesterStyle.margin)
    implicitHeight: TesterStyle.target
    Accessible.name: text
    Accessible.onPressAction: use()

    Keys.onReturnPressed: function(event) {
        pressByKey(event);
    }
    Keys.onEnterPressed: function(event) {
        pressByKey(event);
    }

    background: Rectangle {
        radius: TesterStyle.radius
        color: {
            if (root.isPlain)
                return root.pressed ? TesterStyle.surface : TesterStyle.page;
            if (!root.enabled)
                return TesterStyle.disabled;
            return root.pressed || root.checked ? TesterStyle.accentPressed : TesterStyle.accent;
        }
        border { width: root.isPlain ? 1 : 0; color: root.foreground }

        FocusRing {
            anchors.margins: -TesterStyle.ring + 1
            target: root
            radius: TesterStyle.radius + 2
        }
    }

    contentItem: Item {
        id: content

        readonly property real iconSpace: root.iconName === "" ? 0 : icon.width + TesterStyle.spacing

        Row {
            anchors.centerIn: parent
            layoutDirection: root.isIconBehind ? Qt.RightToLeft : Qt.LeftToRight
            spacing: TesterStyle.spacing

            Icon {
                id: icon

                anchors.verticalCenter: parent.verticalCenter
                visible: root.iconName !== ""
                iconName: root.iconName
                color: root.foreground
            }
            PlainText {
                id: caption

                anchors.verticalCenter: parent.verticalCenter
                width: Math.min(implicitWidth, content.width - content.iconSpace)
                text: root.text
                color: root.foreground
                horizontalAlignment: Text.AlignHCenter
                wrapMode: Text.WordWrap
                maximumLineCount: 2
                Accessible.ignored: true
            }
        }
    }
}
