<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="de" sourcelanguage="en">
<context>
    <name>AboutPage</name>
    <message>
        <source>Version</source>
        <translation>Version</translation>
    </message>
    <message>
        <source>Fibre scope</source>
        <translation>Fasermikroskop</translation>
    </message>
    <message>
        <source>Test standards</source>
        <translation>Prüfnormen</translation>
    </message>
    <message>
        <source>Icons</source>
        <translation>Symbole</translation>
    </message>
</context>
<context>
    <name>BottomToolBar</name>
    <message>
        <source>Language</source>
        <translation>Sprache</translation>
    </message>
</context>
<context>
    <name>ComparePage</name>
    <message>
        <source>%2, side %1</source>
        <translation>%2, Seite %1</translation>
    </message>
    <message>
        <source>Quick inspection</source>
        <translation>Schnellprüfung</translation>
    </message>
    <message>
        <source>%1: before and after</source>
        <translation>%1: vorher und nachher</translation>
    </message>
    <message>
        <source>Comparison</source>
        <translation>Vergleich</translation>
    </message>
    <message>
        <source>Before</source>
        <translation>Vorher</translation>
    </message>
    <message>
        <source>After</source>
        <translation>Nachher</translation>
    </message>
    <message>
        <source>The result cannot be read: %1</source>
        <translation>Das Ergebnis ist nicht lesbar: %1</translation>
    </message>
</context>
<context>
    <name>DetailsPage</name>
    <message>
        <source>Details of %1</source>
        <translation>Details zu %1</translation>
    </message>
    <message>
        <source>the quick inspection</source>
        <translation>der Schnellprüfung</translation>
    </message>
    <message>
        <source>%1, %2 %3: %4 found, %5 allowed</source>
        <translation>%1, %2 %3: %4 gefunden, %5 erlaubt</translation>
    </message>
    <message>
        <source>scratches</source>
        <translation>Kratzer</translation>
    </message>
    <message>
        <source>defects</source>
        <translation>Fehlstellen</translation>
    </message>
    <message>
        <source>of any size</source>
        <translation>jeder Größe</translation>
    </message>
    <message>
        <source>any</source>
        <translation>beliebig viele</translation>
    </message>
    <message>
        <source>No defects</source>
        <translation>Keine Fehlstellen</translation>
    </message>
    <message>
        <source>Defects: the %1 worst of %2</source>
        <translation>Fehlstellen: die %1 schwersten von %2</translation>
    </message>
    <message>
        <source>Defects: tap one to see it</source>
        <translation>Fehlstellen: antippen, um eine zu sehen</translation>
    </message>
    <message>
        <source>%1  %2, %3 of %4</source>
        <translation>%1  %2, %3 von %4</translation>
    </message>
    <message>
        <source>scratch</source>
        <translation>Kratzer</translation>
    </message>
    <message>
        <source>defect</source>
        <translation>Fehlstelle</translation>
    </message>
    <message>
        <source>at %1 µm from the middle (right / down)</source>
        <translation>%1 µm von der Mitte (rechts / unten)</translation>
    </message>
    <message>
        <source>Rules and defects</source>
        <translation>Regeln und Fehlstellen</translation>
    </message>
</context>
<context>
    <name>DetailsPanel</name>
    <message>
        <source>Core</source>
        <translation>Kern</translation>
    </message>
    <message>
        <source>Cladding</source>
        <translation>Mantel</translation>
    </message>
    <message>
        <source>Adhesive</source>
        <translation>Kleber</translation>
    </message>
    <message>
        <source>Contact</source>
        <translation>Kontakt</translation>
    </message>
    <message>
        <source>Passed</source>
        <translation>Bestanden</translation>
    </message>
    <message>
        <source>Failed</source>
        <translation>Nicht bestanden</translation>
    </message>
    <message>
        <source>Zone</source>
        <translation>Zone</translation>
    </message>
    <message>
        <source>Allowed</source>
        <translation>Erlaubt</translation>
    </message>
    <message>
        <source>Found</source>
        <translation>Funde</translation>
    </message>
    <message>
        <source>any</source>
        <translation>beliebig</translation>
    </message>
    <message>
        <source>Close</source>
        <translation>Schließen</translation>
    </message>
    <message>
        <source>Criterion</source>
        <translation>Kriterium</translation>
    </message>
    <message>
        <source>Size (µm)</source>
        <translation>Größe (µm)</translation>
    </message>
    <message>
        <source>Scratches</source>
        <translation>Kratzer</translation>
    </message>
    <message>
        <source>Defects</source>
        <translation>Fehlstellen</translation>
    </message>
    <message>
        <source>Rules</source>
        <translation>Regeln</translation>
    </message>
</context>
<context>
    <name>FocusBar</name>
    <message>
        <source>%1, best %2</source>
        <translation>%1, beste %2</translation>
    </message>
    <message>
        <source>no fibre</source>
        <translation>keine Faser</translation>
    </message>
    <message>
        <source>Focus</source>
        <translation>Schärfe</translation>
    </message>
    <message>
        <source>sharp</source>
        <translation>scharf</translation>
    </message>
    <message>
        <source>not sharp</source>
        <translation>unscharf</translation>
    </message>
