<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="de" sourcelanguage="en">
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
