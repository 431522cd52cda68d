// SPDX-License-Identifier: Apache-2.0
import QtQuick 2.11
import "qrc:/Vantor/Components" as VantorComponents
import "qrc:/Vantor/Style"
import "../Utils/ContextObjects.js" as ContextObjects

// Waits for the analysis, then shows its verdict and its picture.
VantorComponents.Page {
    id: root

    property int standardId: 0
    property bool testPassed: false

    property int failures: 0 // analyses without a verdict so far

    function showResult(passed, resultFilePath) {
        waiting.hide();
        testPassed = passed;
        verdict.visible = true;
        resultImage.source = ""; // a later result may lie under the same name
        if (resultFilePath !== "") // empty: it could not be filed
            resultImage.source = "file://" + resultFilePath;
        const failuresBefore = failures;
        later(function() {
            if (root.failures === failuresBefore) // else the verdict was taken away
                root.tellVerdict(passed);
        });
    }

    // There is no verdict, and one on an earlier image does not count.
    function showFailure() {
        ++failures;
        waiting.hide();
        verdict.visible = false;
        resultImage.source = "";
        console.error("analyse failed");
    }

    function tellVerdict(passed) {
        const snackBar = ContextObjects.find("snackBar");
        if (!snackBar)
            return;
        if (passed)
            snackBar.showSuccess(qsTr("Connector test passed"));
        else
            snackBar.showError(qsTr("Connector test failed"));
    }

    Connections {
        target: ContextObjects.find("fiberManager")

        function onAnalyseFinished(passed, sourceFilePath, resultFilePath) {
            root.showResult(passed, resultFilePath);
        }

        function onAnalyseFailed() {
            root.showFailure();
        }
    }

    Image {
        id: resultImage

        // The static check knows no enumerators of Qt Quick.
        readonly property bool isNone: status === Image["Null"]
        readonly property bool isMissing: status === Image["Error"]

        width: parent.width
        height: Math.min(width, parent.height) // in landscape the square does not fit
        fillMode: Image.PreserveAspectFit
        cache: false
        Accessible.role: Accessible["Graphic"]
        Accessible.name: qsTr("Picture of the end face")
    }

    Text { // why there is none to be seen
        objectName: "missingPicture"
        anchors.centerIn: resultImage
        width: resultImage.width * 0.8
        visible: verdict.visible && text !== ""
        text: {
            if (resultImage.isNone)
                return qsTr("There is no picture: it could not be filed.");
            return resultImage.isMissing ? qsTr("There is no picture: it could not be saved. The disk may be full.") : "";
        }
        textFormat: Text.PlainText
        font.pixelSize: GlobalStyles.textSize
        horizontalAlignment: Text.AlignHCenter
        wrapMode: Text.WordWrap
        Accessible.role: Accessible["StaticText"]
        Accessible.name: text
    }

    Rectangle {
        id: verdict

        anchors.top: parent.top
        anchors.right: parent.right
        anchors.margins: 10
        width: 40
        height: 40
        radius: 4
        visible: false
        color: root.testPassed ? "green" : "red"
        Accessible.role: Accessible["AlertMessage"]
        Accessible.name: root.testPassed ? qsTr("Passed") : qsTr("Failed")

        Text {
            anchors.centerIn: parent
            text: root.testPassed ? "✓" : "X"
            font.pixelSize: 24
            color: "white"
        }
    }

    VantorComponents.LoadingComponent {
        id: waiting

        text: qsTr("Processing image\n\nPlease wait\n\n")
    }
}
