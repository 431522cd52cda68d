// SPDX-License-Identifier: Apache-2.0
import FiberInspection 1.0
import OrvelPage 1.0
import QtMultimedia 5.4
import QtQuick 2.11
import QtQuick.Controls.Material 2.4
import QtQuick.Templates 2.4 as Templates
import "qrc:/Vantor/Components" as VantorComponents
import "qrc:/Vantor/Controls" as VantorControls
import "qrc:/Vantor/Style"
import "../Utils/ContextObjects.js" as ContextObjects
import "FocusGuidance.js" as FocusGuidance

// The live picture of the scope: focus, choose a standard, capture.
VantorComponents.Page {
    id: root

    property alias deviceName: cameraPreview.deviceName
    property bool zonesVisible: true // the circles around the fibre
    readonly property real mediumFocusThreshold: 2.5 // above it an image may be captured
    readonly property real badFocusThreshold: 1.0 // up to it the fibre cannot be told

    property bool isAnswerDue: false // to the last analyse(): the result page, or that there is no focus
    readonly property string testName: "analyse_test" // all inspections are filed under it, the last one stays
    readonly property bool isLandscape: width > height
    readonly property int formMargin: GlobalStyles.pageMargin

    function pageActions() {
        const titleBar = ContextObjects.find("titleBar");
        return titleBar ? [titleBar.actionBack, titleBar.actionLayers].filter(Boolean) : [];
    }

    function calculateFocusIndicatorColor(focusValue) {
        return FocusGuidance.focusIndicatorColor(focusValue, badFocusThreshold, mediumFocusThreshold);
    }

    function isSharpEnough() {
        return fiberRealtimeAnalyser.focusValue > mediumFocusThreshold;
    }

    // Once until its answer is shown: a key may bounce, or repeat itself after a stall.
    function analyse() {
        if (isAnswerDue)
            return;
        isAnswerDue = true;
        if (!isSharpEnough()) {
            later(showOutOfFocus);
            return;
        }
        const standardId = standardBox.currentValue;
        later(function() { // before the request, also of a camera that saves at once
            root.showResult(standardId);
        });
        capture();
    }

    function showResult(standardId) {
        isAnswerDue = false;
        const appController = ContextObjects.find("appController");
        if (appController)
            appController.navigateTo(OrvelPage.FiberInspectionResult, "", { standardId: standardId });
    }

    function showOutOfFocus() {
        isAnswerDue = false;
        const messageBoxManager = ContextObjects.find("messageBoxManager");
        if (messageBoxManager) {
            messageBoxManager.showInfo(qsTr("Image out of Focus"), qsTr("Please adjust image focus and try again.\n\n"
                + "Please make sure that focus indicator in top right corner turns green. "
                + "If it's red then image is out of focus. Green means image is focused."));
        }
    }

    function capture() {
        if (!cameraPreview.ready) {
            print("capture image is not available in preview mode or when camera is not ready yet");
            return;
        }
        const fiberManager = ContextObjects.find("fiberManager");
        if (fiberManager)
            cameraPreview.captureImageToFile(fiberManager.tmpFiberInspectionImagePath());
    }

    function requestAnalysis() {
        const fiberManager = ContextObjects.find("fiberManager");
        if (fiberManager)
            fiberManager.requestAnalyse(testName, standardBox.currentValue);
    }

    function standardModel() {
        const fiberManager = ContextObjects.find("fiberManager");
        return fiberManager ? fiberManager.fiberInspectionStandardModel() : null;
    }

    // The layers action belongs to the shell and may be gone before the page is.
    function layersAction() {
        const titleBar = ContextObjects.find("titleBar");
        return titleBar && titleBar.actionLayers ? titleBar.actionLayers : null;
    }

    actions: pageActions()

    // A page that was taken off the stack lives on for a transition, in which the camera may still save.
    Templates.StackView.onDeactivating: {
        const place = Templates.StackView; // attached to the page
        if (place.view.get(place.index) !== root)
            cameraPreview.forgetCapture();
    }
    Component.onDestruction: cameraPreview.stop()

    Connections {
        target: root.layersAction()

        function onClicked() {
            root.zonesVisible = !root.zonesVisible;
        }
    }

    Connections {
        target: ContextObjects.find("hardwareManager")

        function onFiberMicroscopeDisconnected() {
            root.later(root.back);
        }
    }

    Shortcut {
        sequence: "WebCam"
        enabled: root.visible // the key of the scope is not for a page that is covered
        onActivated: root.analyse()
    }

    FiberRealtimeAnalyser {
        id: fiberRealtimeAnalyser
    }

    QtObject {
        id: autoAnalyseTracker

        // Both last as long as the page; a later sweep goes on from them.
        property real minFocus: 99.0
        property real maxFocus: 0.0
        property real currentFocus: fiberRealtimeAnalyser.focusValue

        onCurrentFocusChanged: {
            if (!autoAnalyseButton.checked || currentFocus === -1)
                return;
            const step = FocusGuidance.sweepStep(autoAnalyseTracker, currentFocus, root.isSharpEnough());
            minFocus = step.minFocus;
            maxFocus = step.maxFocus;
            if (step.isCaptureDue) {
                autoAnalyseButton.checked = false;
                root.analyse();
            }
        }
    }

    VantorComponents.CameraPreview {
        id: cameraPreview

        // Beside the form the preview cuts off as much on the left as the overlays expect.
        readonly property real cutOff: 2 * 22
        readonly property real besideForm: Math.min(Math.round(root.height * 4 / 3 - cutOff), Math.round(root.width * 0.55))

        width: root.isLandscape ? besideForm : root.width
        height: root.isLandscape ? (besideForm + cutOff) * 3 / 4 : inputForm.y
        clip: true
        videoOutput.filters: ready ? [fiberRealtimeAnalyser] : []
        onImageSaved: root.later(root.requestAnalysis)

        Rectangle {
            id: claddingCircle

            function place() {
                return FocusGuidance.claddingCirclePosition(fiberRealtimeAnalyser.claddingPosition, cameraPreview.height,
                                                            Qt.size(width, height));
            }

            x: place().x
            y: place().y
            width: 76
            height: width
            radius: width / 2
            visible: fiberRealtimeAnalyser.focusValue > root.badFocusThreshold && root.zonesVisible
            color: "transparent"
            border.color: "orange"
            border.width: 2
        }

        Rectangle { // around the contact zone
            anchors.centerIn: claddingCircle
            width: claddingCircle.width * 2
            height: width
            radius: width / 2
            visible: claddingCircle.visible
            color: "transparent"
            border.color: "green"
            border.width: 2
        }

        Rectangle { // how sharp the picture is
            anchors.top: parent.top
            anchors.right: parent.right
            anchors.margins: 10
            width: 20
            height: 20
            radius: width / 2
            visible: cameraPreview.ready
            color: root.calculateFocusIndicatorColor(fiberRealtimeAnalyser.focusValue)
            Accessible.role: Accessible["StaticText"] // the static check knows no enumerators of Qt Quick
            Accessible.name: root.isSharpEnough() ? qsTr("In focus") : qsTr("Out of focus")
        }

        Rectangle {
            anchors.fill: instruction
            anchors.margins: -8
            visible: instruction.visible
            radius: 8
            color: "black"
            opacity: 0.5
        }

        Text {
            id: instruction

            anchors.horizontalCenter: parent.horizontalCenter
            anchors.bottom: parent.bottom
            anchors.bottomMargin: 14
            width: Math.min(implicitWidth, parent.width - 2 * root.formMargin)
            visible: autoAnalyseButton.checked
            text: qsTr("Turn focus knob slowly from left to right & left again")
            textFormat: Text.PlainText
            font.pixelSize: GlobalStyles.textHeadingSize
            color: "white"
            horizontalAlignment: Text.AlignHCenter
            wrapMode: Text.WordWrap
            Accessible.role: Accessible["StaticText"]
            Accessible.name: text
        }
    }

    Item {
        id: inputForm

        readonly property bool isNarrow: width < 400 // pixels; what the name of a standard needs

        x: (root.isLandscape ? cameraPreview.width : 0) + root.formMargin
        y: root.isLandscape ? 0 : root.height - root.formMargin - height
        width: root.width - x - root.formMargin
        height: root.isLandscape ? root.height : width * 3 / 4

        Column {
            anchors.left: parent.left
            anchors.right: parent.right
            topPadding: root.formMargin
            spacing: GlobalStyles.pageSpacing

            Text {
                id: standardCaption

                text: qsTr("Test Standard")
                font.bold: true
                font.pixelSize: GlobalStyles.textSize
                Accessible.ignored: true
            }

            VantorControls.ComboBox {
                id: standardBox

                width: parent.width
                model: root.standardModel()
                textRole: "name"
                valueRole: "id"
                Accessible.name: standardCaption.text
                Accessible.description: displayText
                font.pixelSize: inputForm.isNarrow ? GlobalStyles.textSmallSize : GlobalStyles.defaultComboBoxTextSize
            }

            Grid {
                id: buttonRow

                readonly property real third: (width - 20) / 3
                readonly property bool isWide: third >= analyseButton.neededWidth && 2 * third >= autoAnalyseButton.neededWidth

                width: parent.width
                spacing: 20
                columns: isWide ? 2 : 1

                VantorControls.Button {
                    id: analyseButton

                    readonly property real neededWidth: contentItem.implicitWidth + leftPadding + rightPadding

                    width: buttonRow.isWide ? buttonRow.third : buttonRow.width
                    text: qsTr("Analyse")
                    enabled: !autoAnalyseButton.checked && cameraPreview.ready
                    onClicked: root.analyse()
                }

                VantorControls.Button {
                    id: autoAnalyseButton

                    readonly property real neededWidth: contentItem.implicitWidth + leftPadding + rightPadding

                    width: buttonRow.isWide ? 2 * buttonRow.third : buttonRow.width
                    text: qsTr("Auto Analyse")
                    checkable: true
                    Material.accent: "green"
                }
            }
        }
    }
}