</context>
<context>
    <name>HomePage</name>
    <message>
        <source>Continue</source>
        <translation>Weiter</translation>
    </message>
    <message>
        <source>%1 of %2, %3 failed</source>
        <translation>%1 von %2, %3 nicht bestanden</translation>
    </message>
    <message>
        <source>There is no job yet</source>
        <translation>Es gibt noch keinen Auftrag</translation>
    </message>
    <message>
        <source>%1 in doubt</source>
        <translation>%1 zweifelhaft</translation>
    </message>
    <message>
        <source>Plug in the scope</source>
        <translation>Mikroskop anschließen</translation>
    </message>
</context>
<context>
    <name>InspectPage</name>
    <message>
        <source>Please plug in the fibre scope</source>
        <translation>Bitte das Fasermikroskop anschließen</translation>
    </message>
    <message>
        <source>Inspecting …</source>
        <translation>Wird geprüft …</translation>
    </message>
    <message>
        <source>The picture stands still</source>
        <translation>Das Bild steht still</translation>
    </message>
    <message>
        <source>No fibre: put the scope on a connector</source>
        <translation>Keine Faser: Mikroskop auf einen Stecker setzen</translation>
    </message>
    <message>
        <source>Move the fibre to the middle</source>
        <translation>Faser in die Mitte rücken</translation>
    </message>
    <message>
        <source>Put the scope on the next connector</source>
        <translation>Mikroskop auf den nächsten Stecker setzen</translation>
    </message>
    <message>
        <source>Turn the focus knob through the sharpest picture and back</source>
        <translation>Fokusknopf durch das schärfste Bild und zurück drehen</translation>
    </message>
    <message>
        <source>Out of focus: turn the focus knob</source>
        <translation>Unscharf: Fokusknopf drehen</translation>
    </message>
    <message>
        <source>Live picture of the scope</source>
        <translation>Livebild des Mikroskops</translation>
    </message>
    <message>
        <source>Analyse</source>
        <translation>Prüfen</translation>
    </message>
    <message>
        <source>Stop</source>
        <translation>Stopp</translation>
    </message>
    <message>
        <source>Auto</source>
        <translation>Auto</translation>
    </message>
    <message>
        <source>%1×</source>
        <translation>%1×</translation>
    </message>
    <message>
        <source>Zoom, now %1 times</source>
        <translation>Vergrößerung, jetzt %1-fach</translation>
    </message>
    <message>
        <source>Go on</source>
        <translation>Weiter</translation>
    </message>
    <message>
        <source>Freeze</source>
        <translation>Standbild</translation>
    </message>
    <message>
        <source>%2, side %1</source>
        <translation>%2, Seite %1</translation>
    </message>
    <message>
        <source>Starting the camera …</source>
        <translation>Kamera startet …</translation>
    </message>
</context>
<context>
    <name>InspectionWords</name>
    <message>
        <source>%1 µm</source>
        <translation>%1 µm</translation>
    </message>
    <message>
        <source>Core</source>
        <translation>Kern</translation>
    </message>
    <message>
        <source>Cladding</source>
        <translation>Mantel</translation>
    </message>
    <message>
        <source>Adhesive</source>
        <translation>Kleber</translation>
    </message>
    <message>
        <source>Contact</source>
        <translation>Kontakt</translation>
    </message>
    <message>
        <source>scratch of %1</source>
        <translation>Kratzer von %1</translation>
    </message>
    <message>
        <source>defect of %1</source>
        <translation>Fehlstelle von %1</translation>
    </message>
    <message>
        <source>%1 scratches of up to %2</source>
        <translation>%1 Kratzer bis %2</translation>
    </message>
    <message>
        <source>%1 defects of up to %2</source>
        <translation>%1 Fehlstellen bis %2</translation>
    </message>
    <message>
        <source>allowed are %1 of %2 µm</source>
        <translation>erlaubt sind %1 von %2 µm</translation>
    </message>
    <message>
        <source>none allowed</source>
        <translation>nicht erlaubt</translation>
    </message>
    <message>
        <source>allowed below %1 µm, none larger</source>
        <translation>erlaubt unter %1 µm, nichts Größeres</translation>
    </message>
    <message>
        <source>allowed up to %1 µm, none larger</source>
        <translation>erlaubt bis %1 µm, nichts Größeres</translation>
    </message>
    <message>
        <source>%1: %2, %3</source>
        <comment>zone, what was found, what is allowed</comment>
        <translation>%1: %2, %3</translation>
    </message>
    <message>
        <source>No picture came from the scope.</source>
        <translation>Vom Mikroskop kam kein Bild.</translation>
    </message>
    <message>
        <source>The picture of the scope cannot be read.</source>
        <translation>Das Bild des Mikroskops ist nicht lesbar.</translation>
    </message>
    <message>
        <source>There is no fibre in the picture.</source>
        <translation>Im Bild ist keine Faser.</translation>
    </message>
    <message>
        <source>There is more than one fibre in the picture.</source>
        <translation>Im Bild ist mehr als eine Faser.</translation>
    </message>
    <message>
        <source>The fibre is too close to the border of the picture.</source>
        <translation>Die Faser liegt zu nah am Bildrand.</translation>
    </message>
    <message>
        <source>The analysis broke off; there may be too little memory.</source>
        <translation>Die Auswertung brach ab; vielleicht fehlt Speicher.</translation>
    </message>
    <message>
        <source>en_GB</source>
        <comment>code of the language, for numbers and dates</comment>
        <translation>de_DE</translation>
    </message>
