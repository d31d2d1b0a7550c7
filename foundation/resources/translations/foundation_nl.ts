<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="nl_NL">
<context>
    <name>@default</name>
    <message>
        <source>Unknown</source>
        <translation>Onbekend</translation>
    </message>
    <message>
        <source>RFID</source>
        <translation>RFID</translation>
    </message>
    <message>
        <source>Pin Code</source>
        <translation>Pincode</translation>
    </message>
    <message>
        <source>Smart Access</source>
        <translation>Smart Access</translation>
    </message>
    <message>
        <source>Opener Authorization Point</source>
        <translation>Autorisatiepunt opener</translation>
    </message>
    <message>
        <source>Group Authorization Point</source>
        <translation>Autorisatiepunt groep</translation>
    </message>
    <message>
        <source>Broadcast Authorization Point</source>
        <translation>Autorisatiepunt broadcast</translation>
    </message>
    <message>
        <source>Observe Authorization Point</source>
        <translation>Autorisatiepunt observatie</translation>
    </message>
    <message>
        <source>Device Position</source>
        <translation>Positie van het apparaat</translation>
    </message>
    <message>
        <source>Access Area</source>
        <translation>Toegangsgebied</translation>
    </message>
    <message>
        <source>User</source>
        <translation>Gebruiker</translation>
    </message>
    <message>
        <source>Group</source>
        <translation>Groep</translation>
    </message>
    <message>
        <source>Media Pool</source>
        <translation>Mediapool</translation>
    </message>
    <message>
        <source>Simple Door</source>
        <translation>Enkelvoudige deur</translation>
    </message>
    <message>
        <source>Mailbox</source>
        <translation>Brievenbus</translation>
    </message>
    <message>
        <source>Infrastructure</source>
        <translation>Infrastructuur</translation>
    </message>
    <message>
        <source>Complex Door</source>
        <translation>Complexe deur</translation>
    </message>
    <message>
        <source>Elevator</source>
        <translation>Lift</translation>
    </message>
    <message>
        <source>Controller</source>
        <translation>Besturing</translation>
    </message>
    <message>
        <source>Online Access</source>
        <translation>Onlinetoegang</translation>
    </message>
    <message>
        <source>Broadcast Type 1 (Amok)</source>
        <translation>Broadcast type 1 (amok)</translation>
    </message>
    <message>
        <source>Broadcast Type 2 (Amok Over)</source>
        <translation>Broadcast type 2 (einde amok)</translation>
    </message>
    <message>
        <source>Broadcast Type 3 (Open All)</source>
        <translation>Broadcast type 3 (alles openen)</translation>
    </message>
    <message>
        <source>Broadcast Type 4 (Close All)</source>
        <translation>Broadcast type 4 (alles sluiten)</translation>
    </message>
    <message>
        <source>Input Signal</source>
        <translation>Ingangssignaal</translation>
    </message>
    <message>
        <source>Remote Open</source>
        <translation>Openen op afstand</translation>
    </message>
    <message>
        <source>Broadcast</source>
        <translation>Broadcast</translation>
    </message>
    <message>
        <source>Pairing</source>
        <translation>Koppeling</translation>
    </message>
    <message>
        <source>Time</source>
        <translation>Tijd</translation>
    </message>
    <message>
        <source>Code</source>
        <translation>Code</translation>
    </message>
    <message>
        <source>RFID Medium</source>
        <translation>RFID-medium</translation>
    </message>
    <message>
        <source>User Group</source>
        <translation>Gebruikersgroep</translation>
    </message>
    <message>
        <source>Device</source>
        <translation>Apparaat</translation>
    </message>
    <message>
        <source>Access Point</source>
        <translation>Toegangspunt</translation>
    </message>
    <message>
        <source>System</source>
        <translation>Systeem</translation>
    </message>
    <message>
        <source>Authorization Point</source>
        <translation>Autorisatiepunt</translation>
    </message>
    <message>
        <source>Authorization Point Group</source>
        <translation>Groep autorisatiepunten</translation>
    </message>
    <message>
        <source>Authorization Point of Access Point</source>
        <translation>Autorisatiepunt van toegangspunt</translation>
    </message>
    <message>
        <source>Right of User/Group</source>
        <translation>Recht van gebruiker/groep</translation>
    </message>
    <message>
        <source>Right of Access Point</source>
        <translation>Recht van toegangspunt</translation>
    </message>
    <message>
        <source>None</source>
        <translation>Geen</translation>
    </message>
    <message>
        <source>Text</source>
        <translation>Tekst</translation>
    </message>
    <message>
        <source>Number</source>
        <translation>Getal</translation>
    </message>
    <message>
        <source>Real</source>
        <translation>Decimaal getal</translation>
    </message>
    <message>
        <source>On/Off</source>
        <translation>Aan/Uit</translation>
    </message>
    <message>
        <source>Byte Array</source>
        <translation>Bytereeks</translation>
    </message>
    <message>
        <source>Date/Time</source>
        <translation>Datum/Tijd</translation>
    </message>
    <message>
        <source>Directory Path</source>
        <translation>Mappad</translation>
    </message>
    <message>
        <source>File Path</source>
        <translation>Bestandspad</translation>
    </message>
    <message>
        <source>Password</source>
        <translation>Wachtwoord</translation>
    </message>
    <message>
        <source>Unique ID</source>
        <translation>Unieke ID</translation>
    </message>
    <message>
        <source>Absolute Directory Path</source>
        <translation>Absoluut mappad</translation>
    </message>
    <message>
        <source>Monday</source>
        <translation>Maandag</translation>
    </message>
    <message>
        <source>Tuesday</source>
        <translation>Dinsdag</translation>
    </message>
    <message>
        <source>Wednesday</source>
        <translation>Woensdag</translation>
    </message>
    <message>
        <source>Thursday</source>
        <translation>Donderdag</translation>
    </message>
    <message>
        <source>Friday</source>
        <translation>Vrijdag</translation>
    </message>
    <message>
        <source>Saturday</source>
        <translation>Zaterdag</translation>
    </message>
    <message>
        <source>Sunday</source>
        <translation>Zondag</translation>
    </message>
    <message>
        <source>Holiday</source>
        <translation>Feestdag</translation>
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
        <translation>Beheer</translation>
    </message>
    <message>
        <source>Table</source>
        <translation>Tabel</translation>
    </message>
    <message>
        <source>Open</source>
        <translation>Openen</translation>
    </message>
    <message>
        <source>Open Long</source>
        <translation>Lang openen</translation>
    </message>
    <message>
        <source>Toggle</source>
        <translation>Omschakelen</translation>
    </message>
    <message>
        <source>Office Mode On</source>
        <translation>Kantoormodus aan</translation>
    </message>
    <message>
        <source>Office Mode Off</source>
        <translation>Kantoormodus uit</translation>
    </message>
    <message>
        <source>Lockdown On</source>
        <translation>Vergrendeling aan</translation>
    </message>
    <message>
        <source>Lockdown Off</source>
        <translation>Vergrendeling uit</translation>
    </message>
    <message>
        <source>Amok Alarm</source>
        <translation>Amokalarm</translation>
    </message>
    <message>
        <source>Amok Alarm Over</source>
        <translation>Einde amokalarm</translation>
    </message>
    <message>
        <source>Open All Doors</source>
        <translation>Alle deuren openen</translation>
    </message>
    <message>
        <source>Close All Doors</source>
        <translation>Alle deuren sluiten</translation>
    </message>
    <message>
        <source>Identify</source>
        <translation>Identificeren</translation>
    </message>
    <message>
        <source>Enrol Medium</source>
        <translation>Medium inleren</translation>
    </message>
    <message>
        <source>Service Access</source>
        <translation>Servicetoegang</translation>
    </message>
    <message>
        <source>Observe</source>
        <translation>Observeren</translation>
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
        <translation>Batterij</translation>
    </message>
    <message>
        <source>Organisation Plates</source>
        <translation>Organisatiebeslag</translation>
    </message>
    <message>
        <source>Protection Plates</source>
        <translation>Veiligheidsbeslag</translation>
    </message>
    <message>
        <source>Mounted Readers</source>
        <translation>Opbouwlezers</translation>
    </message>
    <message>
        <source>Administrative Devices</source>
        <translation>Beheerapparaten</translation>
    </message>
    <message>
        <source>I/O Modules</source>
        <translation>I/O-modules</translation>
    </message>
    <message>
        <source>Infrastructure Devices</source>
        <translation>Infrastructuurapparaten</translation>
    </message>
    <message>
        <source>Cylinder Locks</source>
        <translation>Cilindersloten</translation>
    </message>
    <message>
        <source>Motor Locks</source>
        <translation>Motorsloten</translation>
    </message>
    <message>
        <source>Safe Locks</source>
        <translation>Kluissloten</translation>
    </message>
    <message>
        <source>Input 1</source>
        <translation>Ingang 1</translation>
    </message>
    <message>
        <source>Input 2</source>
        <translation>Ingang 2</translation>
    </message>
    <message>
        <source>Input 3</source>
        <translation>Ingang 3</translation>
    </message>
    <message>
        <source>Input 4</source>
        <translation>Ingang 4</translation>
    </message>
    <message>
        <source>Input 5</source>
        <translation>Ingang 5</translation>
    </message>
    <message>
        <source>Input 6</source>
        <translation>Ingang 6</translation>
    </message>
    <message>
        <source>Input 7</source>
        <translation>Ingang 7</translation>
    </message>
    <message>
        <source>Input 8</source>
        <translation>Ingang 8</translation>
    </message>
    <message>
        <source>Interior Button</source>
        <translation>Binnenknop</translation>
    </message>
    <message>
        <source>Triangle Button</source>
        <translation>Driehoektoets</translation>
    </message>
    <message>
        <source>Square Button</source>
        <translation>Vierkanttoets</translation>
    </message>
    <message>
        <source>Pentagon Button</source>
        <translation>Vijfhoektoets</translation>
    </message>
    <message>
        <source>Hexagon Button</source>
        <translation>Zeshoektoets</translation>
    </message>
    <message>
        <source>Known devices</source>
        <translation>Bekende apparaten</translation>
    </message>
    <message>
        <source>Unknown devices</source>
        <translation>Onbekende apparaten</translation>
    </message>
    <message>
        <source>All devices</source>
        <translation>Alle apparaten</translation>
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
        <translation>Rechtstreeks bereikbaar</translation>
    </message>
    <message>
        <source>Networked reachable</source>
        <translation>Via het netwerk bereikbaar</translation>
    </message>
    <message>
        <source>Unreachable</source>
        <translation>Onbereikbaar</translation>
    </message>
    <message>
        <source>Identification</source>
        <translation>Identificatie</translation>
    </message>
    <message>
        <source>Opener</source>
        <translation>Opener</translation>
    </message>
    <message>
        <source>Repeater</source>
        <translation>Repeater</translation>
    </message>
    <message>
        <source>Exit Identification</source>
        <translation>Identificatie bij uitgang</translation>
    </message>
    <message>
        <source>Amok</source>
        <translation>Amok</translation>
    </message>
    <message>
        <source>Open Zones</source>
        <translation>Zones openen</translation>
    </message>
    <message>
        <source>Prefer RS-485</source>
        <translation>Voorkeur voor RS-485</translation>
    </message>
    <message>
        <source>System members</source>
        <translation>Systeemleden</translation>
    </message>
    <message>
        <source>System members and devices without system</source>
        <translation>Systeemleden en apparaten zonder systeem</translation>
    </message>
    <message>
        <source>Only routers</source>
        <translation>Alleen routers</translation>
    </message>
    <message>
        <source>Access Granted</source>
        <translation>Toegang verleend</translation>
    </message>
    <message>
        <source>Access Denied</source>
        <translation>Toegang geweigerd</translation>
    </message>
    <message>
        <source>Battery Low</source>
        <translation>Batterij bijna leeg</translation>
    </message>
    <message>
        <source>Programming Mode</source>
        <translation>Programmeermodus</translation>
    </message>
    <message>
        <source>Device Error</source>
        <translation>Apparaatfout</translation>
    </message>
    <message>
        <source>Locate Device</source>
        <translation>Apparaat lokaliseren</translation>
    </message>
    <message>
        <source>Reader</source>
        <translation>Lezer</translation>
    </message>
    <message>
        <source>Keypad</source>
        <translation>Toetsenbord</translation>
    </message>
    <message>
        <source>Contact Input</source>
        <translation>Contactingang</translation>
    </message>
    <message>
        <source>Radio Link</source>
        <translation>Radioverbinding</translation>
    </message>
    <message>
        <source>Clock</source>
        <translation>Klok</translation>
    </message>
    <message>
        <source>Network</source>
        <translation>Netwerk</translation>
    </message>
    <message>
        <source>Radio</source>
        <translation>Radio</translation>
    </message>
    <message>
        <source>RS-485</source>
        <translation>RS-485</translation>
    </message>
    <message>
        <source>Radio 2</source>
        <translation>Radio 2</translation>
    </message>
    <message>
        <source>Button</source>
        <translation>Knop</translation>
    </message>
    <message>
        <source>State</source>
        <translation>Toestand</translation>
    </message>
    <message>
        <source>Edge</source>
        <translation>Flank</translation>
    </message>
    <message>
        <source>Press</source>
        <translation>Indrukken</translation>
    </message>
    <message>
        <source>Release</source>
        <translation>Loslaten</translation>
    </message>
    <message>
        <source>Duration Short</source>
        <translation>Duur kort</translation>
    </message>
    <message>
        <source>Duration Middle</source>
        <translation>Duur middel</translation>
    </message>
    <message>
        <source>Duration Long</source>
        <translation>Duur lang</translation>
    </message>
    <message>
        <source>Push Button</source>
        <translation>Drukknop</translation>
    </message>
    <message>
        <source>Door Contact</source>
        <translation>Deurcontact</translation>
    </message>
    <message>
        <source>Bolt Contact</source>
        <translation>Grendelcontact</translation>
    </message>
    <message>
        <source>Motion Detector</source>
        <translation>Bewegingsmelder</translation>
    </message>
    <message>
        <source>Alarm System</source>
        <translation>Alarmsysteem</translation>
    </message>
    <message>
        <source>Factory</source>
        <translation>Fabriek</translation>
    </message>
    <message>
        <source>Multi</source>
        <translation>Meervoudig</translation>
    </message>
    <message>
        <source>Single</source>
        <translation>Enkelvoudig</translation>
    </message>
    <message>
        <source>Expo</source>
        <translation>Expositie</translation>
    </message>
    <message>
        <source>Work</source>
        <translation>Bedrijf</translation>
    </message>
    <message>
        <source>Undefined</source>
        <translation>Niet gedefinieerd</translation>
    </message>
    <message>
        <source>Default</source>
        <translation>Standaard</translation>
    </message>
    <message>
        <source>Output</source>
        <translation>Uitgang</translation>
    </message>
    <message>
        <source>Auto Open</source>
        <translation>Automatisch openen</translation>
    </message>
    <message>
        <source>Lockdown</source>
        <translation>Vergrendeling</translation>
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
        <translation>Onmiddellijk</translation>
    </message>
    <message>
        <source>Finally</source>
        <translation>Aan het einde</translation>
    </message>
    <message>
        <source>Rising Edge</source>
        <translation>Stijgende flank</translation>
    </message>
    <message>
        <source>Falling Edge</source>
        <translation>Dalende flank</translation>
    </message>
    <message>
        <source>Organisation Plate A</source>
        <translation>Organisatiebeslag A</translation>
    </message>
    <message>
        <source>Organisation Plate B</source>
        <translation>Organisatiebeslag B</translation>
    </message>
    <message>
        <source>Organisation Plate C</source>
        <translation>Organisatiebeslag C</translation>
    </message>
    <message>
        <source>Organisation Plate D</source>
        <translation>Organisatiebeslag D</translation>
    </message>
    <message>
        <source>Organisation Plate E</source>
        <translation>Organisatiebeslag E</translation>
    </message>
    <message>
        <source>Organisation Plate F</source>
        <translation>Organisatiebeslag F</translation>
    </message>
    <message>
        <source>Organisation Plate G</source>
        <translation>Organisatiebeslag G</translation>
    </message>
    <message>
        <source>Organisation Plate H</source>
        <translation>Organisatiebeslag H</translation>
    </message>
    <message>
        <source>Organisation Plate I</source>
        <translation>Organisatiebeslag I</translation>
    </message>
    <message>
        <source>Organisation Plate J</source>
        <translation>Organisatiebeslag J</translation>
    </message>
    <message>
        <source>Protection Plate A</source>
        <translation>Veiligheidsbeslag A</translation>
    </message>
    <message>
        <source>Protection Plate B</source>
        <translation>Veiligheidsbeslag B</translation>
    </message>
    <message>
        <source>Protection Plate C</source>
        <translation>Veiligheidsbeslag C</translation>
    </message>
    <message>
        <source>Protection Plate D</source>
        <translation>Veiligheidsbeslag D</translation>
    </message>
    <message>
        <source>Protection Plate E</source>
        <translation>Veiligheidsbeslag E</translation>
    </message>
    <message>
        <source>Protection Plate F</source>
        <translation>Veiligheidsbeslag F</translation>
    </message>
    <message>
        <source>Protection Plate G</source>
        <translation>Veiligheidsbeslag G</translation>
    </message>
    <message>
        <source>Protection Plate H</source>
        <translation>Veiligheidsbeslag H</translation>
    </message>
    <message>
        <source>Protection Plate</source>
        <translation>Veiligheidsbeslag</translation>
    </message>
    <message>
        <source>Keypad Reader A</source>
        <translation>Lezer met toetsenbord A</translation>
    </message>
    <message>
        <source>Keypad Reader B</source>
        <translation>Lezer met toetsenbord B</translation>
    </message>
    <message>
        <source>Radio Stick</source>
        <translation>Radiostick</translation>
    </message>
    <message>
        <source>Network Gateway</source>
        <translation>Netwerkgateway</translation>
    </message>
    <message>
        <source>I/O Module A</source>
        <translation>I/O-module A</translation>
    </message>
    <message>
        <source>I/O Module B</source>
        <translation>I/O-module B</translation>
    </message>
    <message>
        <source>Electronic Cylinder</source>
        <translation>Elektronische cilinder</translation>
    </message>
    <message>
        <source>Electronic Cylinder II</source>
        <translation>Elektronische cilinder II</translation>
    </message>
    <message>
        <source>I/O Controller</source>
        <translation>I/O-besturing</translation>
    </message>
    <message>
        <source>Input Module</source>
        <translation>Ingangsmodule</translation>
    </message>
    <message>
        <source>Motor Lock A</source>
        <translation>Motorslot A</translation>
    </message>
    <message>
        <source>Motor Lock B</source>
        <translation>Motorslot B</translation>
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
        <translation>Radiorepeater</translation>
    </message>
    <message>
        <source>Organisation Plate II A</source>
        <translation>Organisatiebeslag II A</translation>
    </message>
    <message>
        <source>Organisation Plate II B</source>
        <translation>Organisatiebeslag II B</translation>
    </message>
    <message>
        <source>Relay Reader</source>
        <translation>Relaislezer</translation>
    </message>
    <message>
        <source>Safe Lock A</source>
        <translation>Kluisslot A</translation>
    </message>
    <message>
        <source>Safe Lock B</source>
        <translation>Kluisslot B</translation>
    </message>
    <message>
        <source>Compact Reader A</source>
        <translation>Compacte lezer A</translation>
    </message>
    <message>
        <source>Compact Reader B</source>
        <translation>Compacte lezer B</translation>
    </message>
    <message>
        <source>Autodetect</source>
        <translation>Automatisch herkennen</translation>
    </message>
    <message>
        <source>Lithium</source>
        <translation>Lithium</translation>
    </message>
    <message>
        <source>Lithium (unsupported)</source>
        <translation>Lithium (niet ondersteund)</translation>
    </message>
    <message>
        <source>Alkaline</source>
        <translation>Alkaline</translation>
    </message>
    <message>
        <source>Battery Board</source>
        <translation>Batterijprintplaat</translation>
    </message>
    <message>
        <source>Remote Board</source>
        <translation>Externe printplaat</translation>
    </message>
    <message>
        <source>I/O Board</source>
        <translation>I/O-printplaat</translation>
    </message>
    <message>
        <source>Mira Board</source>
        <translation>Mira-printplaat</translation>
    </message>
    <message>
        <source>Device Settings</source>
        <translation>Apparaatinstellingen</translation>
    </message>
    <message>
        <source>System Membership</source>
        <translation>Systeemlidmaatschap</translation>
    </message>
    <message>
        <source>Radio Network</source>
        <translation>Radionetwerk</translation>
    </message>
    <message>
        <source>Time Settings</source>
        <translation>Tijdinstellingen</translation>
    </message>
    <message>
        <source>Authorizations</source>
        <translation>Autorisaties</translation>
    </message>
    <message>
        <source>Time Profiles</source>
        <translation>Tijdprofielen</translation>
    </message>
    <message>
        <source>Holiday Calendars</source>
        <translation>Feestdagenkalenders</translation>
    </message>
    <message>
        <source>Media Keys</source>
        <translation>Mediasleutels</translation>
    </message>
    <message>
        <source>Certificates</source>
        <translation>Certificaten</translation>
    </message>
    <message>
        <source>Event Log</source>
        <translation>Gebeurtenislogboek</translation>
    </message>
    <message>
        <source>Statistics</source>
        <translation>Statistieken</translation>
    </message>
    <message>
        <source>Calibration Data</source>
        <translation>Kalibratiegegevens</translation>
    </message>
    <message>
        <source>Network Settings</source>
        <translation>Netwerkinstellingen</translation>
    </message>
    <message>
        <source>Software Packages</source>
        <translation>Softwarepakketten</translation>
    </message>
    <message>
        <source>Signal Settings</source>
        <translation>Signaalinstellingen</translation>
    </message>
    <message>
        <source>Application</source>
        <translation>Toepassing</translation>
    </message>
    <message>
        <source>Boot Loader</source>
        <translation>Bootloader</translation>
    </message>
    <message>
        <source>Radio Module</source>
        <translation>Radiomodule</translation>
    </message>
    <message>
        <source>Reader Module</source>
        <translation>Lezermodule</translation>
    </message>
    <message>
        <source>Signed Images</source>
        <translation>Ondertekende images</translation>
    </message>
    <message>
        <source>Compressed Images</source>
        <translation>Gecomprimeerde images</translation>
    </message>
    <message>
        <source>Background Update</source>
        <translation>Update op de achtergrond</translation>
    </message>
    <message>
        <source>Roll Back</source>
        <translation>Terug naar vorige versie</translation>
    </message>
    <message>
        <source>OK</source>
        <translation>OK</translation>
    </message>
    <message>
        <source>Busy</source>
        <translation>Bezet</translation>
    </message>
    <message>
        <source>Not Supported</source>
        <translation>Niet ondersteund</translation>
    </message>
    <message>
        <source>Invalid Parameter</source>
        <translation>Ongeldige parameter</translation>
    </message>
    <message>
        <source>Not Authorized</source>
        <translation>Niet gemachtigd</translation>
    </message>
    <message>
        <source>Timeout</source>
        <translation>Time-out</translation>
    </message>
    <message>
        <source>Failed</source>
        <translation>Mislukt</translation>
    </message>
    <message>
        <source>Real-Time Clock</source>
        <translation>Realtimeklok</translation>
    </message>
    <message>
        <source>External Flash Memory</source>
        <translation>Extern flashgeheugen</translation>
    </message>
    <message>
        <source>Secure Element</source>
        <translation>Beveiligd element</translation>
    </message>
    <message>
        <source>Buzzer</source>
        <translation>Zoemer</translation>
    </message>
    <message>
        <source>Tamper Contact</source>
        <translation>Sabotagecontact</translation>
    </message>
    <message>
        <source>Internal Flash</source>
        <translation>Interne flash</translation>
    </message>
    <message>
        <source>External Flash</source>
        <translation>Externe flash</translation>
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
        <translation>Beslagelektronica</translation>
    </message>
    <message>
        <source>Reader Electronics</source>
        <translation>Lezerelektronica</translation>
    </message>
    <message>
        <source>I/O Electronics</source>
        <translation>I/O-elektronica</translation>
    </message>
    <message>
        <source>Network Electronics</source>
        <translation>Netwerkelektronica</translation>
    </message>
    <message>
        <source>Cylinder Electronics</source>
        <translation>Cilinderelektronica</translation>
    </message>
    <message>
        <source>Lock Electronics</source>
        <translation>Slotelektronica</translation>
    </message>
    <message>
        <source>Off</source>
        <translation>Uit</translation>
    </message>
    <message>
        <source>Simulated Media</source>
        <translation>Gesimuleerde media</translation>
    </message>
    <message>
        <source>Simulated Inputs</source>
        <translation>Gesimuleerde ingangen</translation>
    </message>
    <message>
        <source>Simulated Device</source>
        <translation>Gesimuleerd apparaat</translation>
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
        <translation>ISO UID 4 byte</translation>
    </message>
    <message>
        <source>ISO UID 7 Byte</source>
        <translation>ISO UID 7 byte</translation>
    </message>
    <message>
        <source>Plain</source>
        <translation>Effen</translation>
    </message>
    <message>
        <source>Design A</source>
        <translation>Ontwerp A</translation>
    </message>
    <message>
        <source>Design B</source>
        <translation>Ontwerp B</translation>
    </message>
    <message>
        <source>Design C</source>
        <translation>Ontwerp C</translation>
    </message>
    <message>
        <source>Design D</source>
        <translation>Ontwerp D</translation>
    </message>
    <message>
        <source>Card</source>
        <translation>Kaart</translation>
    </message>
    <message>
        <source>Key Fob</source>
        <translation>Sleutelhanger</translation>
    </message>
    <message>
        <source>Wristband</source>
        <translation>Polsband</translation>
    </message>
    <message>
        <source>Sticker</source>
        <translation>Sticker</translation>
    </message>
    <message>
        <source>Smartphone</source>
        <translation>Smartphone</translation>
    </message>
    <message>
        <source>Devel</source>
        <translation>Ontwikkeling</translation>
    </message>
    <message>
        <source>Brell 2012</source>
        <translation>Brell 2012</translation>
    </message>
    <message>
        <source>Known Medium</source>
        <translation>Bekend medium</translation>
    </message>
    <message>
        <source>Unknown Medium</source>
        <translation>Onbekend medium</translation>
    </message>
    <message>
        <source>Blocked Medium</source>
        <translation>Geblokkeerd medium</translation>
    </message>
    <message>
        <source>Medium Presented</source>
        <translation>Medium aangeboden</translation>
    </message>
    <message>
        <source>Medium Removed</source>
        <translation>Medium verwijderd</translation>
    </message>
    <message>
        <source>1 Digit</source>
        <translation>1 cijfer</translation>
    </message>
    <message>
        <source>2 Digits</source>
        <translation>2 cijfers</translation>
    </message>
    <message>
        <source>3 Digits</source>
        <translation>3 cijfers</translation>
    </message>
    <message>
        <source>4 Digits</source>
        <translation>4 cijfers</translation>
    </message>
    <message>
        <source>5 Digits</source>
        <translation>5 cijfers</translation>
    </message>
    <message>
        <source>6 Digits</source>
        <translation>6 cijfers</translation>
    </message>
    <message>
        <source>7 Digits</source>
        <translation>7 cijfers</translation>
    </message>
    <message>
        <source>8 Digits</source>
        <translation>8 cijfers</translation>
    </message>
    <message>
        <source>9 Digits</source>
        <translation>9 cijfers</translation>
    </message>
    <message>
        <source>10 Digits</source>
        <translation>10 cijfers</translation>
    </message>
    <message>
        <source>11 Digits</source>
        <translation>11 cijfers</translation>
    </message>
    <message>
        <source>12 Digits</source>
        <translation>12 cijfers</translation>
    </message>
    <message>
        <source>Known Code</source>
        <translation>Bekende code</translation>
    </message>
    <message>
        <source>Unknown Code</source>
        <translation>Onbekende code</translation>
    </message>
    <message>
        <source>Never</source>
        <translation>Nooit</translation>
    </message>
    <message>
        <source>Daily</source>
        <translation>Dagelijks</translation>
    </message>
    <message>
        <source>Weekly</source>
        <translation>Wekelijks</translation>
    </message>
    <message>
        <source>Biweekly</source>
        <translation>Tweewekelijks</translation>
    </message>
    <message>
        <source>Monthly</source>
        <translation>Maandelijks</translation>
    </message>
    <message>
        <source>7 days</source>
        <translation>7 dagen</translation>
    </message>
    <message>
        <source>30 days</source>
        <translation>30 dagen</translation>
    </message>
    <message>
        <source>2 months</source>
        <translation>2 maanden</translation>
    </message>
    <message>
        <source>6 months</source>
        <translation>6 maanden</translation>
    </message>
    <message>
        <source>1 year</source>
        <translation>1 jaar</translation>
    </message>
    <message>
        <source>2 years</source>
        <translation>2 jaar</translation>
    </message>
    <message>
        <source>5 years</source>
        <translation>5 jaar</translation>
    </message>
    <message>
        <source>10 years</source>
        <translation>10 jaar</translation>
    </message>
    <message>
        <source>15 years</source>
        <translation>15 jaar</translation>
    </message>
    <message>
        <source>30 years</source>
        <translation>30 jaar</translation>
    </message>
    <message>
        <source>RF Power LUT 0</source>
        <translation>RF-vermogenstabel 0</translation>
    </message>
    <message>
        <source>RF Power LUT 1</source>
        <translation>RF-vermogenstabel 1</translation>
    </message>
    <message>
        <source>RF Power LUT 2</source>
        <translation>RF-vermogenstabel 2</translation>
    </message>
    <message>
        <source>RF Power LUT 3</source>
        <translation>RF-vermogenstabel 3</translation>
    </message>
    <message>
        <source>RF Power LUT 4</source>
        <translation>RF-vermogenstabel 4</translation>
    </message>
    <message>
        <source>RF Power LUT 5</source>
        <translation>RF-vermogenstabel 5</translation>
    </message>
    <message>
        <source>RF Power LUT 6</source>
        <translation>RF-vermogenstabel 6</translation>
    </message>
    <message>
        <source>Opening Time</source>
        <translation>Openingstijd</translation>
    </message>
    <message>
        <source>Extended Opening Time</source>
        <translation>Verlengde openingstijd</translation>
    </message>
    <message>
        <source>Door Held Open Time</source>
        <translation>Tijd deur opengehouden</translation>
    </message>
    <message>
        <source>Signal Volume</source>
        <translation>Signaalvolume</translation>
    </message>
    <message>
        <source>Signal Brightness</source>
        <translation>Signaalhelderheid</translation>
    </message>
    <message>
        <source>Keypad Timeout</source>
        <translation>Time-out toetsenbord</translation>
    </message>
    <message>
        <source>Radio Power</source>
        <translation>Zendvermogen</translation>
    </message>
    <message>
        <source>Radio Wake Interval</source>
        <translation>Wekinterval radio</translation>
    </message>
    <message>
        <source>Bus Address</source>
        <translation>Busadres</translation>
    </message>
    <message>
        <source>Medium</source>
        <translation>Medium</translation>
    </message>
    <message>
        <source>Input</source>
        <translation>Ingang</translation>
    </message>
    <message>
        <source>Time Profile</source>
        <translation>Tijdprofiel</translation>
    </message>
    <message>
        <source>Battery Level</source>
        <translation>Batterijniveau</translation>
    </message>
    <message>
        <source>Reason</source>
        <translation>Reden</translation>
    </message>
    <message>
        <source>Order Number</source>
        <translation>Bestelnummer</translation>
    </message>
    <message>
        <source>Device Update Mode</source>
        <translation>Updatemodus van apparaten</translation>
    </message>
    <message>
        <source>Network Search Mode</source>
        <translation>Netwerkzoekmodus</translation>
    </message>
    <message>
        <source>Data Retain Period</source>
        <translation>Bewaartermijn van gegevens</translation>
    </message>
    <message>
        <source>Backup Interval</source>
        <translation>Back-upinterval</translation>
    </message>
    <message>
        <source>Routing Strategy</source>
        <translation>Routeringsstrategie</translation>
    </message>
    <message>
        <source>TCP Keepalive</source>
        <translation>TCP-keepalive</translation>
    </message>
    <message>
        <source>Zone %1</source>
        <translation>Zone %1</translation>
    </message>
    <message>
        <source>Zones %1</source>
        <translation>Zones %1</translation>
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
        <translation>%1 cijfers</translation>
    </message>
    <message>
        <source>Excellent</source>
        <translation>Uitstekend</translation>
    </message>
    <message>
        <source>Good</source>
        <translation>Goed</translation>
    </message>
    <message>
        <source>Fair</source>
        <translation>Matig</translation>
    </message>
    <message>
        <source>Weak</source>
        <translation>Zwak</translation>
    </message>
    <message>
        <source>Technical Media ID</source>
        <translation>Technische media-ID</translation>
    </message>
    <message>
        <source>Public Media ID</source>
        <translation>Openbare media-ID</translation>
    </message>
    <message>
        <source>UID</source>
        <translation>UID</translation>
    </message>
    <message>
        <source>Device ID</source>
        <translation>Apparaat-ID</translation>
    </message>
    <message>
        <source>Event Type</source>
        <translation>Gebeurtenistype</translation>
    </message>
    <message>
        <source>Login Write</source>
        <translation>Aanmelding schrijven</translation>
    </message>
    <message>
        <source>Users Write</source>
        <translation>Gebruikers schrijven</translation>
    </message>
    <message>
        <source>User Groups Write</source>
        <translation>Gebruikersgroepen schrijven</translation>
    </message>
    <message>
        <source>Media Write</source>
        <translation>Media schrijven</translation>
    </message>
    <message>
        <source>Codes Write</source>
        <translation>Codes schrijven</translation>
    </message>
    <message>
        <source>Access Rights Write</source>
        <translation>Toegangsrechten schrijven</translation>
    </message>
    <message>
        <source>Time Profiles Write</source>
        <translation>Tijdprofielen schrijven</translation>
    </message>
    <message>
        <source>Access Points Write</source>
        <translation>Toegangspunten schrijven</translation>
    </message>
    <message>
        <source>Remote Execution</source>
        <translation>Uitvoering op afstand</translation>
    </message>
    <message>
        <source>Devices Write</source>
        <translation>Apparaten schrijven</translation>
    </message>
    <message>
        <source>Software Write</source>
        <translation>Software schrijven</translation>
    </message>
    <message>
        <source>Logs</source>
        <translation>Logboeken</translation>
    </message>
    <message>
        <source>Media Pools Write</source>
        <translation>Mediapools schrijven</translation>
    </message>
    <message>
        <source>User Group Relations</source>
        <translation>Relaties van gebruikersgroepen</translation>
    </message>
    <message>
        <source>Read Passwords</source>
        <translation>Wachtwoorden lezen</translation>
    </message>
    <message>
        <source>Login Read</source>
        <translation>Aanmelding lezen</translation>
    </message>
    <message>
        <source>Users Read</source>
        <translation>Gebruikers lezen</translation>
    </message>
    <message>
        <source>User Groups Read</source>
        <translation>Gebruikersgroepen lezen</translation>
    </message>
    <message>
        <source>Media Read</source>
        <translation>Media lezen</translation>
    </message>
    <message>
        <source>Codes Read</source>
        <translation>Codes lezen</translation>
    </message>
    <message>
        <source>Access Rights Read</source>
        <translation>Toegangsrechten lezen</translation>
    </message>
    <message>
        <source>Time Profiles Read</source>
        <translation>Tijdprofielen lezen</translation>
    </message>
    <message>
        <source>Access Points Read</source>
        <translation>Toegangspunten lezen</translation>
    </message>
    <message>
        <source>Devices Read</source>
        <translation>Apparaten lezen</translation>
    </message>
    <message>
        <source>Software Read</source>
        <translation>Software lezen</translation>
    </message>
    <message>
        <source>Media Pools Read</source>
        <translation>Mediapools lezen</translation>
    </message>
    <message>
        <source>Administrator</source>
        <translation>Beheerder</translation>
    </message>
    <message>
        <source>Server (%1)</source>
        <translation>Server (%1)</translation>
    </message>
    <message>
        <source>We do not want to authenticate on an unencrypted connection.</source>
        <translation>Wij melden ons niet aan via een onversleutelde verbinding.</translation>
    </message>
    <message>
        <source>The remote host closed the connection.</source>
        <translation>De andere kant heeft de verbinding verbroken.</translation>
    </message>
    <message>
        <source>The reply of the server is too long.</source>
        <translation>Het antwoord van de server is te lang.</translation>
    </message>
    <message>
        <source>Authorization protocols not yet supported: %1</source>
        <translation>Aanmeldmethoden nog niet ondersteund: %1</translation>
    </message>
    <message>
        <source>The server takes only ASCII characters in addresses.</source>
        <translation>De server accepteert in adressen alleen ASCII-tekens.</translation>
    </message>
</context>
</TS>
