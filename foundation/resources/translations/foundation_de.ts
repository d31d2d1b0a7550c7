<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="de_DE">
<context>
    <name>@default</name>
    <message>
        <source>Unknown</source>
        <translation>Unbekannt</translation>
    </message>
    <message>
        <source>RFID</source>
        <translation>RFID</translation>
    </message>
    <message>
        <source>Pin Code</source>
        <translation>PIN-Code</translation>
    </message>
    <message>
        <source>Smart Access</source>
        <translation>Smart Access</translation>
    </message>
    <message>
        <source>Opener Authorization Point</source>
        <translation>Öffner-Berechtigungspunkt</translation>
    </message>
    <message>
        <source>Group Authorization Point</source>
        <translation>Gruppen-Berechtigungspunkt</translation>
    </message>
    <message>
        <source>Broadcast Authorization Point</source>
        <translation>Broadcast-Berechtigungspunkt</translation>
    </message>
    <message>
        <source>Observe Authorization Point</source>
        <translation>Beobachtungs-Berechtigungspunkt</translation>
    </message>
    <message>
        <source>Device Position</source>
        <translation>Geräteposition</translation>
    </message>
    <message>
        <source>Access Area</source>
        <translation>Zutrittsbereich</translation>
    </message>
    <message>
        <source>User</source>
        <translation>Benutzer</translation>
    </message>
    <message>
        <source>Group</source>
        <translation>Gruppe</translation>
    </message>
    <message>
        <source>Media Pool</source>
        <translation>Medienpool</translation>
    </message>
    <message>
        <source>Simple Door</source>
        <translation>Einfache Tür</translation>
    </message>
    <message>
        <source>Mailbox</source>
        <translation>Briefkasten</translation>
    </message>
    <message>
        <source>Infrastructure</source>
        <translation>Infrastruktur</translation>
    </message>
    <message>
        <source>Complex Door</source>
        <translation>Komplexe Tür</translation>
    </message>
    <message>
        <source>Elevator</source>
        <translation>Aufzug</translation>
    </message>
    <message>
        <source>Controller</source>
        <translation>Steuerung</translation>
    </message>
    <message>
        <source>Online Access</source>
        <translation>Online-Zutritt</translation>
    </message>
    <message>
        <source>Broadcast Type 1 (Amok)</source>
        <translation>Broadcast Typ 1 (Amok)</translation>
    </message>
    <message>
        <source>Broadcast Type 2 (Amok Over)</source>
        <translation>Broadcast Typ 2 (Amok-Ende)</translation>
    </message>
    <message>
        <source>Broadcast Type 3 (Open All)</source>
        <translation>Broadcast Typ 3 (Alle öffnen)</translation>
    </message>
    <message>
        <source>Broadcast Type 4 (Close All)</source>
        <translation>Broadcast Typ 4 (Alle schließen)</translation>
    </message>
    <message>
        <source>Input Signal</source>
        <translation>Eingangssignal</translation>
    </message>
    <message>
        <source>Remote Open</source>
        <translation>Fernöffnung</translation>
    </message>
    <message>
        <source>Broadcast</source>
        <translation>Broadcast</translation>
    </message>
    <message>
        <source>Pairing</source>
        <translation>Kopplung</translation>
    </message>
    <message>
        <source>Time</source>
        <translation>Zeit</translation>
    </message>
    <message>
        <source>Code</source>
        <translation>Code</translation>
    </message>
    <message>
        <source>RFID Medium</source>
        <translation>RFID-Medium</translation>
    </message>
    <message>
        <source>User Group</source>
        <translation>Benutzergruppe</translation>
    </message>
    <message>
        <source>Device</source>
        <translation>Gerät</translation>
    </message>
    <message>
        <source>Access Point</source>
        <translation>Zutrittspunkt</translation>
    </message>
    <message>
        <source>System</source>
        <translation>System</translation>
    </message>
    <message>
        <source>Authorization Point</source>
        <translation>Berechtigungspunkt</translation>
    </message>
    <message>
        <source>Authorization Point Group</source>
        <translation>Berechtigungspunktgruppe</translation>
    </message>
    <message>
        <source>Authorization Point of Access Point</source>
        <translation>Berechtigungspunkt eines Zutrittspunkts</translation>
    </message>
    <message>
        <source>Right of User/Group</source>
        <translation>Recht von Benutzer/Gruppe</translation>
    </message>
    <message>
        <source>Right of Access Point</source>
        <translation>Recht des Zutrittspunkts</translation>
    </message>
    <message>
        <source>None</source>
        <translation>Keine</translation>
    </message>
    <message>
        <source>Text</source>
        <translation>Text</translation>
    </message>
    <message>
        <source>Number</source>
        <translation>Zahl</translation>
    </message>
    <message>
        <source>Real</source>
        <translation>Gleitkommazahl</translation>
    </message>
    <message>
        <source>On/Off</source>
        <translation>Ein/Aus</translation>
    </message>
    <message>
        <source>Byte Array</source>
        <translation>Bytefolge</translation>
    </message>
    <message>
        <source>Date/Time</source>
        <translation>Datum/Uhrzeit</translation>
    </message>
    <message>
        <source>Directory Path</source>
        <translation>Verzeichnispfad</translation>
    </message>
    <message>
        <source>File Path</source>
        <translation>Dateipfad</translation>
    </message>
    <message>
        <source>Password</source>
        <translation>Passwort</translation>
    </message>
    <message>
        <source>Unique ID</source>
        <translation>Eindeutige ID</translation>
    </message>
    <message>
        <source>Absolute Directory Path</source>
        <translation>Absoluter Verzeichnispfad</translation>
    </message>
    <message>
        <source>Monday</source>
        <translation>Montag</translation>
    </message>
    <message>
        <source>Tuesday</source>
        <translation>Dienstag</translation>
    </message>
    <message>
        <source>Wednesday</source>
        <translation>Mittwoch</translation>
    </message>
    <message>
        <source>Thursday</source>
        <translation>Donnerstag</translation>
    </message>
    <message>
        <source>Friday</source>
        <translation>Freitag</translation>
    </message>
    <message>
        <source>Saturday</source>
        <translation>Samstag</translation>
    </message>
    <message>
        <source>Sunday</source>
        <translation>Sonntag</translation>
    </message>
    <message>
        <source>Holiday</source>
        <translation>Feiertag</translation>
    </message>
    <message>
        <source>Basic</source>
        <translation>Basis</translation>
    </message>
    <message>
        <source>Info</source>
        <translation>Info</translation>
    </message>
    <message>
        <source>Admin</source>
        <translation>Administration</translation>
    </message>
    <message>
        <source>Table</source>
        <translation>Tabelle</translation>
    </message>
    <message>
        <source>Open</source>
        <translation>Öffnen</translation>
    </message>
    <message>
        <source>Open Long</source>
        <translation>Lang öffnen</translation>
    </message>
    <message>
        <source>Toggle</source>
        <translation>Umschalten</translation>
    </message>
    <message>
        <source>Office Mode On</source>
        <translation>Büromodus ein</translation>
    </message>
    <message>
        <source>Office Mode Off</source>
        <translation>Büromodus aus</translation>
    </message>
    <message>
        <source>Lockdown On</source>
        <translation>Verriegelung ein</translation>
    </message>
    <message>
        <source>Lockdown Off</source>
        <translation>Verriegelung aus</translation>
    </message>
    <message>
        <source>Amok Alarm</source>
        <translation>Amokalarm</translation>
    </message>
    <message>
        <source>Amok Alarm Over</source>
        <translation>Amokalarm beendet</translation>
    </message>
    <message>
        <source>Open All Doors</source>
        <translation>Alle Türen öffnen</translation>
    </message>
    <message>
        <source>Close All Doors</source>
        <translation>Alle Türen schließen</translation>
    </message>
    <message>
        <source>Identify</source>
        <translation>Identifizieren</translation>
    </message>
    <message>
        <source>Enrol Medium</source>
        <translation>Medium einlernen</translation>
    </message>
    <message>
        <source>Service Access</source>
        <translation>Servicezutritt</translation>
    </message>
    <message>
        <source>Observe</source>
        <translation>Beobachten</translation>
    </message>
    <message>
        <source>Internal</source>
        <translation>Intern</translation>
    </message>
    <message>
        <source>External</source>
        <translation>Extern</translation>
    </message>
    <message>
        <source>Battery</source>
        <translation>Batterie</translation>
    </message>
    <message>
        <source>Organisation Plates</source>
        <translation>Organisationsbeschläge</translation>
    </message>
    <message>
        <source>Protection Plates</source>
        <translation>Schutzbeschläge</translation>
    </message>
    <message>
        <source>Mounted Readers</source>
        <translation>Montageleser</translation>
    </message>
    <message>
        <source>Administrative Devices</source>
        <translation>Verwaltungsgeräte</translation>
    </message>
    <message>
        <source>I/O Modules</source>
        <translation>E/A-Module</translation>
    </message>
    <message>
        <source>Infrastructure Devices</source>
        <translation>Infrastrukturgeräte</translation>
    </message>
    <message>
        <source>Cylinder Locks</source>
        <translation>Schließzylinder</translation>
    </message>
    <message>
        <source>Motor Locks</source>
        <translation>Motorschlösser</translation>
    </message>
    <message>
        <source>Safe Locks</source>
        <translation>Tresorschlösser</translation>
    </message>
    <message>
        <source>Input 1</source>
        <translation>Eingang 1</translation>
    </message>
    <message>
        <source>Input 2</source>
        <translation>Eingang 2</translation>
    </message>
    <message>
        <source>Input 3</source>
        <translation>Eingang 3</translation>
    </message>
    <message>
        <source>Input 4</source>
        <translation>Eingang 4</translation>
    </message>
    <message>
        <source>Input 5</source>
        <translation>Eingang 5</translation>
    </message>
    <message>
        <source>Input 6</source>
        <translation>Eingang 6</translation>
    </message>
    <message>
        <source>Input 7</source>
        <translation>Eingang 7</translation>
    </message>
    <message>
        <source>Input 8</source>
        <translation>Eingang 8</translation>
    </message>
    <message>
        <source>Interior Button</source>
        <translation>Innentaster</translation>
    </message>
    <message>
        <source>Triangle Button</source>
        <translation>Dreieckstaste</translation>
    </message>
    <message>
        <source>Square Button</source>
        <translation>Quadrattaste</translation>
    </message>
    <message>
        <source>Pentagon Button</source>
        <translation>Fünfecktaste</translation>
    </message>
    <message>
        <source>Hexagon Button</source>
        <translation>Sechsecktaste</translation>
    </message>
    <message>
        <source>Known devices</source>
        <translation>Bekannte Geräte</translation>
    </message>
    <message>
        <source>Unknown devices</source>
        <translation>Unbekannte Geräte</translation>
    </message>
    <message>
        <source>All devices</source>
        <translation>Alle Geräte</translation>
    </message>
    <message>
        <source>Motor</source>
        <translation>Motor</translation>
    </message>
    <message>
        <source>Relay 1</source>
        <translation>Relais 1</translation>
    </message>
    <message>
        <source>Relay 2</source>
        <translation>Relais 2</translation>
    </message>
    <message>
        <source>Relay 3</source>
        <translation>Relais 3</translation>
    </message>
    <message>
        <source>Relay 4</source>
        <translation>Relais 4</translation>
    </message>
    <message>
        <source>Relay 5</source>
        <translation>Relais 5</translation>
    </message>
    <message>
        <source>Relay 6</source>
        <translation>Relais 6</translation>
    </message>
    <message>
        <source>Relay 7</source>
        <translation>Relais 7</translation>
    </message>
    <message>
        <source>Relay 8</source>
        <translation>Relais 8</translation>
    </message>
    <message>
        <source>Directly reachable</source>
        <translation>Direkt erreichbar</translation>
    </message>
    <message>
        <source>Networked reachable</source>
        <translation>Über das Netzwerk erreichbar</translation>
    </message>
    <message>
        <source>Unreachable</source>
        <translation>Nicht erreichbar</translation>
    </message>
    <message>
        <source>Identification</source>
        <translation>Identifikation</translation>
    </message>
    <message>
        <source>Opener</source>
        <translation>Öffner</translation>
    </message>
    <message>
        <source>Repeater</source>
        <translation>Repeater</translation>
    </message>
    <message>
        <source>Exit Identification</source>
        <translation>Austrittsidentifikation</translation>
    </message>
    <message>
        <source>Amok</source>
        <translation>Amok</translation>
    </message>
    <message>
        <source>Open Zones</source>
        <translation>Zonen öffnen</translation>
    </message>
    <message>
        <source>Prefer RS-485</source>
        <translation>RS-485 bevorzugen</translation>
    </message>
    <message>
        <source>System members</source>
        <translation>Systemmitglieder</translation>
    </message>
    <message>
        <source>System members and devices without system</source>
        <translation>Systemmitglieder und Geräte ohne System</translation>
    </message>
    <message>
        <source>Only routers</source>
        <translation>Nur Router</translation>
    </message>
    <message>
        <source>Access Granted</source>
        <translation>Zutritt gewährt</translation>
    </message>
    <message>
        <source>Access Denied</source>
        <translation>Zutritt verweigert</translation>
    </message>
    <message>
        <source>Battery Low</source>
        <translation>Batterie schwach</translation>
    </message>
    <message>
        <source>Programming Mode</source>
        <translation>Programmiermodus</translation>
    </message>
    <message>
        <source>Device Error</source>
        <translation>Gerätefehler</translation>
    </message>
    <message>
        <source>Locate Device</source>
        <translation>Gerät orten</translation>
    </message>
    <message>
        <source>Reader</source>
        <translation>Leser</translation>
    </message>
    <message>
        <source>Keypad</source>
        <translation>Tastatur</translation>
    </message>
    <message>
        <source>Contact Input</source>
        <translation>Kontakteingang</translation>
    </message>
    <message>
        <source>Radio Link</source>
        <translation>Funkverbindung</translation>
    </message>
    <message>
        <source>Clock</source>
        <translation>Uhr</translation>
    </message>
    <message>
        <source>Network</source>
        <translation>Netzwerk</translation>
    </message>
    <message>
        <source>Radio</source>
        <translation>Funk</translation>
    </message>
    <message>
        <source>RS-485</source>
        <translation>RS-485</translation>
    </message>
    <message>
        <source>Radio 2</source>
        <translation>Funk 2</translation>
    </message>
    <message>
        <source>Button</source>
        <translation>Taste</translation>
    </message>
    <message>
        <source>State</source>
        <translation>Zustand</translation>
    </message>
    <message>
        <source>Edge</source>
        <translation>Flanke</translation>
    </message>
    <message>
        <source>Press</source>
        <translation>Drücken</translation>
    </message>
    <message>
        <source>Release</source>
        <translation>Loslassen</translation>
    </message>
    <message>
        <source>Duration Short</source>
        <translation>Dauer kurz</translation>
    </message>
    <message>
        <source>Duration Middle</source>
        <translation>Dauer mittel</translation>
    </message>
    <message>
        <source>Duration Long</source>
        <translation>Dauer lang</translation>
    </message>
    <message>
        <source>Push Button</source>
        <translation>Taster</translation>
    </message>
    <message>
        <source>Door Contact</source>
        <translation>Türkontakt</translation>
    </message>
    <message>
        <source>Bolt Contact</source>
        <translation>Riegelkontakt</translation>
    </message>
    <message>
        <source>Motion Detector</source>
        <translation>Bewegungsmelder</translation>
    </message>
    <message>
        <source>Alarm System</source>
        <translation>Alarmanlage</translation>
    </message>
    <message>
        <source>Factory</source>
        <translation>Werkszustand</translation>
    </message>
    <message>
        <source>Multi</source>
        <translation>Mehrfach</translation>
    </message>
    <message>
        <source>Single</source>
        <translation>Einzeln</translation>
    </message>
    <message>
        <source>Expo</source>
        <translation>Ausstellung</translation>
    </message>
    <message>
        <source>Work</source>
        <translation>Betrieb</translation>
    </message>
    <message>
        <source>Undefined</source>
        <translation>Nicht definiert</translation>
    </message>
    <message>
        <source>Default</source>
        <translation>Standard</translation>
    </message>
    <message>
        <source>Output</source>
        <translation>Ausgang</translation>
    </message>
    <message>
        <source>Auto Open</source>
        <translation>Automatisch öffnen</translation>
    </message>
    <message>
        <source>Lockdown</source>
        <translation>Verriegelung</translation>
    </message>
    <message>
        <source>Reserve</source>
        <translation>Reserve</translation>
    </message>
    <message>
        <source>Relay</source>
        <translation>Relais</translation>
    </message>
    <message>
        <source>Immediate</source>
        <translation>Sofort</translation>
    </message>
    <message>
        <source>Finally</source>
        <translation>Am Ende</translation>
    </message>
    <message>
        <source>Rising Edge</source>
        <translation>Steigende Flanke</translation>
    </message>
    <message>
        <source>Falling Edge</source>
        <translation>Fallende Flanke</translation>
    </message>
    <message>
        <source>Organisation Plate A</source>
        <translation>Organisationsbeschlag A</translation>
    </message>
    <message>
        <source>Organisation Plate B</source>
        <translation>Organisationsbeschlag B</translation>
    </message>
    <message>
        <source>Organisation Plate C</source>
        <translation>Organisationsbeschlag C</translation>
    </message>
    <message>
        <source>Organisation Plate D</source>
        <translation>Organisationsbeschlag D</translation>
    </message>
    <message>
        <source>Organisation Plate E</source>
        <translation>Organisationsbeschlag E</translation>
    </message>
    <message>
        <source>Organisation Plate F</source>
        <translation>Organisationsbeschlag F</translation>
    </message>
    <message>
        <source>Organisation Plate G</source>
        <translation>Organisationsbeschlag G</translation>
    </message>
    <message>
        <source>Organisation Plate H</source>
        <translation>Organisationsbeschlag H</translation>
    </message>
    <message>
        <source>Organisation Plate I</source>
        <translation>Organisationsbeschlag I</translation>
    </message>
    <message>
        <source>Organisation Plate J</source>
        <translation>Organisationsbeschlag J</translation>
    </message>
    <message>
        <source>Protection Plate A</source>
        <translation>Schutzbeschlag A</translation>
    </message>
    <message>
        <source>Protection Plate B</source>
        <translation>Schutzbeschlag B</translation>
    </message>
    <message>
        <source>Protection Plate C</source>
        <translation>Schutzbeschlag C</translation>
    </message>
    <message>
        <source>Protection Plate D</source>
        <translation>Schutzbeschlag D</translation>
    </message>
    <message>
        <source>Protection Plate E</source>
        <translation>Schutzbeschlag E</translation>
    </message>
    <message>
        <source>Protection Plate F</source>
        <translation>Schutzbeschlag F</translation>
    </message>
    <message>
        <source>Protection Plate G</source>
        <translation>Schutzbeschlag G</translation>
    </message>
    <message>
        <source>Protection Plate H</source>
        <translation>Schutzbeschlag H</translation>
    </message>
    <message>
        <source>Protection Plate</source>
        <translation>Schutzbeschlag</translation>
    </message>
    <message>
        <source>Keypad Reader A</source>
        <translation>Tastaturleser A</translation>
    </message>
    <message>
        <source>Keypad Reader B</source>
        <translation>Tastaturleser B</translation>
    </message>
    <message>
        <source>Radio Stick</source>
        <translation>Funkstick</translation>
    </message>
    <message>
        <source>Network Gateway</source>
        <translation>Netzwerk-Gateway</translation>
    </message>
    <message>
        <source>I/O Module A</source>
        <translation>E/A-Modul A</translation>
    </message>
    <message>
        <source>I/O Module B</source>
        <translation>E/A-Modul B</translation>
    </message>
    <message>
        <source>Electronic Cylinder</source>
        <translation>Elektronikzylinder</translation>
    </message>
    <message>
        <source>Electronic Cylinder II</source>
        <translation>Elektronikzylinder II</translation>
    </message>
    <message>
        <source>I/O Controller</source>
        <translation>E/A-Steuerung</translation>
    </message>
    <message>
        <source>Input Module</source>
        <translation>Eingangsmodul</translation>
    </message>
    <message>
        <source>Motor Lock A</source>
        <translation>Motorschloss A</translation>
    </message>
    <message>
        <source>Motor Lock B</source>
        <translation>Motorschloss B</translation>
    </message>
    <message>
        <source>Bus Repeater A</source>
        <translation>Busrepeater A</translation>
    </message>
    <message>
        <source>Bus Repeater B</source>
        <translation>Busrepeater B</translation>
    </message>
    <message>
        <source>Bus Repeater C</source>
        <translation>Busrepeater C</translation>
    </message>
    <message>
        <source>Radio Repeater</source>
        <translation>Funkrepeater</translation>
    </message>
    <message>
        <source>Organisation Plate II A</source>
        <translation>Organisationsbeschlag II A</translation>
    </message>
    <message>
        <source>Organisation Plate II B</source>
        <translation>Organisationsbeschlag II B</translation>
    </message>
    <message>
        <source>Relay Reader</source>
        <translation>Relaisleser</translation>
    </message>
    <message>
        <source>Safe Lock A</source>
        <translation>Tresorschloss A</translation>
    </message>
    <message>
        <source>Safe Lock B</source>
        <translation>Tresorschloss B</translation>
    </message>
    <message>
        <source>Compact Reader A</source>
        <translation>Kompaktleser A</translation>
    </message>
    <message>
        <source>Compact Reader B</source>
        <translation>Kompaktleser B</translation>
    </message>
    <message>
        <source>Autodetect</source>
        <translation>Automatisch erkennen</translation>
    </message>
    <message>
        <source>Lithium</source>
        <translation>Lithium</translation>
    </message>
    <message>
        <source>Lithium (unsupported)</source>
        <translation>Lithium (nicht unterstützt)</translation>
    </message>
    <message>
        <source>Alkaline</source>
        <translation>Alkali</translation>
    </message>
    <message>
        <source>Battery Board</source>
        <translation>Batterieplatine</translation>
    </message>
    <message>
        <source>Remote Board</source>
        <translation>Fernplatine</translation>
    </message>
    <message>
        <source>I/O Board</source>
        <translation>E/A-Platine</translation>
    </message>
    <message>
        <source>Mira Board</source>
        <translation>Mira-Platine</translation>
    </message>
    <message>
        <source>Device Settings</source>
        <translation>Geräteeinstellungen</translation>
    </message>
    <message>
        <source>System Membership</source>
        <translation>Systemzugehörigkeit</translation>
    </message>
    <message>
        <source>Radio Network</source>
        <translation>Funknetz</translation>
    </message>
    <message>
        <source>Time Settings</source>
        <translation>Zeiteinstellungen</translation>
    </message>
    <message>
        <source>Authorizations</source>
        <translation>Berechtigungen</translation>
    </message>
    <message>
        <source>Time Profiles</source>
        <translation>Zeitprofile</translation>
    </message>
    <message>
        <source>Holiday Calendars</source>
        <translation>Feiertagskalender</translation>
    </message>
    <message>
        <source>Media Keys</source>
        <translation>Medienschlüssel</translation>
    </message>
    <message>
        <source>Certificates</source>
        <translation>Zertifikate</translation>
    </message>
    <message>
        <source>Event Log</source>
        <translation>Ereignisprotokoll</translation>
    </message>
    <message>
        <source>Statistics</source>
        <translation>Statistik</translation>
    </message>
    <message>
        <source>Calibration Data</source>
        <translation>Kalibrierdaten</translation>
    </message>
    <message>
        <source>Network Settings</source>
        <translation>Netzwerkeinstellungen</translation>
    </message>
    <message>
        <source>Software Packages</source>
        <translation>Softwarepakete</translation>
    </message>
    <message>
        <source>Signal Settings</source>
        <translation>Signaleinstellungen</translation>
    </message>
    <message>
        <source>Application</source>
        <translation>Anwendung</translation>
    </message>
    <message>
        <source>Boot Loader</source>
        <translation>Bootloader</translation>
    </message>
    <message>
        <source>Radio Module</source>
        <translation>Funkmodul</translation>
    </message>
    <message>
        <source>Reader Module</source>
        <translation>Lesermodul</translation>
    </message>
    <message>
        <source>Signed Images</source>
        <translation>Signierte Abbilder</translation>
    </message>
    <message>
        <source>Compressed Images</source>
        <translation>Komprimierte Abbilder</translation>
    </message>
    <message>
        <source>Background Update</source>
        <translation>Aktualisierung im Hintergrund</translation>
    </message>
    <message>
        <source>Roll Back</source>
        <translation>Zurücksetzen auf Vorversion</translation>
    </message>
    <message>
        <source>OK</source>
        <translation>OK</translation>
    </message>
    <message>
        <source>Busy</source>
        <translation>Beschäftigt</translation>
    </message>
    <message>
        <source>Not Supported</source>
        <translation>Nicht unterstützt</translation>
    </message>
    <message>
        <source>Invalid Parameter</source>
        <translation>Ungültiger Parameter</translation>
    </message>
    <message>
        <source>Not Authorized</source>
        <translation>Nicht berechtigt</translation>
    </message>
    <message>
        <source>Timeout</source>
        <translation>Zeitüberschreitung</translation>
    </message>
    <message>
        <source>Failed</source>
        <translation>Fehlgeschlagen</translation>
    </message>
    <message>
        <source>Real-Time Clock</source>
        <translation>Echtzeituhr</translation>
    </message>
    <message>
        <source>External Flash Memory</source>
        <translation>Externer Flash-Speicher</translation>
    </message>
    <message>
        <source>Secure Element</source>
        <translation>Sicherheitselement</translation>
    </message>
    <message>
        <source>Buzzer</source>
        <translation>Summer</translation>
    </message>
    <message>
        <source>Tamper Contact</source>
        <translation>Sabotagekontakt</translation>
    </message>
    <message>
        <source>Internal Flash</source>
        <translation>Interner Flash</translation>
    </message>
    <message>
        <source>External Flash</source>
        <translation>Externer Flash</translation>
    </message>
    <message>
        <source>EEPROM</source>
        <translation>EEPROM</translation>
    </message>
    <message>
        <source>RAM</source>
        <translation>RAM</translation>
    </message>
    <message>
        <source>MSP</source>
        <translation>MSP</translation>
    </message>
    <message>
        <source>Plate Electronics</source>
        <translation>Beschlagelektronik</translation>
    </message>
    <message>
        <source>Reader Electronics</source>
        <translation>Leserelektronik</translation>
    </message>
    <message>
        <source>I/O Electronics</source>
        <translation>E/A-Elektronik</translation>
    </message>
    <message>
        <source>Network Electronics</source>
        <translation>Netzwerkelektronik</translation>
    </message>
    <message>
        <source>Cylinder Electronics</source>
        <translation>Zylinderelektronik</translation>
    </message>
    <message>
        <source>Lock Electronics</source>
        <translation>Schlosselektronik</translation>
    </message>
    <message>
        <source>Off</source>
        <translation>Aus</translation>
    </message>
    <message>
        <source>Simulated Media</source>
        <translation>Simulierte Medien</translation>
    </message>
    <message>
        <source>Simulated Inputs</source>
        <translation>Simulierte Eingänge</translation>
    </message>
    <message>
        <source>Simulated Device</source>
        <translation>Simuliertes Gerät</translation>
    </message>
    <message>
        <source>DESFire</source>
        <translation>DESFire</translation>
    </message>
    <message>
        <source>MIFARE Plus</source>
        <translation>MIFARE Plus</translation>
    </message>
    <message>
        <source>MIFARE Plus X</source>
        <translation>MIFARE Plus X</translation>
    </message>
    <message>
        <source>MIFARE Classic</source>
        <translation>MIFARE Classic</translation>
    </message>
    <message>
        <source>ISO UID 4 Byte</source>
        <translation>ISO UID 4 Byte</translation>
    </message>
    <message>
        <source>ISO UID 7 Byte</source>
        <translation>ISO UID 7 Byte</translation>
    </message>
    <message>
        <source>Plain</source>
        <translation>Schlicht</translation>
    </message>
    <message>
        <source>Design A</source>
        <translation>Design A</translation>
    </message>
    <message>
        <source>Design B</source>
        <translation>Design B</translation>
    </message>
    <message>
        <source>Design C</source>
        <translation>Design C</translation>
    </message>
    <message>
        <source>Design D</source>
        <translation>Design D</translation>
    </message>
    <message>
        <source>Card</source>
        <translation>Karte</translation>
    </message>
    <message>
        <source>Key Fob</source>
        <translation>Schlüsselanhänger</translation>
    </message>
    <message>
        <source>Wristband</source>
        <translation>Armband</translation>
    </message>
    <message>
        <source>Sticker</source>
        <translation>Aufkleber</translation>
    </message>
    <message>
        <source>Smartphone</source>
        <translation>Smartphone</translation>
    </message>
    <message>
        <source>Devel</source>
        <translation>Entwicklung</translation>
    </message>
    <message>
        <source>Brell 2012</source>
        <translation>Brell 2012</translation>
    </message>
    <message>
        <source>Known Medium</source>
        <translation>Bekanntes Medium</translation>
    </message>
    <message>
        <source>Unknown Medium</source>
        <translation>Unbekanntes Medium</translation>
    </message>
    <message>
        <source>Blocked Medium</source>
        <translation>Gesperrtes Medium</translation>
    </message>
    <message>
        <source>Medium Presented</source>
        <translation>Medium vorgehalten</translation>
    </message>
    <message>
        <source>Medium Removed</source>
        <translation>Medium entfernt</translation>
    </message>
    <message>
        <source>1 Digit</source>
        <translation>1 Stelle</translation>
    </message>
    <message>
        <source>2 Digits</source>
        <translation>2 Stellen</translation>
    </message>
    <message>
        <source>3 Digits</source>
        <translation>3 Stellen</translation>
    </message>
    <message>
        <source>4 Digits</source>
        <translation>4 Stellen</translation>
    </message>
    <message>
        <source>5 Digits</source>
        <translation>5 Stellen</translation>
    </message>
    <message>
        <source>6 Digits</source>
        <translation>6 Stellen</translation>
    </message>
    <message>
        <source>7 Digits</source>
        <translation>7 Stellen</translation>
    </message>
    <message>
        <source>8 Digits</source>
        <translation>8 Stellen</translation>
    </message>
    <message>
        <source>9 Digits</source>
        <translation>9 Stellen</translation>
    </message>
    <message>
        <source>10 Digits</source>
        <translation>10 Stellen</translation>
    </message>
    <message>
        <source>11 Digits</source>
        <translation>11 Stellen</translation>
    </message>
    <message>
        <source>12 Digits</source>
        <translation>12 Stellen</translation>
    </message>
    <message>
        <source>Known Code</source>
        <translation>Bekannter Code</translation>
    </message>
    <message>
        <source>Unknown Code</source>
        <translation>Unbekannter Code</translation>
    </message>
    <message>
        <source>Never</source>
        <translation>Nie</translation>
    </message>
    <message>
        <source>Daily</source>
        <translation>Täglich</translation>
    </message>
    <message>
        <source>Weekly</source>
        <translation>Wöchentlich</translation>
    </message>
    <message>
        <source>Biweekly</source>
        <translation>Alle zwei Wochen</translation>
    </message>
    <message>
        <source>Monthly</source>
        <translation>Monatlich</translation>
    </message>
    <message>
        <source>7 days</source>
        <translation>7 Tage</translation>
    </message>
    <message>
        <source>30 days</source>
        <translation>30 Tage</translation>
    </message>
    <message>
        <source>2 months</source>
        <translation>2 Monate</translation>
    </message>
    <message>
        <source>6 months</source>
        <translation>6 Monate</translation>
    </message>
    <message>
        <source>1 year</source>
        <translation>1 Jahr</translation>
    </message>
    <message>
        <source>2 years</source>
        <translation>2 Jahre</translation>
    </message>
    <message>
        <source>5 years</source>
        <translation>5 Jahre</translation>
    </message>
    <message>
        <source>10 years</source>
        <translation>10 Jahre</translation>
    </message>
    <message>
        <source>15 years</source>
        <translation>15 Jahre</translation>
    </message>
    <message>
        <source>30 years</source>
        <translation>30 Jahre</translation>
    </message>
    <message>
        <source>RF Power LUT 0</source>
        <translation>HF-Leistungstabelle 0</translation>
    </message>
    <message>
        <source>RF Power LUT 1</source>
        <translation>HF-Leistungstabelle 1</translation>
    </message>
    <message>
        <source>RF Power LUT 2</source>
        <translation>HF-Leistungstabelle 2</translation>
    </message>
    <message>
        <source>RF Power LUT 3</source>
        <translation>HF-Leistungstabelle 3</translation>
    </message>
    <message>
        <source>RF Power LUT 4</source>
        <translation>HF-Leistungstabelle 4</translation>
    </message>
    <message>
        <source>RF Power LUT 5</source>
        <translation>HF-Leistungstabelle 5</translation>
    </message>
    <message>
        <source>RF Power LUT 6</source>
        <translation>HF-Leistungstabelle 6</translation>
    </message>
    <message>
        <source>Opening Time</source>
        <translation>Öffnungszeit</translation>
    </message>
    <message>
        <source>Extended Opening Time</source>
        <translation>Verlängerte Öffnungszeit</translation>
    </message>
    <message>
        <source>Door Held Open Time</source>
        <translation>Offenhaltezeit der Tür</translation>
    </message>
    <message>
        <source>Signal Volume</source>
        <translation>Signallautstärke</translation>
    </message>
    <message>
        <source>Signal Brightness</source>
        <translation>Signalhelligkeit</translation>
    </message>
    <message>
        <source>Keypad Timeout</source>
        <translation>Zeitlimit der Tastatur</translation>
    </message>
    <message>
        <source>Radio Power</source>
        <translation>Sendeleistung</translation>
    </message>
    <message>
        <source>Radio Wake Interval</source>
        <translation>Funk-Aufwachintervall</translation>
    </message>
    <message>
        <source>Bus Address</source>
        <translation>Busadresse</translation>
    </message>
    <message>
        <source>Medium</source>
        <translation>Medium</translation>
    </message>
    <message>
        <source>Input</source>
        <translation>Eingang</translation>
    </message>
    <message>
        <source>Time Profile</source>
        <translation>Zeitprofil</translation>
    </message>
    <message>
        <source>Battery Level</source>
        <translation>Batteriestand</translation>
    </message>
    <message>
        <source>Reason</source>
        <translation>Grund</translation>
    </message>
    <message>
        <source>Order Number</source>
        <translation>Bestellnummer</translation>
    </message>
    <message>
        <source>Device Update Mode</source>
        <translation>Modus der Geräteaktualisierung</translation>
    </message>
    <message>
        <source>Network Search Mode</source>
        <translation>Modus der Netzwerksuche</translation>
    </message>
    <message>
        <source>Data Retain Period</source>
        <translation>Aufbewahrungsdauer der Daten</translation>
    </message>
    <message>
        <source>Backup Interval</source>
        <translation>Sicherungsintervall</translation>
    </message>
    <message>
        <source>Routing Strategy</source>
        <translation>Routing-Strategie</translation>
    </message>
    <message>
        <source>TCP Keepalive</source>
        <translation>TCP-Keepalive</translation>
    </message>
    <message>
        <source>Zone %1</source>
        <translation>Zone %1</translation>
    </message>
    <message>
        <source>Zones %1</source>
        <translation>Zonen %1</translation>
    </message>
    <message>
        <source>Relay %1</source>
        <translation>Relais %1</translation>
    </message>
    <message>
        <source>Relays %1</source>
        <translation>Relais %1</translation>
    </message>
    <message>
        <source>%1 digits</source>
        <translation>%1 Stellen</translation>
    </message>
    <message>
        <source>Excellent</source>
        <translation>Ausgezeichnet</translation>
    </message>
    <message>
        <source>Good</source>
        <translation>Gut</translation>
    </message>
    <message>
        <source>Fair</source>
        <translation>Ausreichend</translation>
    </message>
    <message>
        <source>Weak</source>
        <translation>Schwach</translation>
    </message>
    <message>
        <source>Technical Media ID</source>
        <translation>Technische Medien-ID</translation>
    </message>
    <message>
        <source>Public Media ID</source>
        <translation>Öffentliche Medien-ID</translation>
    </message>
    <message>
        <source>UID</source>
        <translation>UID</translation>
    </message>
    <message>
        <source>Device ID</source>
        <translation>Geräte-ID</translation>
    </message>
    <message>
        <source>Event Type</source>
        <translation>Ereignistyp</translation>
    </message>
    <message>
        <source>Login Write</source>
        <translation>Anmeldung schreiben</translation>
    </message>
    <message>
        <source>Users Write</source>
        <translation>Benutzer schreiben</translation>
    </message>
    <message>
        <source>User Groups Write</source>
        <translation>Benutzergruppen schreiben</translation>
    </message>
    <message>
        <source>Media Write</source>
        <translation>Medien schreiben</translation>
    </message>
    <message>
        <source>Codes Write</source>
        <translation>Codes schreiben</translation>
    </message>
    <message>
        <source>Access Rights Write</source>
        <translation>Zutrittsrechte schreiben</translation>
    </message>
    <message>
        <source>Time Profiles Write</source>
        <translation>Zeitprofile schreiben</translation>
    </message>
    <message>
        <source>Access Points Write</source>
        <translation>Zutrittspunkte schreiben</translation>
    </message>
    <message>
        <source>Remote Execution</source>
        <translation>Fernausführung</translation>
    </message>
    <message>
        <source>Devices Write</source>
        <translation>Geräte schreiben</translation>
    </message>
    <message>
        <source>Software Write</source>
        <translation>Software schreiben</translation>
    </message>
    <message>
        <source>Logs</source>
        <translation>Protokolle</translation>
    </message>
    <message>
        <source>Media Pools Write</source>
        <translation>Medienpools schreiben</translation>
    </message>
    <message>
        <source>User Group Relations</source>
        <translation>Benutzergruppen-Beziehungen</translation>
    </message>
    <message>
        <source>Read Passwords</source>
        <translation>Passwörter lesen</translation>
    </message>
    <message>
        <source>Login Read</source>
        <translation>Anmeldung lesen</translation>
    </message>
    <message>
        <source>Users Read</source>
        <translation>Benutzer lesen</translation>
    </message>
    <message>
        <source>User Groups Read</source>
        <translation>Benutzergruppen lesen</translation>
    </message>
    <message>
        <source>Media Read</source>
        <translation>Medien lesen</translation>
    </message>
    <message>
        <source>Codes Read</source>
        <translation>Codes lesen</translation>
    </message>
    <message>
        <source>Access Rights Read</source>
        <translation>Zutrittsrechte lesen</translation>
    </message>
    <message>
        <source>Time Profiles Read</source>
        <translation>Zeitprofile lesen</translation>
    </message>
    <message>
        <source>Access Points Read</source>
        <translation>Zutrittspunkte lesen</translation>
    </message>
    <message>
        <source>Devices Read</source>
        <translation>Geräte lesen</translation>
    </message>
    <message>
        <source>Software Read</source>
        <translation>Software lesen</translation>
    </message>
    <message>
        <source>Media Pools Read</source>
        <translation>Medienpools lesen</translation>
    </message>
    <message>
        <source>Administrator</source>
        <translation>Administrator</translation>
    </message>
    <message>
        <source>Server (%1)</source>
        <translation>Server (%1)</translation>
    </message>
    <message>
        <source>We do not want to authenticate on an unencrypted connection.</source>
        <translation>Über eine unverschlüsselte Verbindung melden wir uns nicht an.</translation>
    </message>
    <message>
        <source>The remote host closed the connection.</source>
        <translation>Die Gegenstelle hat die Verbindung geschlossen.</translation>
    </message>
    <message>
        <source>The reply of the server is too long.</source>
        <translation>Die Antwort des Servers ist zu lang.</translation>
    </message>
    <message>
        <source>Authorization protocols not yet supported: %1</source>
        <translation>Anmeldeverfahren noch nicht unterstützt: %1</translation>
    </message>
    <message>
        <source>The server takes only ASCII characters in addresses.</source>
        <translation>Der Server nimmt in Adressen nur ASCII-Zeichen an.</translation>
    </message>
</context>
</TS>