</context>
<context>
    <name>JobFigures</name>
    <message>
        <source>%1 %</source>
        <translation>%1 %</translation>
    </message>
    <message>
        <source>%1 s</source>
        <translation>%1 s</translation>
    </message>
    <message>
        <source>%1 min %2 s</source>
        <translation>%1 min %2 s</translation>
    </message>
    <message>
        <source>%1 h %2 min</source>
        <translation>%1 h %2 min</translation>
    </message>
    <message>
        <source>%1: %2 %3</source>
        <comment>zone, kind, sizes</comment>
        <translation>%1: %2 %3</translation>
    </message>
    <message>
        <source>scratches</source>
        <translation>Kratzer</translation>
    </message>
    <message>
        <source>defects</source>
        <translation>Fehlstellen</translation>
    </message>
    <message>
        <source>of any size</source>
        <translation>jeder Größe</translation>
    </message>
    <message>
        <source>%1 µm</source>
        <translation>%1 µm</translation>
    </message>
</context>
<context>
    <name>JobStore</name>
    <message>
        <source>The results cannot be read: %1</source>
        <translation>Die Ergebnisse sind nicht lesbar: %1</translation>
    </message>
    <message>
        <source>The note is longer than %1 characters.</source>
        <translation>Die Notiz ist länger als %1 Zeichen.</translation>
    </message>
    <message>
        <source>A name is longer than %1 characters.</source>
        <translation>Ein Name ist länger als %1 Zeichen.</translation>
    </message>
    <message>
        <source>The job needs a name.</source>
        <translation>Der Auftrag braucht einen Namen.</translation>
    </message>
    <message>
        <source>A text is longer than %1 characters.</source>
        <translation>Ein Text ist länger als %1 Zeichen.</translation>
    </message>
    <message>
        <source>The standard is not offered.</source>
        <translation>Die Norm wird nicht angeboten.</translation>
    </message>
    <message>
        <source>The job has %1 points; at most %2 can be worked on here.</source>
        <translation>Der Auftrag hat %1 Messpunkte; höchstens %2 können hier bearbeitet werden.</translation>
    </message>
    <message>
        <source>The folder of the results was moved or removed. Nothing can be stored.</source>
        <translation>Der Ordner der Ergebnisse wurde verschoben oder entfernt. Nichts kann gespeichert werden.</translation>
    </message>
    <message>
        <source>Other results are there now, without the job %1.</source>
        <translation>Nun sind andere Ergebnisse da, ohne den Auftrag %1.</translation>
    </message>
</context>
<context>
    <name>JobsPage</name>
    <message>
        <source>%1 of %2, %3 failed</source>
        <translation>%1 von %2, %3 nicht bestanden</translation>
    </message>
    <message>
        <source>closed</source>
        <translation>abgeschlossen</translation>
    </message>
    <message>
        <source>There is no job yet</source>
        <translation>Es gibt noch keinen Auftrag</translation>
    </message>
    <message>
        <source>%1 in doubt</source>
        <translation>%1 zweifelhaft</translation>
    </message>
    <message>
        <source>Jobs</source>
        <translation>Aufträge</translation>
    </message>
</context>
<context>
    <name>Main</name>
    <message>
        <source>Fibre scope connected</source>
        <translation>Fasermikroskop angeschlossen</translation>
    </message>
    <message>
        <source>Fibre scope disconnected</source>
        <translation>Fasermikroskop getrennt</translation>
    </message>
    <message>
        <source>The end face could not be inspected</source>
        <translation>Die Stirnfläche konnte nicht geprüft werden</translation>
    </message>
    <message>
        <source>There is no result yet, please try again</source>
        <translation>Es gibt noch kein Ergebnis, bitte erneut versuchen</translation>
    </message>
    <message>
        <source>NOT KEPT: %1</source>
        <translation>NICHT GESPEICHERT: %1</translation>
    </message>
    <message>
        <source>%1: passed</source>
        <translation>%1: bestanden</translation>
    </message>
    <message>
        <source>%1: failed</source>
        <translation>%1: nicht bestanden</translation>
    </message>
    <message>
        <source>%1: no verdict</source>
        <translation>%1: kein Urteil</translation>
    </message>
    <message>
        <source>%2: NOT KEPT: %1</source>
        <translation>%2: NICHT GESPEICHERT: %1</translation>
    </message>
</context>
<context>
    <name>MarkedPicture</name>
    <message>
        <source>Picture of the end face</source>
        <translation>Bild der Stirnfläche</translation>
    </message>
</context>
<context>
    <name>MessageBox</name>
    <message>
        <source>OK</source>
        <translation>OK</translation>
    </message>
</context>
<context>
    <name>NewJobPage</name>
    <message>
        <source>%1 points: %2</source>
        <translation>%1 Messpunkte: %2</translation>
    </message>
    <message>
        <source>Column %1: %2</source>
        <translation>Spalte %1: %2</translation>
    </message>
    <message>
        <source>Name of the job</source>
        <translation>Name des Auftrags</translation>
    </message>
    <message>
        <source>Standard</source>
        <translation>Norm</translation>
    </message>
    <message>
        <source>First point</source>
        <translation>Erster Messpunkt</translation>
    </message>
    <message>
        <source>Last point</source>
        <translation>Letzter Messpunkt</translation>
    </message>
    <message>
        <source>Customer</source>
        <translation>Kunde</translation>
    </message>
    <message>
        <source>Side of the fibre</source>
        <translation>Seite der Faser</translation>
    </message>
    <message>
        <source>Side A</source>
        <translation>Seite A</translation>
    </message>
    <message>
        <source>Side B</source>
        <translation>Seite B</translation>
    </message>
    <message>
        <source>Sides A and B</source>
        <translation>Seiten A und B</translation>
    </message>
    <message>
        <source>Site</source>
        <translation>Ort</translation>
    </message>
    <message>
        <source>Operator</source>
        <translation>Prüfer</translation>
    </message>
    <message>
        <source>Make the job</source>
        <translation>Auftrag anlegen</translation>
    </message>
