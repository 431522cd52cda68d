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
    <message>
        <source>In focus</source>
        <translation>Scharf</translation>
    </message>
    <message>
        <source>Out of focus</source>
        <translation>Unscharf</translation>
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
    <message>
        <source>Picture of the end face</source>
        <translation>Bild der Stirnfläche</translation>
    </message>
    <message>
        <source>Passed</source>
        <translation>Bestanden</translation>
    </message>
    <message>
        <source>Failed</source>
        <translation>Nicht bestanden</translation>
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
    <name>Report</name>
    <message>
        <source>the job is still open</source>
        <translation>der Auftrag ist noch offen</translation>
    </message>
    <message>
        <source>Customer</source>
        <translation>Kunde</translation>
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
        <source>Standard</source>
        <translation>Norm</translation>
    </message>
    <message>
        <source>Job begun</source>
        <translation>Auftrag begonnen</translation>
    </message>
    <message>
        <source>Job closed</source>
        <translation>Auftrag abgeschlossen</translation>
    </message>
    <message>
        <source>Points</source>
        <translation>Messpunkte</translation>
    </message>
    <message>
        <source>Inspections</source>
        <translation>Prüfungen</translation>
    </message>
    <message>
        <source>Scope</source>
        <translation>Mikroskop</translation>
    </message>
    <message>
        <source>Inspected with</source>
        <translation>Geprüft mit</translation>
    </message>
    <message>
        <source>Report made</source>
        <translation>Bericht erstellt</translation>
    </message>
    <message>
        <source>Identity of the job</source>
        <translation>Kennung des Auftrags</translation>
    </message>
    <message>
        <source>The job has no points</source>
        <translation>Der Auftrag hat keine Messpunkte</translation>
    </message>
    <message>
        <source>All points passed</source>
        <translation>Alle Messpunkte bestanden</translation>
    </message>
    <message>
        <source>%1 of %2 points passed</source>
        <translation>%1 von %2 Messpunkten bestanden</translation>
    </message>
    <message>
        <source>inspections %1 and %2 more</source>
        <translation>Prüfungen %1 und %2 weitere</translation>
    </message>
    <message>
        <source>inspections %1</source>
        <translation>Prüfungen %1</translation>
    </message>
    <message>
        <source>Pictures that are missing or damaged: %1 (%2).</source>
        <translation>Bilder, die fehlen oder beschädigt sind: %1 (%2).</translation>
    </message>
    <message>
        <source>Records that contradict themselves or their job: %1 (%2). They count as doubtful.</source>
        <translation>Datensätze, die sich oder ihrem Auftrag widersprechen: %1 (%2). Sie gelten als zweifelhaft.</translation>
    </message>
    <message>
        <source>Records that cannot be read: %1 (%2). They are left out, and count as doubtful.</source>
        <translation>Datensätze, die nicht lesbar sind: %1 (%2). Sie fehlen hier und gelten als zweifelhaft.</translation>
    </message>
    <message>
        <source>Points that were not inspected, or are to be inspected again: %1.</source>
        <translation>Messpunkte, die nicht geprüft wurden oder noch einmal zu prüfen sind: %1.</translation>
    </message>
    <message>
        <source>To be noted</source>
        <translation>Zu beachten</translation>
    </message>
    <message>
        <source>Fibre inspection report</source>
        <translation>Bericht über die Faserprüfung</translation>
    </message>
    <message>
        <source>There is no picture.</source>
        <translation>Es gibt kein Bild.</translation>
    </message>
    <message>
        <source>The pictures are missing or damaged.</source>
        <translation>Die Bilder fehlen oder sind beschädigt.</translation>
    </message>
    <message>
        <source>The photograph; the annotated picture cannot be shown.</source>
        <translation>Das Foto; das Bild mit den Markierungen kann nicht gezeigt werden.</translation>
    </message>
    <message>
        <source>The photograph; the annotated picture is missing or damaged.</source>
        <translation>Das Foto; das Bild mit den Markierungen fehlt oder ist beschädigt.</translation>
    </message>
    <message>
        <source>%1: %2 %3: %4 found, none allowed; the largest %5.</source>
        <translation>%1: %2 %3: %4 gefunden, keine erlaubt; größter Wert %5.</translation>
    </message>
    <message>
        <source>%1: %2 %3: %4 found, %5 allowed; the largest %6.</source>
        <translation>%1: %2 %3: %4 gefunden, %5 erlaubt; größter Wert %6.</translation>
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
        <source>Inspection %1, %2</source>
        <translation>Prüfung %1, %2</translation>
    </message>
    <message>
        <source>The record of inspection %1 cannot be read.</source>
        <translation>Der Datensatz der Prüfung %1 ist nicht lesbar.</translation>
    </message>
    <message>
        <source>The record contradicts itself or its job. Please inspect this point again.</source>
        <translation>Der Datensatz widerspricht sich oder seinem Auftrag. Bitte diesen Messpunkt noch einmal prüfen.</translation>
    </message>
    <message>
        <source>Accepted by the operator.</source>
        <translation>Vom Prüfer angenommen.</translation>
    </message>
    <message>
        <source>and %1 more</source>
        <translation>und %1 weitere</translation>
    </message>
    <message>
        <source>Zone</source>
        <translation>Zone</translation>
    </message>
    <message>
        <source>Kind</source>
        <translation>Art</translation>
    </message>
    <message>
        <source>Size</source>
        <translation>Größe</translation>
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
        <source>%1 at (%2; %3)</source>
        <translation>%1 bei (%2; %3)</translation>
    </message>
    <message>
        <source>Beyond what is allowed (place in µm from the centre of the fibre, x right, y down): %1</source>
        <translation>Über das Erlaubte hinaus (Ort in µm von der Fasermitte, x nach rechts, y nach unten): %1</translation>
    </message>
    <message>
        <source>Points that did not pass</source>
        <translation>Nicht bestandene Messpunkte</translation>
    </message>
    <message>
        <source>Pictures: outlines of all that was found in red, the zones in blue, what is beyond the rules in yellow, numbered from the largest.</source>
        <translation>Bilder: die Umrisse alles Gefundenen in Rot, die Zonen in Blau, was über die Regeln hinausgeht in Gelb, nummeriert ab dem größten.</translation>
    </message>
    <message>
        <source>On clean faces a false defect was found in %1 of the single-mode and %2 of the multimode faces.</source>
        <translation>Auf sauberen Stirnflächen wurde bei %1 der Singlemode- und %2 der Multimode-Flächen eine Fehlstelle gefunden, die keine ist.</translation>
    </message>
    <message>
        <source>Dark pits are found reliably (95 % or more) from %1 µm in the cladding and from %2 µm in the core zone; below 2 µm almost none is found.</source>
        <translation>Dunkle Löcher werden im Mantel ab %1 µm und in der Kernzone ab %2 µm zuverlässig gefunden (95 % oder mehr), unter 2 µm fast nie.</translation>
    </message>
    <message>
        <source>Small blemishes are measured too large: a pit of 2.5 µm in the core zone by %1 µm.</source>
        <translation>Kleine Fehlstellen werden zu groß gemessen: ein Loch von 2,5 µm in der Kernzone um %1 µm.</translation>
    </message>
    <message>
        <source>Scratches are found from %1 µm of width and %2 % of contrast beside the core.</source>
        <translation>Kratzer werden neben dem Kern ab %1 µm Breite und %2 % Kontrast gefunden.</translation>
    </message>
    <message>
        <source>A scratch in the cladding should never fail a face. One of 35 µm length did in %1 of the cases, one of 50 µm in %2, one of 80 µm in %3.</source>
        <translation>Ein Kratzer im Mantel dürfte nie zum Durchfallen führen. Einer von 35 µm Länge tat es in %1 der Fälle, einer von 50 µm in %2, einer von 80 µm in %3.</translation>
    </message>
    <message>
        <source>The verdict agreed with that of the rules on the true blemishes in %1 of the mixed faces by SM RL45, and in %2 by MM.</source>
        <translation>Das Urteil stimmte bei %1 der gemischten Flächen nach SM RL45 und bei %2 nach MM mit dem überein, was die Regeln über die wahren Fehlstellen sagen.</translation>
    </message>
    <message>
        <source>At the margin a face may pass once and fail once: %1 of the single-mode files there changed their verdict when analysed again.</source>
        <translation>An der Grenze kann eine Fläche einmal bestehen und einmal nicht: Dort änderten %1 der Singlemode-Dateien ihr Urteil, als sie noch einmal ausgewertet wurden.</translation>
    </message>
    <message>
        <source>Bright blemishes inside the core zone are not seen: %1 were found.</source>
        <translation>Helle Fehlstellen in der Kernzone werden nicht gesehen: %1 wurden gefunden.</translation>
    </message>
    <message>
        <source>What a verdict says, and what it cannot say</source>
        <translation>Was ein Urteil sagt, und was es nicht sagen kann</translation>
    </message>
    <message>
        <source>A verdict says whether what was found on one photograph of an end face keeps to the rules of the standard on the cover. It says nothing about what the photograph does not show, about dirt that came later, about the other end of the link, or about its attenuation.</source>
        <translation>Ein Urteil sagt, ob das, was auf einem Foto einer Stirnfläche gefunden wurde, die Regeln der Norm auf dem Deckblatt einhält. Es sagt nichts über das, was das Foto nicht zeigt, über späteren Schmutz, über das andere Ende der Strecke oder über deren Dämpfung.</translation>
    </message>
    <message>
        <source>Accepted: it did not pass, and the operator accepted it. Open: not inspected, or to be inspected again. No verdict: the inspection could not be made. Doubtful: the record cannot be read, or contradicts itself. None of these has passed.</source>
        <translation>Angenommen: nicht bestanden, aber vom Prüfer angenommen. Offen: nicht geprüft oder noch einmal zu prüfen. Ohne Urteil: Die Prüfung war nicht möglich. Zweifelhaft: Der Datensatz ist nicht lesbar oder widerspricht sich. Nichts davon hat bestanden.</translation>
    </message>
    <message>
        <source>How far a verdict can be relied on was measured on %1 painted faces whose blemishes are known, in %2 analyses. The figures hold for the conditions of that study, and are no promise about other photographs. In parentheses: the 95 % confidence interval, in per cent.</source>
        <translation>Wie weit man sich auf ein Urteil verlassen kann, wurde an %1 gemalten Flächen mit bekannten Fehlstellen in %2 Auswertungen gemessen. Die Zahlen gelten für die Bedingungen dieser Untersuchung und versprechen nichts über andere Fotos. In Klammern: das 95-%-Vertrauensintervall in Prozent.</translation>
    </message>
    <message>
        <source>Panel</source>
        <translation>Verteilerfeld</translation>
    </message>
    <message>
        <source>No.</source>
        <translation>Nr.</translation>
    </message>
    <message>
        <source>Point</source>
        <translation>Messpunkt</translation>
    </message>
    <message>
        <source>Side</source>
        <translation>Seite</translation>
    </message>
    <message>
        <source>Fibre</source>
        <translation>Faser</translation>
    </message>
    <message>
        <source>Result</source>
        <translation>Ergebnis</translation>
    </message>
    <message>
        <source>Core (µm)</source>
        <translation>Kern (µm)</translation>
    </message>
    <message>
        <source>Cladding (µm)</source>
        <translation>Mantel (µm)</translation>
    </message>
    <message>
        <source>none</source>
        <translation>keine</translation>
    </message>
    <message>
        <source>%1, up to %2</source>
        <translation>%1, bis %2</translation>
    </message>
    <message>
        <source>%1 inspections</source>
        <translation>%1 Prüfungen</translation>
    </message>
    <message>
        <source>to be inspected again</source>
        <translation>noch einmal zu prüfen</translation>
    </message>
    <message>
        <source>Of each point its last inspection. Core and cladding: how many defects were found there, and the size of the largest in micrometres.</source>
        <translation>Von jedem Messpunkt die letzte Prüfung. Kern und Mantel: wie viele Fehlstellen dort gefunden wurden und die Größe der größten in Mikrometern.</translation>
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
        <source>There was no picture.</source>
        <translation>Es gab kein Bild.</translation>
    </message>
    <message>
        <source>What was given was no file.</source>
        <translation>Das Angegebene war keine Datei.</translation>
    </message>
    <message>
        <source>The picture could not be read.</source>
        <translation>Das Bild war nicht lesbar.</translation>
    </message>
    <message>
        <source>The picture was an empty file.</source>
        <translation>Das Bild war eine leere Datei.</translation>
    </message>
    <message>
        <source>The picture was of an unknown format.</source>
        <translation>Das Bild hatte ein unbekanntes Format.</translation>
    </message>
    <message>
        <source>The picture was damaged.</source>
        <translation>Das Bild war beschädigt.</translation>
    </message>
    <message>
        <source>The picture was too large.</source>
        <translation>Das Bild war zu groß.</translation>
    </message>
    <message>
        <source>The picture could not be converted.</source>
        <translation>Das Bild ließ sich nicht umwandeln.</translation>
    </message>
    <message>
        <source>The scale could not be used.</source>
        <translation>Der Maßstab war nicht brauchbar.</translation>
    </message>
    <message>
        <source>No fibre was found in the picture.</source>
        <translation>Auf dem Bild wurde keine Faser gefunden.</translation>
    </message>
    <message>
        <source>More than one fibre was found in the picture.</source>
        <translation>Auf dem Bild wurde mehr als eine Faser gefunden.</translation>
    </message>
    <message>
        <source>The fibre was too close to the border of the picture.</source>
        <translation>Die Faser war zu nah am Bildrand.</translation>
    </message>
    <message>
        <source>The analysis was broken off.</source>
        <translation>Die Auswertung wurde abgebrochen.</translation>
    </message>
    <message>
        <source>Unknown</source>
        <translation>Unbekannt</translation>
    </message>
    <message>
        <source>Manual</source>
        <translation>Manuell</translation>
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
        <source>The reason is one that this program does not know.</source>
        <translation>Den Grund kennt dieses Programm nicht.</translation>
    </message>
    <message>
        <source>Page %1 of %2</source>
        <translation>Seite %1 von %2</translation>
    </message>
    <message>
        <source>Open</source>
        <translation>Offen</translation>
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
        <source>Accepted</source>
        <translation>Angenommen</translation>
    </message>
    <message>
        <source>No verdict</source>
        <translation>Ohne Urteil</translation>
    </message>
    <message>
        <source>Doubtful</source>
        <translation>Zweifelhaft</translation>
    </message>
    <message>
        <source>Points that fail, by zone and rule</source>
        <translation>Nicht bestandene Messpunkte nach Zone und Regel</translation>
    </message>
    <message>
        <source>No rule is violated.</source>
        <translation>Keine Regel ist verletzt.</translation>
    </message>
    <message>
        <source>Sizes of the defects that points fail for</source>
        <translation>Größen der Fehlstellen, derentwegen Messpunkte nicht bestehen</translation>
    </message>
    <message>
        <source>%1 s</source>
        <translation>%1 s</translation>
    </message>
    <message>
        <source>Pass rate of the points with a verdict</source>
        <translation>Anteil der bestandenen unter den beurteilten Messpunkten</translation>
    </message>
    <message>
        <source>Points that passed</source>
        <translation>Bestandene Messpunkte</translation>
    </message>
    <message>
        <source>Inspections of the job</source>
        <translation>Prüfungen des Auftrags</translation>
    </message>
    <message>
        <source>Median time from one inspection to the next</source>
        <translation>Median der Zeit von Prüfung zu Prüfung</translation>
    </message>
    <message>
        <source>Statistics</source>
        <translation>Statistik</translation>
    </message>
    <message>
        <source>Of each point its last inspection counts, also where it is to be repeated or in doubt. In the pass rate an accepted point has failed, and one that is open or in doubt does not count.</source>
        <translation>Von jedem Messpunkt zählt die letzte Prüfung, auch wo sie zu wiederholen oder zweifelhaft ist. Beim Anteil der bestandenen hat ein angenommener nicht bestanden, und ein offener oder zweifelhafter zählt nicht.</translation>
    </message>
    <message>
        <source>The complete record is attached to this file as record.json. How far a verdict can be relied on is told on the last page.</source>
        <translation>Der vollständige Datensatz ist dieser Datei als record.json angehängt. Wie weit man sich auf ein Urteil verlassen kann, steht auf der letzten Seite.</translation>
    </message>
    <message>
        <source>inspection %1</source>
        <translation>Prüfung %1</translation>
    </message>
    <message>
        <source>All points passed; see what is to be noted</source>
        <translation>Alle Messpunkte bestanden; Hinweise beachten</translation>
    </message>
    <message>
        <source>The picture cannot be shown.</source>
        <translation>Das Bild kann nicht gezeigt werden.</translation>
    </message>
    <message>
        <source>picture missing or damaged</source>
        <translation>Bild fehlt oder ist beschädigt</translation>
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
