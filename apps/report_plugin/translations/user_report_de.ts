<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="de_DE">
<context>
    <name>UserReport</name>
    <message>
        <source>User Report</source>
        <translation>Benutzerbericht</translation>
    </message>
    <message>
        <source>Groups</source>
        <translation>Gruppen</translation>
    </message>
    <message>
        <source>Member of no group.</source>
        <translation>In keiner Gruppe.</translation>
    </message>
    <message>
        <source>Access Rights</source>
        <translation>Zutrittsrechte</translation>
    </message>
    <message>
        <source>Access Point</source>
        <translation>Zutrittspunkt</translation>
    </message>
    <message>
        <source>Location</source>
        <translation>Ort</translation>
    </message>
    <message>
        <source>Valid From</source>
        <translation>Gültig ab</translation>
    </message>
    <message>
        <source>Valid To</source>
        <translation>Gültig bis</translation>
    </message>
    <message>
        <source>No access rights of their own.</source>
        <translation>Keine eigenen Zutrittsrechte.</translation>
    </message>
    <message>
        <source>Media</source>
        <translation>Medien</translation>
    </message>
    <message>
        <source>Number</source>
        <translation>Nummer</translation>
    </message>
    <message>
        <source>Type</source>
        <translation>Typ</translation>
    </message>
    <message>
        <source>Description</source>
        <translation>Beschreibung</translation>
    </message>
    <message>
        <source>UID</source>
        <translation>UID</translation>
    </message>
    <message>
        <source>No media handed out.</source>
        <translation>Keine Medien ausgegeben.</translation>
    </message>
    <message>
        <source>Codes</source>
        <translation>Codes</translation>
    </message>
    <message>
        <source>Code</source>
        <translation>Code</translation>
    </message>
    <message>
        <source>No codes.</source>
        <translation>Keine Codes.</translation>
    </message>
    <message>
        <source>unlimited</source>
        <translation>unbegrenzt</translation>
    </message>
    <message>
        <source>from %1</source>
        <translation>ab %1</translation>
    </message>
    <message>
        <source>until %1</source>
        <translation>bis %1</translation>
    </message>
    <message>
        <source>%1 digits</source>
        <translation>%1 Ziffern</translation>
    </message>
    <message>
        <source>Page %1 of %2</source>
        <translation>Seite %1 von %2</translation>
    </message>
    <message>
        <source>Department</source>
        <translation>Abteilung</translation>
    </message>
    <message>
        <source>Personnel Number</source>
        <translation>Personalnummer</translation>
    </message>
    <message>
        <source>Email</source>
        <translation>E-Mail</translation>
    </message>
    <message>
        <source>Phone</source>
        <translation>Telefon</translation>
    </message>
</context>
</TS>