</context>
<context>
    <name>NoteDialog</name>
    <message>
        <source>Why is this port accepted?</source>
        <translation>Warum wird dieser Port angenommen?</translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation>Abbrechen</translation>
    </message>
    <message>
        <source>Accept</source>
        <translation>Annehmen</translation>
    </message>
    <message>
        <source>Accept with a note</source>
        <translation>Mit Notiz annehmen</translation>
    </message>
</context>
<context>
    <name>NotificationArea</name>
    <message>
        <source>No notifications</source>
        <translation>Keine Meldungen</translation>
    </message>
    <message>
        <source>Notifications</source>
        <translation>Meldungen</translation>
    </message>
</context>
<context>
    <name>PageRegistry</name>
    <message>
        <source>Inspection result</source>
        <translation>Prüfergebnis</translation>
    </message>
    <message>
        <source>About this unit</source>
        <translation>Über das Gerät</translation>
    </message>
    <message>
        <source>New job</source>
        <translation>Neuer Auftrag</translation>
    </message>
    <message>
        <source>Name it and its ports</source>
        <translation>Name und Ports</translation>
    </message>
    <message>
        <source>Jobs</source>
        <translation>Aufträge</translation>
    </message>
    <message>
        <source>Quick inspection</source>
        <translation>Schnellprüfung</translation>
    </message>
    <message>
        <source>Results</source>
        <translation>Ergebnisse</translation>
    </message>
    <message>
        <source>Search all inspections</source>
        <translation>Alle Prüfungen durchsuchen</translation>
    </message>
    <message>
        <source>Settings</source>
        <translation>Einstellungen</translation>
    </message>
    <message>
        <source>Panel</source>
        <translation>Verteilerfeld</translation>
    </message>
    <message>
        <source>Inspect</source>
        <translation>Prüfen</translation>
    </message>
    <message>
        <source>Result</source>
        <translation>Ergebnis</translation>
    </message>
    <message>
        <source>Details</source>
        <translation>Details</translation>
    </message>
    <message>
        <source>Statistics</source>
        <translation>Statistik</translation>
    </message>
    <message>
        <source>Comparison</source>
        <translation>Vergleich</translation>
    </message>
    <message>
        <source>Report</source>
        <translation>Bericht</translation>
    </message>
    <message>
        <source>Continue an earlier one</source>
        <translation>Einen früheren fortsetzen</translation>
    </message>
    <message>
        <source>One face, of no job</source>
        <translation>Eine Stirnfläche ohne Auftrag</translation>
    </message>
    <message>
        <source>Language, theme</source>
        <translation>Sprache, Farben</translation>
    </message>
    <message>
        <source>Version, standards</source>
        <translation>Version und Normen</translation>
    </message>
</context>
<context>
    <name>Pager</name>
    <message>
        <source>Newer</source>
        <translation>Neuere</translation>
    </message>
    <message>
        <source>%1 to %2</source>
        <translation>%1 bis %2</translation>
    </message>
    <message>
        <source>no more</source>
        <translation>keine weiteren</translation>
    </message>
    <message>
        <source>Older</source>
        <translation>Ältere</translation>
    </message>
</context>
<context>
    <name>PanelPage</name>
    <message>
        <source>The result cannot be read: %1</source>
        <translation>Das Ergebnis ist nicht lesbar: %1</translation>
    </message>
    <message>
        <source>%1 of %2, %3 failed</source>
        <translation>%1 von %2, %3 nicht bestanden</translation>
    </message>
    <message>
        <source>%1 accepted</source>
        <translation>%1 angenommen</translation>
    </message>
    <message>
        <source>%1 without a verdict</source>
        <translation>%1 ohne Urteil</translation>
    </message>
    <message>
        <source>closed</source>
        <translation>abgeschlossen</translation>
    </message>
    <message>
        <source>Points of the job</source>
        <translation>Messpunkte des Auftrags</translation>
    </message>
    <message>
        <source>The job has no points</source>
        <translation>Der Auftrag hat keine Messpunkte</translation>
    </message>
    <message>
        <source>Close the job</source>
        <translation>Abschließen</translation>
    </message>
    <message>
        <source>Open it again</source>
        <translation>Wieder öffnen</translation>
    </message>
    <message>
        <source>Show result</source>
        <translation>Ergebnis</translation>
    </message>
    <message>
        <source>Inspect</source>
        <translation>Prüfen</translation>
    </message>
    <message>
        <source>%3, side %1: %2</source>
        <translation>%3, Seite %1: %2</translation>
    </message>
    <message>
        <source>%1 in doubt</source>
        <translation>%1 zweifelhaft</translation>
    </message>
</context>
<context>
    <name>PointCell</name>
    <message>
        <source>%3, side %1: %2</source>
        <translation>%3, Seite %1: %2</translation>
    </message>
