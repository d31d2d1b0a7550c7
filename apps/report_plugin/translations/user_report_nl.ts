<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="nl_NL">
<context>
    <name>UserReport</name>
    <message>
        <source>User Report</source>
        <translation>Gebruikersrapport</translation>
    </message>
    <message>
        <source>Groups</source>
        <translation>Groepen</translation>
    </message>
    <message>
        <source>Member of no group.</source>
        <translation>Lid van geen enkele groep.</translation>
    </message>
    <message>
        <source>Access Rights</source>
        <translation>Toegangsrechten</translation>
    </message>
    <message>
        <source>Access Point</source>
        <translation>Toegangspunt</translation>
    </message>
    <message>
        <source>Location</source>
        <translation>Locatie</translation>
    </message>
    <message>
        <source>Valid From</source>
        <translation>Geldig vanaf</translation>
    </message>
    <message>
        <source>Valid To</source>
        <translation>Geldig tot</translation>
    </message>
    <message>
        <source>No access rights of their own.</source>
        <translation>Geen eigen toegangsrechten.</translation>
    </message>
    <message>
        <source>Media</source>
        <translation>Media</translation>
    </message>
    <message>
        <source>Number</source>
        <translation>Nummer</translation>
    </message>
    <message>
        <source>Type</source>
        <translation>Type</translation>
    </message>
    <message>
        <source>Description</source>
        <translation>Omschrijving</translation>
    </message>
    <message>
        <source>UID</source>
        <translation>UID</translation>
    </message>
    <message>
        <source>No media handed out.</source>
        <translation>Geen media uitgegeven.</translation>
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
        <translation>Geen codes.</translation>
    </message>
    <message>
        <source>unlimited</source>
        <translation>onbeperkt</translation>
    </message>
    <message>
        <source>from %1</source>
        <translation>vanaf %1</translation>
    </message>
    <message>
        <source>until %1</source>
        <translation>tot %1</translation>
    </message>
    <message>
        <source>%1 digits</source>
        <translation>%1 cijfers</translation>
    </message>
    <message>
        <source>Page %1 of %2</source>
        <translation>Pagina %1 van %2</translation>
    </message>
    <message>
        <source>Department</source>
        <translation>Afdeling</translation>
    </message>
    <message>
        <source>Personnel Number</source>
        <translation>Personeelsnummer</translation>
    </message>
    <message>
        <source>Email</source>
        <translation>E-mail</translation>
    </message>
    <message>
        <source>Phone</source>
        <translation>Telefoon</translation>
    </message>
</context>
</TS>
