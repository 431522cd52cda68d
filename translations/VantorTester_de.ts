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
</context>
<context>
    <name>BottomToolBar</name>
    <message>
        <source>Language</source>
        <translation>Sprache</translation>
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
        <translation>Gefunden</translation>
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
</context>
<context>
    <name>HomePage</name>
    <message>
        <source>Please plug in the fibre scope</source>
        <translation>Bitte das Fasermikroskop anschließen</translation>
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
</context>
<context>
    <name>MessageBox</name>
    <message>
        <source>OK</source>
        <translation>OK</translation>
    </message>
</context>
<context>
    <name>NotificationArea</name>
    <message>
        <source>No notifications</source>
        <translation>Keine Meldungen</translation>
    </message>
</context>
<context>
    <name>PageRegistry</name>
    <message>
        <source>Fibre inspection</source>
        <translation>Faserprüfung</translation>
    </message>
    <message>
        <source>Inspect and grade a connector end face</source>
        <translation>Stirnfläche eines Steckers prüfen und bewerten</translation>
    </message>
    <message>
        <source>Inspection result</source>
        <translation>Prüfergebnis</translation>
    </message>
    <message>
        <source>About this unit</source>
        <translation>Über dieses Gerät</translation>
    </message>
    <message>
        <source>Version, scope and test standards</source>
        <translation>Version, Mikroskop und Prüfnormen</translation>
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
    <name>StatusBar</name>
    <message>
        <source>No fibre scope</source>
        <translation>Kein Fasermikroskop</translation>
    </message>
    <message>
        <source>%1 (simulated)</source>
        <translation>%1 (simuliert)</translation>
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
</context>
</TS>
