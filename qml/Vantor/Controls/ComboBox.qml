// SPDX-License-Identifier: Apache-2.0
import QtQuick 2.11
import QtQuick.Controls 2.4 as Controls // Qt 5.15: has currentValue and valueRole, which nobody may declare again
import QtQuick.Controls.Material 2.4
import QtQuick.Window 2.11
import "qrc:/Vantor/Style"
import "../Utils/QmlModelUtils.js" as ModelUtils

// A combo box whose rows have a text to show and a value to work with.
//
// currentValue follows currentIndex late: in onCurrentIndexChanged it is still that of the row before, undefined if there
// was none. Handle onCurrentValueChanged for whatever changes it, or onActivated for what the user chooses; in both it is
// that of the current row. Who has to act on the index, also between rows of the same value, asks valueOfRow(currentIndex):
//
//     VantorControls.ComboBox {
//         model: fiberManager.fiberInspectionStandardModel()
//         textRole: "name"
//         valueRole: "id"
//         onCurrentValueChanged: settings.standardId = currentValue
//     }
Controls.ComboBox {
    id: root

    property bool modelIsStringList: false // then the text is the value

    property real popupWidth: -1 // pixels; never less than the width of the combo box
    property bool autoAdjustPopupWidth: false // sets popupWidth so that the longest text fits
    property int popupTextLeftPadding: 16

    property color delegateTextColor: "black"
    property string specificItemHighlightRole: ""
    property var specificItemHighlightValueToMatch: null
    property color specificItemHighlightColor: "blue"

    readonly property real windowWidth: Window.width > 0 ? Window.width : Infinity
    readonly property real fittingPopupWidth: autoAdjustPopupWidth
        ? Math.min(widestText(model, count, font) + 3 * popupTextLeftPadding, windowWidth) : -1

    function setCurrentValue(value) {
        const index = modelIsStringList ? find(value) : ModelUtils.indexOfWithRole(model, value, valueRole);
        if (index === -1) {
            console.warn("Value wasn't find: " + value);
            return;
        }
        selectRow(index);
    }

    function setComboBoxFromRole(role, value) {
        const index = ModelUtils.indexOfWithRole(model, value, role);
        if (index === -1) {
            console.warn("couldnt set combo. %1 not found".arg(value));
            return;
        }
        selectRow(index);
    }

    function selectRow(index) {
        if (index === currentIndex)
            refreshCurrentValue();
        currentIndex = index;
    }

    // A model may have changed under the current row without a word. The value is read anew whenever the rows were
    // touched, if only to stay where they are; text and value alone can change by it.
    function refreshCurrentValue() {
        const rows = delegateModel;
        if (currentIndex >= 0 && rows && rows.items)
            rows.items.addGroups(currentIndex, 1, "items");
    }

    function valueOfRow(index) {
        return modelIsStringList ? textAt(index) : ModelUtils.getValue(model, index, valueRole);
    }

    // Painted width of the longest text. Only texts of equal length are measured against each other. The arguments are
    // what the result depends on, for the binding's sake.
    function widestText(model, count, font) {
        var texts = [];
        for (var i = 0; i < count; ++i) {
            const text = textAt(i);
            if (texts.length > 0 && text.length < texts[0].length)
                continue;
            if (texts.length > 0 && text.length > texts[0].length)
                texts = [];
            texts.push(text);
        }
        return texts.reduce(function(widest, text) {
            return Math.max(widest, Math.ceil(metrics.advanceWidth(text)));
        }, 0);
    }

    // Keeps the popup inside the window.
    function placePopup() {
        const left = mapToItem(null, 0, 0).x;
        popup.x = Math.max(-left, Math.min(0, windowWidth - left - popup.width));
    }

    function isHighlightedRow(index) {
        return specificItemHighlightRole !== ""
            && ModelUtils.getValue(model, index, specificItemHighlightRole) === specificItemHighlightValueToMatch;
    }

    valueRole: modelIsStringList ? textRole : ""
    font.pixelSize: GlobalStyles.defaultComboBoxTextSize
    Material.background: "white"

    popup.width: Math.max(width, popupWidth)

    delegate: Controls.ItemDelegate {
        id: row

        required property int index

        width: root.popup.availableWidth
        leftPadding: root.popupTextLeftPadding
        text: root.textAt(row.index)
        font: root.font
        highlighted: root.highlightedIndex === row.index
        Material.foreground: root.isHighlightedRow(row.index) ? root.specificItemHighlightColor : root.delegateTextColor
    }

    Component.onCompleted: contentItem.Accessible.ignored = true // the line within says what the box says

    onFittingPopupWidthChanged: {
        if (autoAdjustPopupWidth)
            popupWidth = fittingPopupWidth;
    }

    Connections {
        target: root.popup

        function onAboutToShow() {
            root.placePopup();
        }
    }

    FontMetrics {
        id: metrics

        font: root.font
    }
}
