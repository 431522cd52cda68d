// SPDX-License-Identifier: Apache-2.0
import QtQuick 2.11
import QtQuick.Layouts 1.3
import "qrc:/Vantor/Components" as VantorComponents
import "qrc:/Vantor/Pages/FocusGuidance.js" as FocusGuidance
import "../parts"
import "../style"

// The live picture of the selected point: focus, and inspect. It stays while its result is shown above it, also when the
// scope is pulled out and comes back.
VantorComponents.Page {
    id: root

    readonly property var point: jobStore.point
    readonly property real asideWidth: width - buttons.x // what comes and goes keeps beside it
    readonly property var meter: view.meter
    readonly property bool canAnalyse: point.id !== undefined && view.isReady && meter.hasFibre && !view.isHeld && !inspector.isBusy
    property var sweep: newSweep()
    property bool isBlurred: false // the last attempt was out of focus
    property real seenPoint: 0 // whose picture was taken, as long as the fibre has not been seen to go since
    readonly property bool isOnFormerFibre: seenPoint !== 0 && seenPoint !== point.id
    readonly property real leastSweep: 1 // of the focus value; a knob at rest wavers

    // Who has the keyboard when the page opens.
    function firstFocus() {
        return analyseButton;
    }

    function newSweep() {
        return { minFocus: 99, maxFocus: 0 };
    }

    // Once until it is stored: a key may bounce, and a second press must not make a second inspection.
    function analyse() {
        if (!canAnalyse)
            return;
        isBlurred = !meter.isSharp;
        if (isBlurred)
            return;
        const path = inspector.begin(meter.focusValue);
        if (path === "")
            return;
        seenPoint = point.id;
        view.capture(path);
    }

    // The knob was turned through the best focus and is back at it. Not while the scope is still on the connector of
    // the port before: a whole panel would pass by one good end face.
    function followSweep() {
        if (!auto.checked || !canAnalyse || !visible || isOnFormerFibre)
            return;
        const step = FocusGuidance.sweepStep(sweep, meter.focusValue, meter.isSharp);
        sweep = step;
        if (step.isCaptureDue && step.maxFocus - step.minFocus >= leastSweep) {
            sweep = newSweep();
            analyse();
        }
    }

    function beginPoint() {
        sweep = newSweep();
        isBlurred = false;
        view.freeze(false);
        meter.resetPeak();
    }

    function hint() {
        if (!hardwareManager.isScopeConnected)
            return qsTr("Please plug in the fibre scope");
        if (inspector.isBusy)
            return qsTr("Inspecting …");
        if (!view.isReady)
            return qsTr("Starting the camera …");
        if (view.isHeld)
            return qsTr("The picture stands still");
        if (!meter.hasFibre)
            return qsTr("No fibre: put the scope on a connector");
        if (meter.isAtBorder)
            return qsTr("Move the fibre to the middle");
        if (auto.checked && isOnFormerFibre)
            return qsTr("Put the scope on the next connector");
        if (auto.checked)
            return qsTr("Turn the focus knob through the sharpest picture and back");
        return isBlurred && !meter.isSharp ? qsTr("Out of focus: turn the focus knob") : "";
    }

    color: TesterStyle.page
    objectName: "inspectPage"
    title: point.id ? qsTr("%2, side %1").arg(point.side).arg(point.name) : ""
    onPointChanged: beginPoint()
    onPageOpened: beginPoint()
    Component.onDestruction: inspector.pictureFailed() // what the camera has not saved by now does not come any more

    Connections {
        target: root.meter

        function onChanged() {
            root.followSweep();
        }
        function onFibreLeft() {
            root.seenPoint = 0;
            root.sweep = root.newSweep();
        }
    }

    Shortcut {
        sequence: "WebCam"
        enabled: root.visible // the key of the scope is not for a page that is covered
        onActivated: root.analyse()
    }

    RowLayout {
        anchors.fill: parent
        spacing: 0

        LiveView {
            id: view

            Layout.fillWidth: true
            Layout.fillHeight: true
            objectName: "liveView"
            isLive: root.visible
            zones: jobStore.rings
            onSaved: inspector.pictureSaved()
            onFailed: inspector.pictureFailed()
            Accessible.role: Accessible.Graphic
            Accessible.name: qsTr("Live picture of the scope")

            Rectangle {
                anchors { left: parent.left; right: parent.right; top: parent.top }
                height: 32
                color: TesterStyle.backdrop
                opacity: 0.75
            }
            PlainText {
                x: TesterStyle.margin
                width: parent.width - 2 * x
                height: 32
                verticalAlignment: Text.AlignVCenter
                objectName: "inspectStandard"
                text: jobStore.job.standardName || ""
                color: TesterStyle.backdropText
            }

            Rectangle {
                anchors { fill: hintText; margins: -TesterStyle.spacing }
                visible: hintText.text !== ""
                radius: TesterStyle.radius
                color: TesterStyle.backdrop
                opacity: 0.8
            }
            PlainText {
                id: hintText

                anchors { horizontalCenter: parent.horizontalCenter; bottom: focusBar.top; bottomMargin: 16 }
                width: Math.min(implicitWidth, parent.width - 6 * TesterStyle.margin)
                horizontalAlignment: Text.AlignHCenter
                wrapMode: Text.WordWrap
                objectName: "hint"
                visible: text !== ""
                text: root.hint()
                color: TesterStyle.backdropText
                font.pixelSize: TesterStyle.headingSize
                Accessible.role: Accessible.AlertMessage
                Accessible.name: text
            }

            FocusBar {
                id: focusBar

                anchors { left: parent.left; right: parent.right; bottom: parent.bottom; margins: TesterStyle.spacing }
                objectName: "focusBar"
                value: root.meter.focusValue
                peak: root.meter.peak
                threshold: root.meter.captureFocus
                isValid: view.isReady && root.meter.hasFibre
                isSharp: isValid && root.meter.isSharp
            }
        }

        ColumnLayout {
            id: buttons

            Layout.fillHeight: true
            Layout.fillWidth: false
            Layout.preferredWidth: 146
            Layout.margins: TesterStyle.spacing / 2
            Layout.leftMargin: TesterStyle.spacing
            spacing: TesterStyle.spacing

            TouchButton {
                id: analyseButton

                Layout.fillWidth: true
                Layout.fillHeight: true
                objectName: "analyse"
                text: qsTr("Analyse")
                enabled: root.canAnalyse
                onClicked: root.analyse()
            }
            TouchButton {
                id: auto

                Layout.fillWidth: true
                objectName: "auto"
                checkable: true
                text: checked ? qsTr("Stop") : qsTr("Auto")
                onToggled: root.sweep = root.newSweep()
            }
            TouchButton {
                Layout.fillWidth: true
                objectName: "zoom"
                isPlain: true
                text: qsTr("%1×").arg(view.zoom)
                Accessible.name: qsTr("Zoom, now %1 times").arg(view.zoom)
                onClicked: view.zoom = view.zoom === 4 ? 1 : 2 * view.zoom
            }
            TouchButton {
                Layout.fillWidth: true
                objectName: "freeze"
                isPlain: true
                enabled: view.isReady
                text: view.isHeld ? qsTr("Go on") : qsTr("Freeze")
                onClicked: view.freeze(!view.isHeld)
            }
        }
    }
}
