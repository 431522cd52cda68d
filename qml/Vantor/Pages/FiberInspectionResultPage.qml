// SPDX-License-Identifier: Apache-2.0
import QtQuick 2.11
import "qrc:/Vantor/Components" as VantorComponents
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

        width: parent.width
        height: Math.min(width, parent.height) // in landscape the square does not fit
        fillMode: Image.PreserveAspectFit
        cache: false
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
