// SPDX-License-Identifier: Apache-2.0
import QtQuick 2.11
import QtQuick.Layouts 1.3

// One value of a filter. The first row of its model stands for all.
Choice {
    property string key: ""
    property real share: 0.305 // of the width of its row
    readonly property bool isNarrowing: model.length > 0 && value !== model[0].value
    readonly property string valueName: {
        const index = indexOfValue();
        return index < 0 ? "" : model[index].name;
    }

    Layout.fillWidth: true
    Layout.preferredWidth: share * parent.width
}