</context>
<context>
    <name>ReportPage</name>
    <message>
        <source>points</source>
        <translation>Messpunkte</translation>
    </message>
    <message>
        <source>Folder for exports</source>
        <translation>Ordner für Exporte</translation>
    </message>
    <message>
        <source>USB stick %1</source>
        <translation>USB-Stick %1</translation>
    </message>
    <message>
        <source>Goes to %1</source>
        <translation>Kommt nach %1</translation>
    </message>
    <message>
        <source>Stopping …</source>
        <translation>Wird angehalten …</translation>
    </message>
    <message>
        <source>Writing …</source>
        <translation>Wird geschrieben …</translation>
    </message>
    <message>
        <source>Reading …</source>
        <translation>Wird gelesen …</translation>
    </message>
    <message>
        <source>There is no report</source>
        <translation>Es gibt keinen Bericht</translation>
    </message>
    <message>
        <source>Report: %1</source>
        <translation>Bericht: %1</translation>
    </message>
    <message>
        <source>Report</source>
        <translation>Bericht</translation>
    </message>
    <message>
        <source>What</source>
        <translation>Was</translation>
    </message>
    <message>
        <source>Report (PDF)</source>
        <translation>Bericht (PDF)</translation>
    </message>
    <message>
        <source>Everything with pictures (ZIP)</source>
        <translation>Alles mit Bildern (ZIP)</translation>
    </message>
    <message>
        <source>Table (CSV)</source>
        <translation>Tabelle (CSV)</translation>
    </message>
    <message>
        <source>Record (JSON)</source>
        <translation>Datensatz (JSON)</translation>
    </message>
    <message>
        <source>Language</source>
        <translation>Sprache</translation>
    </message>
    <message>
        <source>Where to</source>
        <translation>Wohin</translation>
    </message>
    <message>
        <source>Stop</source>
        <translation>Stopp</translation>
    </message>
    <message>
        <source>Write</source>
        <translation>Schreiben</translation>
    </message>
</context>
<context>
    <name>ReportWriter</name>
    <message>
        <source>Not everything of this job is sound</source>
        <translation>An diesem Auftrag ist nicht alles in Ordnung</translation>
    </message>
    <message>
        <source>The job has no points</source>
        <translation>Der Auftrag hat keine Messpunkte</translation>
    </message>
    <message>
        <source>All points have passed</source>
        <translation>Alle Messpunkte haben bestanden</translation>
    </message>
    <message>
        <source>The job is not finished: %1 of %2 points are open</source>
        <translation>Der Auftrag ist nicht fertig: %1 von %2 Messpunkten sind offen</translation>
    </message>
    <message>
        <source>Not all points have passed</source>
        <translation>Nicht alle Messpunkte haben bestanden</translation>
    </message>
    <message>
        <source>inspection %1</source>
        <translation>Prüfung %1</translation>
    </message>
    <message>
        <source>Pictures that are missing or damaged: %1 (%2)</source>
        <translation>Bilder, die fehlen oder beschädigt sind: %1 (%2)</translation>
    </message>
    <message>
        <source>Verdicts that are not what their rules say: %1 (%2)</source>
        <translation>Urteile, die ihren Regeln widersprechen: %1 (%2)</translation>
    </message>
    <message>
        <source>Records that cannot be read: %1 (%2)</source>
        <translation>Datensätze, die nicht lesbar sind: %1 (%2)</translation>
    </message>
    <message>
        <source>The job is too large for a report.</source>
        <translation>Der Auftrag ist zu groß für einen Bericht.</translation>
    </message>
    <message>
        <source>Somebody inspects for this job. Try again when that rests.</source>
        <translation>Für diesen Auftrag wird gerade geprüft. Danach noch einmal versuchen.</translation>
    </message>
    <message>
        <source>The job cannot be read: %1</source>
        <translation>Der Auftrag ist nicht lesbar: %1</translation>
    </message>
    <message>
        <source>Stopped. Nothing was written.</source>
        <translation>Angehalten. Es wurde nichts geschrieben.</translation>
    </message>
    <message>
        <source>Not written: there is not enough room in %1.</source>
        <translation>Nicht geschrieben: In %1 ist zu wenig Platz.</translation>
    </message>
    <message>
        <source>Not written: %1 cannot be written to.</source>
        <translation>Nicht geschrieben: Nach %1 lässt sich nicht schreiben.</translation>
    </message>
    <message>
        <source>Not written: the USB stick was pulled out.</source>
        <translation>Nicht geschrieben: Der USB-Stick wurde abgezogen.</translation>
    </message>
    <message>
        <source>Not written: there is no folder %1.</source>
        <translation>Nicht geschrieben: Einen Ordner %1 gibt es nicht.</translation>
    </message>
    <message>
        <source>Not written: there is not enough memory.</source>
        <translation>Nicht geschrieben: Der Arbeitsspeicher reicht nicht.</translation>
    </message>
    <message>
        <source>Not written: %1 is no folder that can be used.</source>
        <translation>Nicht geschrieben: %1 ist kein brauchbarer Ordner.</translation>
    </message>
    <message>
        <source>Not written: %1</source>
        <translation>Nicht geschrieben: %1</translation>
    </message>
    <message>
        <source>Written, %2: %1</source>
        <translation>Geschrieben, %2: %1</translation>
    </message>
    <message>
        <source>Written, but not everything in it is sound, %2: %1</source>
        <translation>Geschrieben, aber nicht alles darin ist in Ordnung, %2: %1</translation>
    </message>
    <message>
        <source>Other results are there now, without this job.</source>
        <translation>Nun sind andere Ergebnisse da, ohne diesen Auftrag.</translation>
    </message>
