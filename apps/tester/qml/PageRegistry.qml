// SPDX-License-Identifier: Apache-2.0
import OrvelPage 1.0
import QtQuick 2.11

// All pages of the application. A new page is a file in pages/ and a line here, which the build reads as well; with a
// summary it has a tile at home.
QtObject {
    readonly property string pages: "qrc:/tester/pages/"
    readonly property string libraryPages: "qrc:/Vantor/Pages/"

    // A page that the library does not name takes any number from 100.
    readonly property int about: 100
    readonly property int newJob: 101
    readonly property int panel: 102
    readonly property int inspect: 103
    readonly property int result: 104
    readonly property int details: 105
    readonly property int results: 106
    readonly property int jobs: 107
    readonly property int settings: 108
    readonly property int report: 109
    readonly property int statistics: 110
    readonly property int compare: 111

    // The order is that of the tiles.
    readonly property var entries: [
        { pageId: OrvelPage.Home, source: pages + "HomePage.qml", title: "Vantor Tester", summary: "" },
        { pageId: newJob, source: pages + "NewJobPage.qml",
          title: qsTr("New job"), summary: qsTr("Name it and its ports"), icon: "plus-lg" },
        { pageId: jobs, source: pages + "JobsPage.qml",
          title: qsTr("Jobs"), summary: qsTr("Continue an earlier one"), icon: "collection" },
        { pageId: OrvelPage.FiberInspection, source: libraryPages + "FiberInspectionPage.qml",
          title: qsTr("Quick inspection"), summary: qsTr("One face, of no job"), icon: "bullseye", needsScope: true },
        { pageId: OrvelPage.FiberInspectionResult, source: libraryPages + "FiberInspectionResultPage.qml",
          title: qsTr("Inspection result"), summary: "" },
        { pageId: results, source: pages + "ResultsPage.qml",
          title: qsTr("Results"), summary: qsTr("Search all inspections"), icon: "search" },
        { pageId: settings, source: pages + "SettingsPage.qml",
          title: qsTr("Settings"), summary: qsTr("Language, theme"), icon: "gear" },
        { pageId: about, source: pages + "AboutPage.qml",
          title: qsTr("About this unit"), summary: qsTr("Version, standards"), icon: "info-circle" },
        { pageId: panel, source: pages + "PanelPage.qml", title: qsTr("Panel"), summary: "" },
        { pageId: report, source: pages + "ReportPage.qml", title: qsTr("Report"), summary: "" },
        { pageId: inspect, source: pages + "InspectPage.qml", title: qsTr("Inspect"), summary: "" },
        { pageId: result, source: pages + "ResultPage.qml", title: qsTr("Result"), summary: "" },
        { pageId: details, source: pages + "DetailsPage.qml", title: qsTr("Details"), summary: "" },
        { pageId: statistics, source: pages + "StatisticsPage.qml", title: qsTr("Statistics"), summary: "" },
        { pageId: compare, source: pages + "ComparePage.qml", title: qsTr("Comparison"), summary: "" },
    ]

    function isOfLibrary(entry) {
        return entry.source.indexOf(libraryPages) === 0;
    }

    function find(pageId) {
        return entries.find(function(entry) { return entry.pageId === pageId; }) || null;
    }
}
