// SPDX-License-Identifier: Apache-2.0
import OrvelPage 1.0
import QtQuick 2.11

// All pages of the application. A new page is a file in pages/, which CMakeLists.txt names, and an entry here; with a
// summary it has a tile at home.
QtObject {
    readonly property string pages: "qrc:/tester/pages/"
    readonly property string libraryPages: "qrc:/Vantor/Pages/"

    // The order is that of the tiles. A page that the library does not name takes any number from 100.
    readonly property var entries: [
        { pageId: OrvelPage.Home, source: pages + "HomePage.qml", title: "Vantor Tester", summary: "" },
        { pageId: OrvelPage.FiberInspection, source: libraryPages + "FiberInspectionPage.qml",
          title: qsTr("Fibre inspection"), summary: qsTr("Inspect and grade a connector end face"), icon: "◎", needsScope: true },
        { pageId: OrvelPage.FiberInspectionResult, source: libraryPages + "FiberInspectionResultPage.qml",
          title: qsTr("Inspection result"), summary: "" },
        { pageId: 100, source: pages + "AboutPage.qml",
          title: qsTr("About this unit"), summary: qsTr("Version, scope and test standards"), icon: "ℹ" },
    ]

    function find(pageId) {
        return entries.find(function(entry) { return entry.pageId === pageId; }) || null;
    }
}