</context>
<context>
    <name>ResultPage</name>
    <message>
        <source>No port is open any more</source>
        <translation>Kein Port ist mehr offen</translation>
    </message>
    <message>
        <source>This was not kept: %1</source>
        <translation>Das wurde nicht gespeichert: %1</translation>
    </message>
    <message>
        <source>Quick inspection</source>
        <translation>Schnellprüfung</translation>
    </message>
    <message>
        <source>NOT KEPT: %1. This verdict is gone when you leave this page.</source>
        <translation>NICHT GESPEICHERT: %1. Dieses Urteil ist weg, sobald Sie die Seite verlassen.</translation>
    </message>
    <message>
        <source>The result cannot be read: %1</source>
        <translation>Das Ergebnis ist nicht lesbar: %1</translation>
    </message>
    <message>
        <source>Next port</source>
        <translation>Nächster Port</translation>
    </message>
    <message>
        <source>Clean and repeat</source>
        <translation>Reinigen, wiederholen</translation>
    </message>
    <message>
        <source>Repeat</source>
        <translation>Wiederholen</translation>
    </message>
    <message>
        <source>Accept with a note</source>
        <translation>Mit Notiz annehmen</translation>
    </message>
    <message>
        <source>Details</source>
        <translation>Details</translation>
    </message>
    <message>
        <source>%2, side %1</source>
        <translation>%2, Seite %1</translation>
    </message>
    <message>
        <source>Before and after</source>
        <translation>Vorher und nachher</translation>
    </message>
</context>
<context>
    <name>ResultWords</name>
    <message>
        <source>The record contradicts itself: its verdict is not that of its rules and defects. Please inspect the port again.</source>
        <translation>Der Datensatz widerspricht sich: Sein Urteil ist nicht das seiner Regeln und Fehlstellen. Bitte den Port noch einmal prüfen.</translation>
    </message>
    <message>
        <source>Nothing is above what the standard allows.</source>
        <translation>Nichts liegt über dem, was die Norm erlaubt.</translation>
    </message>
    <message>
        <source>Note: %1</source>
        <translation>Notiz: %1</translation>
    </message>
    <message>
        <source>It is to be cleaned and inspected again.</source>
        <translation>Wird gereinigt und noch einmal geprüft.</translation>
    </message>
    <message>
        <source>What was found</source>
        <translation>Was gefunden wurde</translation>
    </message>
</context>
<context>
    <name>ResultsPage</name>
    <message>
        <source>The result cannot be read: %1</source>
        <translation>Das Ergebnis ist nicht lesbar: %1</translation>
    </message>
    <message>
        <source>All jobs</source>
        <translation>Alle Aufträge</translation>
    </message>
    <message>
        <source>Search</source>
        <translation>Suchen</translation>
    </message>
    <message>
        <source>Job</source>
        <translation>Auftrag</translation>
    </message>
    <message>
        <source>All verdicts</source>
        <translation>Alle Urteile</translation>
    </message>
    <message>
        <source>Passed</source>
        <translation>Bestanden</translation>
    </message>
    <message>
        <source>Failed</source>
        <translation>Nicht bestanden</translation>
    </message>
    <message>
        <source>No verdict</source>
        <translation>Kein Urteil</translation>
    </message>
    <message>
        <source>Verdict</source>
        <translation>Urteil</translation>
    </message>
    <message>
        <source>Quick inspection</source>
        <translation>Schnellprüfung</translation>
    </message>
    <message>
        <source>Nothing was found</source>
        <translation>Nichts gefunden</translation>
    </message>
    <message>
        <source>%2, side %1</source>
        <translation>%2, Seite %1</translation>
    </message>
    <message>
        <source>Filter (%1)</source>
        <translation>Filter (%1)</translation>
    </message>
    <message>
        <source>Filter</source>
        <translation>Filter</translation>
    </message>
    <message>
        <source>Compare</source>
        <translation>Vergleichen</translation>
    </message>
    <message>
        <source>All standards</source>
        <translation>Alle Normen</translation>
    </message>
    <message>
        <source>Standard</source>
        <translation>Norm</translation>
    </message>
    <message>
        <source>Any time</source>
        <translation>Jederzeit</translation>
    </message>
    <message>
        <source>Today</source>
        <translation>Heute</translation>
    </message>
    <message>
        <source>Last 7 days</source>
        <translation>Letzte 7 Tage</translation>
    </message>
    <message>
        <source>Last 30 days</source>
        <translation>Letzte 30 Tage</translation>
    </message>
    <message>
        <source>Time</source>
        <translation>Zeit</translation>
    </message>
    <message>
        <source>Show all</source>
        <translation>Alle zeigen</translation>
    </message>
    <message>
        <source>Tap two inspections to compare them</source>
        <translation>Zwei Prüfungen antippen, um sie zu vergleichen</translation>
    </message>
    <message>
        <source>Tap the second inspection</source>
        <translation>Die zweite Prüfung antippen</translation>
    </message>
    <message>
        <source>chosen</source>
        <translation>gewählt</translation>
    </message>
    <message>
        <source>Statistics of the job</source>
        <translation>Statistik des Auftrags</translation>
    </message>
    <message>
        <source>Inspections</source>
        <translation>Prüfungen</translation>
    </message>
</context>
<context>
    <name>RuleRow</name>
    <message>
        <source>%1, %2 %3: %4 found, %5 allowed</source>
        <translation>%1, %2 %3: %4 gefunden, %5 erlaubt</translation>
    </message>
