<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="fr_FR">
<context>
    <name>UserReport</name>
    <message>
        <source>User Report</source>
        <translation>Rapport d’utilisateur</translation>
    </message>
    <message>
        <source>Groups</source>
        <translation>Groupes</translation>
    </message>
    <message>
        <source>Member of no group.</source>
        <translation>Membre d’aucun groupe.</translation>
    </message>
    <message>
        <source>Access Rights</source>
        <translation>Droits d’accès</translation>
    </message>
    <message>
        <source>Access Point</source>
        <translation>Point d’accès</translation>
    </message>
    <message>
        <source>Location</source>
        <translation>Lieu</translation>
    </message>
    <message>
        <source>Valid From</source>
        <translation>Valable dès</translation>
    </message>
    <message>
        <source>Valid To</source>
        <translation>Valable jusqu’au</translation>
    </message>
    <message>
        <source>No access rights of their own.</source>
        <translation>Aucun droit d’accès propre.</translation>
    </message>
    <message>
        <source>Media</source>
        <translation>Supports</translation>
    </message>
    <message>
        <source>Number</source>
        <translation>Numéro</translation>
    </message>
    <message>
        <source>Type</source>
        <translation>Type</translation>
    </message>
    <message>
        <source>Description</source>
        <translation>Description</translation>
    </message>
    <message>
        <source>UID</source>
        <translation>UID</translation>
    </message>
    <message>
        <source>No media handed out.</source>
        <translation>Aucun support remis.</translation>
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
        <translation>Aucun code.</translation>
    </message>
    <message>
        <source>unlimited</source>
        <translation>illimité</translation>
    </message>
    <message>
        <source>from %1</source>
        <translation>dès %1</translation>
    </message>
    <message>
        <source>until %1</source>
        <translation>jusqu’au %1</translation>
    </message>
    <message>
        <source>%1 digits</source>
        <translation>%1 chiffres</translation>
    </message>
    <message>
        <source>Page %1 of %2</source>
        <translation>Page %1 sur %2</translation>
    </message>
    <message>
        <source>Department</source>
        <translation>Service</translation>
    </message>
    <message>
        <source>Personnel Number</source>
        <translation>Numéro de personnel</translation>
    </message>
    <message>
        <source>Email</source>
        <translation>E-mail</translation>
    </message>
    <message>
        <source>Phone</source>
        <translation>Téléphone</translation>
    </message>
</context>
</TS>
