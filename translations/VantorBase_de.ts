<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="de" sourcelanguage="en">
<context>
    <name>CameraPreview</name>
    <message>
        <source>Initializing camera</source>
        <translation>Kamera wird gestartet</translation>
    </message>
</context>
<context>
    <name>FiberInspectionPage</name>
    <message>
        <source>Image out of Focus</source>
        <translation>Bild unscharf</translation>
    </message>
    <message>
        <source>Please adjust image focus and try again.

Please make sure that focus indicator in top right corner turns green. If it&apos;s red then image is out of focus. Green means image is focused.</source>
        <translation>Bitte das Bild scharf stellen und noch einmal versuchen.

Die Anzeige oben rechts im Bild muss grün werden: Rot bedeutet unscharf, Grün bedeutet scharf.</translation>
    </message>
    <message>
        <source>Turn focus knob slowly from left to right &amp; left again</source>
        <translation>Fokusknopf langsam von links nach rechts und wieder nach links drehen</translation>
    </message>
    <message>
        <source>Test Standard</source>
        <translation>Prüfnorm</translation>
    </message>
    <message>
        <source>Analyse</source>
        <translation>Prüfen</translation>
    </message>
    <message>
        <source>Auto Analyse</source>
        <translation>Automatik</translation>
    </message>
</context>
<context>
    <name>FiberInspectionResultPage</name>
    <message>
        <source>Connector test passed</source>
        <translation>Stecker bestanden</translation>
    </message>
    <message>
        <source>Connector test failed</source>
        <translation>Stecker nicht bestanden</translation>
    </message>
    <message>
        <source>Processing image

Please wait

</source>
        <translation>Bild wird ausgewertet

Bitte warten

</translation>
    </message>
    <message>
        <source>There is no picture: it could not be saved. The disk may be full.</source>
        <translation>Es gibt kein Bild: Es konnte nicht gespeichert werden. Vielleicht ist der Datenträger voll.</translation>
    </message>
    <message>
        <source>There is no picture: it could not be filed.</source>
        <translation>Es gibt kein Bild: Es konnte nicht abgelegt werden.</translation>
    </message>
</context>
<context>
    <name>LoadingComponent</name>
    <message>
        <source>Loading</source>
        <translation>Wird geladen</translation>
    </message>
</context>
<context>
    <name>QObject</name>
    <message>
        <source>Manual</source>
        <translation>Manuell</translation>
    </message>
</context>
<context>
    <name>UnitHelper</name>
    <message>
        <source>bps</source>
        <translation>bit/s</translation>
    </message>
    <message>
        <source>Kbps</source>
        <translation>kbit/s</translation>
    </message>
    <message>
        <source>Mbps</source>
        <translation>Mbit/s</translation>
    </message>
    <message>
        <source>Gbps</source>
        <translation>Gbit/s</translation>
    </message>
    <message>
        <source>min</source>
        <translation>Min.</translation>
    </message>
    <message>
        <source>sec</source>
        <translation>Sek.</translation>
    </message>
</context>
</TS>