</context>
<context>
    <name>RunWords</name>
    <message>
        <source>Type the first and the last name.</source>
        <translation>Ersten und letzten Namen eingeben.</translation>
    </message>
    <message>
        <source>The last name comes before the first one here.</source>
        <translation>Der letzte Name kommt hier vor dem ersten.</translation>
    </message>
    <message>
        <source>A letter in one name, another kind of sign in the other.</source>
        <translation>In einem Namen ein Buchstabe, im anderen ein anderes Zeichen.</translation>
    </message>
    <message>
        <source>These are more than %1 points.</source>
        <translation>Das sind mehr als %1 Messpunkte.</translation>
    </message>
    <message>
        <source>The two names have not the same length or parts.</source>
        <translation>Die beiden Namen haben nicht dieselbe Länge oder dieselben Teile.</translation>
    </message>
</context>
<context>
    <name>ScopePanel</name>
    <message>
        <source>Simulated scope</source>
        <translation>Simuliertes Mikroskop</translation>
    </message>
    <message>
        <source>Focus knob</source>
        <translation>Fokusknopf</translation>
    </message>
    <message>
        <source>Fibre in the adapter</source>
        <translation>Faser im Adapter</translation>
    </message>
    <message>
        <source>Unplug</source>
        <translation>Abziehen</translation>
    </message>
    <message>
        <source>Plug in</source>
        <translation>Anschließen</translation>
    </message>
</context>
<context>
    <name>SettingsPage</name>
    <message>
        <source>Language</source>
        <translation>Sprache</translation>
    </message>
    <message>
        <source>Operator of new jobs</source>
        <translation>Prüfer neuer Aufträge</translation>
    </message>
    <message>
        <source>Standard of quick inspections</source>
        <translation>Norm der Schnellprüfung</translation>
    </message>
    <message>
        <source>Folder for exports</source>
        <translation>Ordner für Exporte</translation>
    </message>
    <message>
        <source>The disk is nearly full.</source>
        <translation>Der Datenträger ist fast voll.</translation>
    </message>
    <message>
        <source>Results are kept in %2; %1 are free.</source>
        <translation>Ergebnisse liegen in %2; %1 sind frei.</translation>
    </message>
    <message>
        <source>Theme</source>
        <translation>Farben</translation>
    </message>
    <message>
        <source>Light</source>
        <translation>Hell</translation>
    </message>
    <message>
        <source>Dark</source>
        <translation>Dunkel</translation>
    </message>
    <message>
        <source>Go on by itself after a passed port</source>
        <translation>Nach einem bestandenen Port von selbst weiter</translation>
    </message>
</context>
<context>
    <name>ShownResult</name>
    <message>
        <source>There is no picture</source>
        <translation>Es gibt kein Bild</translation>
    </message>
    <message>
        <source>The picture is missing</source>
        <translation>Das Bild fehlt</translation>
    </message>
    <message>
        <source>The picture is damaged or cannot be shown</source>
        <translation>Das Bild ist beschädigt oder nicht darstellbar</translation>
    </message>
</context>
<context>
    <name>StatisticsPage</name>
    <message>
        <source>%1 of %2 ports are open: not inspected, or to be repeated.</source>
        <translation>%1 von %2 Ports sind offen: nicht geprüft oder zu wiederholen.</translation>
    </message>
    <message>
        <source>%1 without a verdict.</source>
        <translation>%1 ohne Urteil.</translation>
    </message>
    <message>
        <source>%1 in doubt: the record contradicts itself.</source>
        <translation>%1 zweifelhaft: Der Datensatz widerspricht sich.</translation>
    </message>
    <message>
        <source>Statistics of %1</source>
        <translation>Statistik von %1</translation>
    </message>
    <message>
        <source>The results cannot be read: %1</source>
        <translation>Die Ergebnisse sind nicht lesbar: %1</translation>
    </message>
    <message>
        <source>%1 passed</source>
        <translation>%1 bestanden</translation>
    </message>
    <message>
        <source>There is no verdict yet</source>
        <translation>Noch gibt es kein Urteil</translation>
    </message>
    <message>
        <source>%1 of the %2 ports with a verdict; the job has %3</source>
        <translation>%1 der %2 Ports mit Urteil; der Auftrag hat %3</translation>
    </message>
    <message>
        <source>Ports, by their last inspection</source>
        <translation>Ports, nach ihrer letzten Prüfung</translation>
    </message>
    <message>
        <source>Ports that fail, by zone and rule</source>
        <translation>Nicht bestandene Ports, nach Zone und Regel</translation>
    </message>
    <message>
        <source>No rule is violated.</source>
        <translation>Keine Regel ist verletzt.</translation>
    </message>
    <message>
        <source>Sizes of the defects that ports fail for</source>
        <translation>Größen der Fehlstellen, an denen Ports scheitern</translation>
    </message>
    <message>
        <source>Time that a port took</source>
        <translation>Zeit für einen Port</translation>
    </message>
    <message>
        <source>Median %1, the longest %2</source>
        <translation>Median %1, längste %2</translation>
    </message>
    <message>
        <source>Not known: it takes inspections of two ports, one after the other.</source>
        <translation>Nicht bekannt: Dazu braucht es Prüfungen zweier Ports nacheinander.</translation>
    </message>
    <message>
        <source>With cleaning and repeating. Ports with a pause of more than 30 minutes are left out.</source>
        <translation>Mit Reinigen und Wiederholen. Ports mit einer Pause von mehr als 30 Minuten zählen nicht.</translation>
    </message>
    <message>
        <source>Inspections of the job: %1</source>
        <translation>Prüfungen des Auftrags: %1</translation>
    </message>
    <message>
        <source>of these %1 accepted</source>
        <translation>davon %1 angenommen</translation>
    </message>
    <message>
        <source>Statistics</source>
        <translation>Statistik</translation>
    </message>
