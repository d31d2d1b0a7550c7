<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="it_IT">
<context>
    <name>UserReport</name>
    <message>
        <source>User Report</source>
        <translation>Rapporto utente</translation>
    </message>
    <message>
        <source>Groups</source>
        <translation>Gruppi</translation>
    </message>
    <message>
        <source>Member of no group.</source>
        <translation>Membro di nessun gruppo.</translation>
    </message>
    <message>
        <source>Access Rights</source>
        <translation>Diritti di accesso</translation>
    </message>
    <message>
        <source>Access Point</source>
        <translation>Punto di accesso</translation>
    </message>
    <message>
        <source>Location</source>
        <translation>Luogo</translation>
    </message>
    <message>
        <source>Valid From</source>
        <translation>Valido dal</translation>
    </message>
    <message>
        <source>Valid To</source>
        <translation>Valido fino al</translation>
    </message>
    <message>
        <source>No access rights of their own.</source>
        <translation>Nessun diritto di accesso proprio.</translation>
    </message>
    <message>
        <source>Media</source>
        <translation>Supporti</translation>
    </message>
    <message>
        <source>Number</source>
        <translation>Numero</translation>
    </message>
    <message>
        <source>Type</source>
        <translation>Tipo</translation>
    </message>
    <message>
        <source>Description</source>
        <translation>Descrizione</translation>
    </message>
    <message>
        <source>UID</source>
        <translation>UID</translation>
    </message>
    <message>
        <source>No media handed out.</source>
        <translation>Nessun supporto consegnato.</translation>
    </message>
    <message>
        <source>Codes</source>
        <translation>Codici</translation>
    </message>
    <message>
        <source>Code</source>
        <translation>Codice</translation>
    </message>
    <message>
        <source>No codes.</source>
        <translation>Nessun codice.</translation>
    </message>
    <message>
        <source>unlimited</source>
        <translation>illimitato</translation>
    </message>
    <message>
        <source>from %1</source>
        <translation>dal %1</translation>
    </message>
    <message>
        <source>until %1</source>
        <translation>fino al %1</translation>
    </message>
    <message>
        <source>%1 digits</source>
        <translation>%1 cifre</translation>
    </message>
    <message>
        <source>Page %1 of %2</source>
        <translation>Pagina %1 di %2</translation>
    </message>
    <message>
        <source>Department</source>
        <translation>Reparto</translation>
    </message>
    <message>
        <source>Personnel Number</source>
        <translation>Numero di matricola</translation>
    </message>
    <message>
        <source>Email</source>
        <translation>E-mail</translation>
    </message>
    <message>
        <source>Phone</source>
        <translation>Telefono</translation>
    </message>
</context>
</TS>