</context>
<context>
    <name>StatusBar</name>
    <message>
        <source>No fibre scope</source>
        <translation>Kein Fasermikroskop</translation>
    </message>
    <message>
        <source>%1 (simulated)</source>
        <translation>%1 (simuliert)</translation>
    </message>
    <message>
        <source>Notifications</source>
        <translation>Meldungen</translation>
    </message>
</context>
<context>
    <name>StoreWords</name>
    <message>
        <source>The results were damaged and are kept aside in %1. New ones were begun.</source>
        <translation>Die Ergebnisse waren beschädigt und liegen nun in %1. Neue wurden begonnen.</translation>
    </message>
    <message>
        <source>Another program has the results open. Nothing can be stored until it ends.</source>
        <translation>Ein anderes Programm hat die Ergebnisse offen. Bis es endet, kann nichts gespeichert werden.</translation>
    </message>
    <message>
        <source>The folder of the results cannot be written. Nothing can be stored.</source>
        <translation>Der Ordner der Ergebnisse ist nicht beschreibbar. Nichts kann gespeichert werden.</translation>
    </message>
    <message>
        <source>The disk is full. Nothing can be stored.</source>
        <translation>Der Datenträger ist voll. Nichts kann gespeichert werden.</translation>
    </message>
    <message>
        <source>A later version of this program wrote the results. They can only be looked at.</source>
        <translation>Eine neuere Version dieses Programms schrieb die Ergebnisse. Sie lassen sich nur ansehen.</translation>
    </message>
    <message>
        <source>The results cannot be opened: %1</source>
        <translation>Die Ergebnisse lassen sich nicht öffnen: %1</translation>
    </message>
    <message>
        <source>the disk is full</source>
        <translation>der Datenträger ist voll</translation>
    </message>
    <message>
        <source>the folder of the results cannot be written</source>
        <translation>der Ordner der Ergebnisse ist nicht beschreibbar</translation>
    </message>
    <message>
        <source>another program has the results open</source>
        <translation>ein anderes Programm hat die Ergebnisse offen</translation>
    </message>
    <message>
        <source>a later version of this program wrote the results</source>
        <translation>eine neuere Version dieses Programms schrieb die Ergebnisse</translation>
    </message>
    <message>
        <source>the results are damaged</source>
        <translation>die Ergebnisse sind beschädigt</translation>
    </message>
    <message>
        <source>the folder of the results was moved or removed</source>
        <translation>der Ordner der Ergebnisse wurde verschoben oder entfernt</translation>
    </message>
    <message>
        <source>there is not enough memory</source>
        <translation>der Arbeitsspeicher reicht nicht</translation>
    </message>
    <message>
        <source>other results are there now</source>
        <translation>nun sind andere Ergebnisse da</translation>
    </message>
</context>
<context>
    <name>TesterStyle</name>
    <message>
        <source>open</source>
        <translation>offen</translation>
    </message>
    <message>
        <source>passed</source>
        <translation>bestanden</translation>
    </message>
    <message>
        <source>failed</source>
        <translation>nicht bestanden</translation>
    </message>
    <message>
        <source>accepted</source>
        <translation>angenommen</translation>
    </message>
    <message>
        <source>no verdict</source>
        <translation>kein Urteil</translation>
    </message>
    <message>
        <source>Core</source>
        <translation>Kern</translation>
    </message>
    <message>
        <source>Cladding</source>
        <translation>Mantel</translation>
    </message>
    <message>
        <source>Adhesive</source>
        <translation>Kleber</translation>
    </message>
    <message>
        <source>Contact</source>
        <translation>Kontakt</translation>
    </message>
    <message>
        <source>in doubt</source>
        <translation>zweifelhaft</translation>
    </message>
</context>
<context>
    <name>TitleBar</name>
    <message>
        <source>Zones</source>
        <translation>Zonen</translation>
    </message>
    <message>
        <source>Details</source>
        <translation>Details</translation>
    </message>
    <message>
        <source>Statistics</source>
        <translation>Statistik</translation>
    </message>
    <message>
        <source>Report</source>
        <translation>Bericht</translation>
    </message>
    <message>
        <source>Back</source>
        <translation>Zurück</translation>
    </message>
</context>
<context>
    <name>VerdictBar</name>
    <message>
        <source>Passed, but not kept</source>
        <translation>Bestanden, aber nicht gespeichert</translation>
    </message>
    <message>
        <source>Failed, but not kept</source>
        <translation>Nicht bestanden und nicht gespeichert</translation>
    </message>
    <message>
        <source>In doubt</source>
        <translation>Zweifelhaft</translation>
    </message>
    <message>
        <source>No verdict</source>
        <translation>Kein Urteil</translation>
    </message>
    <message>
        <source>Failed, accepted</source>
        <translation>Nicht bestanden, angenommen</translation>
    </message>
    <message>
        <source>Passed</source>
        <translation>Bestanden</translation>
    </message>
    <message>
        <source>Failed</source>
        <translation>Nicht bestanden</translation>
    </message>
    <message>
        <source>No verdict, accepted</source>
        <translation>Kein Urteil, angenommen</translation>
    </message>
</context>
<context>
    <name>ZonePicture</name>
    <message>
        <source>Picture of the end face</source>
        <translation>Bild der Stirnfläche</translation>
    </message>
</context>
</TS>
