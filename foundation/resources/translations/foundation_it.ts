<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="it_IT">
<context>
    <name>@default</name>
    <message>
        <source>Unknown</source>
        <translation>Sconosciuto</translation>
    </message>
    <message>
        <source>RFID</source>
        <translation>RFID</translation>
    </message>
    <message>
        <source>Pin Code</source>
        <translation>Codice PIN</translation>
    </message>
    <message>
        <source>Smart Access</source>
        <translation>Smart Access</translation>
    </message>
    <message>
        <source>Opener Authorization Point</source>
        <translation>Punto di autorizzazione di apertura</translation>
    </message>
    <message>
        <source>Group Authorization Point</source>
        <translation>Punto di autorizzazione di gruppo</translation>
    </message>
    <message>
        <source>Broadcast Authorization Point</source>
        <translation>Punto di autorizzazione broadcast</translation>
    </message>
    <message>
        <source>Observe Authorization Point</source>
        <translation>Punto di autorizzazione di osservazione</translation>
    </message>
    <message>
        <source>Device Position</source>
        <translation>Posizione del dispositivo</translation>
    </message>
    <message>
        <source>Access Area</source>
        <translation>Area di accesso</translation>
    </message>
    <message>
        <source>User</source>
        <translation>Utente</translation>
    </message>
    <message>
        <source>Group</source>
        <translation>Gruppo</translation>
    </message>
    <message>
        <source>Media Pool</source>
        <translation>Pool di supporti</translation>
    </message>
    <message>
        <source>Simple Door</source>
        <translation>Porta semplice</translation>
    </message>
    <message>
        <source>Mailbox</source>
        <translation>Cassetta postale</translation>
    </message>
    <message>
        <source>Infrastructure</source>
        <translation>Infrastruttura</translation>
    </message>
    <message>
        <source>Complex Door</source>
        <translation>Porta complessa</translation>
    </message>
    <message>
        <source>Elevator</source>
        <translation>Ascensore</translation>
    </message>
    <message>
        <source>Controller</source>
        <translation>Centralina</translation>
    </message>
    <message>
        <source>Online Access</source>
        <translation>Accesso online</translation>
    </message>
    <message>
        <source>Broadcast Type 1 (Amok)</source>
        <translation>Broadcast tipo 1 (aggressione)</translation>
    </message>
    <message>
        <source>Broadcast Type 2 (Amok Over)</source>
        <translation>Broadcast tipo 2 (fine aggressione)</translation>
    </message>
    <message>
        <source>Broadcast Type 3 (Open All)</source>
        <translation>Broadcast tipo 3 (apri tutto)</translation>
    </message>
    <message>
        <source>Broadcast Type 4 (Close All)</source>
        <translation>Broadcast tipo 4 (chiudi tutto)</translation>
    </message>
    <message>
        <source>Input Signal</source>
        <translation>Segnale d&apos;ingresso</translation>
    </message>
    <message>
        <source>Remote Open</source>
        <translation>Apertura remota</translation>
    </message>
    <message>
        <source>Broadcast</source>
        <translation>Broadcast</translation>
    </message>
    <message>
        <source>Pairing</source>
        <translation>Associazione</translation>
    </message>
    <message>
        <source>Time</source>
        <translation>Ora</translation>
    </message>
    <message>
        <source>Code</source>
        <translation>Codice</translation>
    </message>
    <message>
        <source>RFID Medium</source>
        <translation>Supporto RFID</translation>
    </message>
    <message>
        <source>User Group</source>
        <translation>Gruppo di utenti</translation>
    </message>
    <message>
        <source>Device</source>
        <translation>Dispositivo</translation>
    </message>
    <message>
        <source>Access Point</source>
        <translation>Punto di accesso</translation>
    </message>
    <message>
        <source>System</source>
        <translation>Sistema</translation>
    </message>
    <message>
        <source>Authorization Point</source>
        <translation>Punto di autorizzazione</translation>
    </message>
    <message>
        <source>Authorization Point Group</source>
        <translation>Gruppo di punti di autorizzazione</translation>
    </message>
    <message>
        <source>Authorization Point of Access Point</source>
        <translation>Punto di autorizzazione di un punto di accesso</translation>
    </message>
    <message>
        <source>Right of User/Group</source>
        <translation>Diritto di utente/gruppo</translation>
    </message>
    <message>
        <source>Right of Access Point</source>
        <translation>Diritto del punto di accesso</translation>
    </message>
    <message>
        <source>None</source>
        <translation>Nessuno</translation>
    </message>
    <message>
        <source>Text</source>
        <translation>Testo</translation>
    </message>
    <message>
        <source>Number</source>
        <translation>Numero</translation>
    </message>
    <message>
        <source>Real</source>
        <translation>Numero reale</translation>
    </message>
    <message>
        <source>On/Off</source>
        <translation>On/Off</translation>
    </message>
    <message>
        <source>Byte Array</source>
        <translation>Sequenza di byte</translation>
    </message>
    <message>
        <source>Date/Time</source>
        <translation>Data/Ora</translation>
    </message>
    <message>
        <source>Directory Path</source>
        <translation>Percorso della cartella</translation>
    </message>
    <message>
        <source>File Path</source>
        <translation>Percorso del file</translation>
    </message>
    <message>
        <source>Password</source>
        <translation>Password</translation>
    </message>
    <message>
        <source>Unique ID</source>
        <translation>ID univoco</translation>
    </message>
    <message>
        <source>Absolute Directory Path</source>
        <translation>Percorso assoluto della cartella</translation>
    </message>
    <message>
        <source>Monday</source>
        <translation>Lunedì</translation>
    </message>
    <message>
        <source>Tuesday</source>
        <translation>Martedì</translation>
    </message>
    <message>
        <source>Wednesday</source>
        <translation>Mercoledì</translation>
    </message>
    <message>
        <source>Thursday</source>
        <translation>Giovedì</translation>
    </message>
    <message>
        <source>Friday</source>
        <translation>Venerdì</translation>
    </message>
    <message>
        <source>Saturday</source>
        <translation>Sabato</translation>
    </message>
    <message>
        <source>Sunday</source>
        <translation>Domenica</translation>
    </message>
    <message>
        <source>Holiday</source>
        <translation>Giorno festivo</translation>
    </message>
    <message>
        <source>Basic</source>
        <translation>Base</translation>
    </message>
    <message>
        <source>Info</source>
        <translation>Info</translation>
    </message>
    <message>
        <source>Admin</source>
        <translation>Amministrazione</translation>
    </message>
    <message>
        <source>Table</source>
        <translation>Tabella</translation>
    </message>
    <message>
        <source>Open</source>
        <translation>Apri</translation>
    </message>
    <message>
        <source>Open Long</source>
        <translation>Apri a lungo</translation>
    </message>
    <message>
        <source>Toggle</source>
        <translation>Commuta</translation>
    </message>
    <message>
        <source>Office Mode On</source>
        <translation>Modalità ufficio attiva</translation>
    </message>
    <message>
        <source>Office Mode Off</source>
        <translation>Modalità ufficio disattiva</translation>
    </message>
    <message>
        <source>Lockdown On</source>
        <translation>Blocco attivo</translation>
    </message>
    <message>
        <source>Lockdown Off</source>
        <translation>Blocco disattivo</translation>
    </message>
    <message>
        <source>Amok Alarm</source>
        <translation>Allarme aggressione</translation>
    </message>
    <message>
        <source>Amok Alarm Over</source>
        <translation>Fine allarme aggressione</translation>
    </message>
    <message>
        <source>Open All Doors</source>
        <translation>Apri tutte le porte</translation>
    </message>
    <message>
        <source>Close All Doors</source>
        <translation>Chiudi tutte le porte</translation>
    </message>
    <message>
        <source>Identify</source>
        <translation>Identifica</translation>
    </message>
    <message>
        <source>Enrol Medium</source>
        <translation>Registra supporto</translation>
    </message>
    <message>
        <source>Service Access</source>
        <translation>Accesso di servizio</translation>
    </message>
    <message>
        <source>Observe</source>
        <translation>Osserva</translation>
    </message>
    <message>
        <source>Internal</source>
        <translation>Interno</translation>
    </message>
    <message>
        <source>External</source>
        <translation>Esterno</translation>
    </message>
    <message>
        <source>Battery</source>
        <translation>Batteria</translation>
    </message>
    <message>
        <source>Organisation Plates</source>
        <translation>Piastre organizzative</translation>
    </message>
    <message>
        <source>Protection Plates</source>
        <translation>Piastre di protezione</translation>
    </message>
    <message>
        <source>Mounted Readers</source>
        <translation>Lettori da montaggio</translation>
    </message>
    <message>
        <source>Administrative Devices</source>
        <translation>Dispositivi di amministrazione</translation>
    </message>
    <message>
        <source>I/O Modules</source>
        <translation>Moduli I/O</translation>
    </message>
    <message>
        <source>Infrastructure Devices</source>
        <translation>Dispositivi di infrastruttura</translation>
    </message>
    <message>
        <source>Cylinder Locks</source>
        <translation>Cilindri</translation>
    </message>
    <message>
        <source>Motor Locks</source>
        <translation>Serrature motorizzate</translation>
    </message>
    <message>
        <source>Safe Locks</source>
        <translation>Serrature per casseforti</translation>
    </message>
    <message>
        <source>Input 1</source>
        <translation>Ingresso 1</translation>
    </message>
    <message>
        <source>Input 2</source>
        <translation>Ingresso 2</translation>
    </message>
    <message>
        <source>Input 3</source>
        <translation>Ingresso 3</translation>
    </message>
    <message>
        <source>Input 4</source>
        <translation>Ingresso 4</translation>
    </message>
    <message>
        <source>Input 5</source>
        <translation>Ingresso 5</translation>
    </message>
    <message>
        <source>Input 6</source>
        <translation>Ingresso 6</translation>
    </message>
    <message>
        <source>Input 7</source>
        <translation>Ingresso 7</translation>
    </message>
    <message>
        <source>Input 8</source>
        <translation>Ingresso 8</translation>
    </message>
    <message>
        <source>Interior Button</source>
        <translation>Pulsante interno</translation>
    </message>
    <message>
        <source>Triangle Button</source>
        <translation>Tasto triangolo</translation>
    </message>
    <message>
        <source>Square Button</source>
        <translation>Tasto quadrato</translation>
    </message>
    <message>
        <source>Pentagon Button</source>
        <translation>Tasto pentagono</translation>
    </message>
    <message>
        <source>Hexagon Button</source>
        <translation>Tasto esagono</translation>
    </message>
    <message>
        <source>Known devices</source>
        <translation>Dispositivi noti</translation>
    </message>
    <message>
        <source>Unknown devices</source>
        <translation>Dispositivi sconosciuti</translation>
    </message>
    <message>
        <source>All devices</source>
        <translation>Tutti i dispositivi</translation>
    </message>
    <message>
        <source>Motor</source>
        <translation>Motore</translation>
    </message>
    <message>
        <source>Relay 1</source>
        <translation>Relè 1</translation>
    </message>
    <message>
        <source>Relay 2</source>
        <translation>Relè 2</translation>
    </message>
    <message>
        <source>Relay 3</source>
        <translation>Relè 3</translation>
    </message>
    <message>
        <source>Relay 4</source>
        <translation>Relè 4</translation>
    </message>
    <message>
        <source>Relay 5</source>
        <translation>Relè 5</translation>
    </message>
    <message>
        <source>Relay 6</source>
        <translation>Relè 6</translation>
    </message>
    <message>
        <source>Relay 7</source>
        <translation>Relè 7</translation>
    </message>
    <message>
        <source>Relay 8</source>
        <translation>Relè 8</translation>
    </message>
    <message>
        <source>Directly reachable</source>
        <translation>Raggiungibile direttamente</translation>
    </message>
    <message>
        <source>Networked reachable</source>
        <translation>Raggiungibile tramite rete</translation>
    </message>
    <message>
        <source>Unreachable</source>
        <translation>Non raggiungibile</translation>
    </message>
    <message>
        <source>Identification</source>
        <translation>Identificazione</translation>
    </message>
    <message>
        <source>Opener</source>
        <translation>Apriporta</translation>
    </message>
    <message>
        <source>Repeater</source>
        <translation>Ripetitore</translation>
    </message>
    <message>
        <source>Exit Identification</source>
        <translation>Identificazione in uscita</translation>
    </message>
    <message>
        <source>Amok</source>
        <translation>Aggressione</translation>
    </message>
    <message>
        <source>Open Zones</source>
        <translation>Apertura zone</translation>
    </message>
    <message>
        <source>Prefer RS-485</source>
        <translation>Preferisci RS-485</translation>
    </message>
    <message>
        <source>System members</source>
        <translation>Membri del sistema</translation>
    </message>
    <message>
        <source>System members and devices without system</source>
        <translation>Membri del sistema e dispositivi senza sistema</translation>
    </message>
    <message>
        <source>Only routers</source>
        <translation>Solo router</translation>
    </message>
    <message>
        <source>Access Granted</source>
        <translation>Accesso consentito</translation>
    </message>
    <message>
        <source>Access Denied</source>
        <translation>Accesso negato</translation>
    </message>
    <message>
        <source>Battery Low</source>
        <translation>Batteria scarica</translation>
    </message>
    <message>
        <source>Programming Mode</source>
        <translation>Modalità programmazione</translation>
    </message>
    <message>
        <source>Device Error</source>
        <translation>Errore del dispositivo</translation>
    </message>
    <message>
        <source>Locate Device</source>
        <translation>Localizza dispositivo</translation>
    </message>
    <message>
        <source>Reader</source>
        <translation>Lettore</translation>
    </message>
    <message>
        <source>Keypad</source>
        <translation>Tastiera</translation>
    </message>
    <message>
        <source>Contact Input</source>
        <translation>Ingresso di contatto</translation>
    </message>
    <message>
        <source>Radio Link</source>
        <translation>Collegamento radio</translation>
    </message>
    <message>
        <source>Clock</source>
        <translation>Orologio</translation>
    </message>
    <message>
        <source>Network</source>
        <translation>Rete</translation>
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
        <translation>Pulsante</translation>
    </message>
    <message>
        <source>State</source>
        <translation>Stato</translation>
    </message>
    <message>
        <source>Edge</source>
        <translation>Fronte</translation>
    </message>
    <message>
        <source>Press</source>
        <translation>Pressione</translation>
    </message>
    <message>
        <source>Release</source>
        <translation>Rilascio</translation>
    </message>
    <message>
        <source>Duration Short</source>
        <translation>Durata breve</translation>
    </message>
    <message>
        <source>Duration Middle</source>
        <translation>Durata media</translation>
    </message>
    <message>
        <source>Duration Long</source>
        <translation>Durata lunga</translation>
    </message>
    <message>
        <source>Push Button</source>
        <translation>Pulsante a pressione</translation>
    </message>
    <message>
        <source>Door Contact</source>
        <translation>Contatto porta</translation>
    </message>
    <message>
        <source>Bolt Contact</source>
        <translation>Contatto catenaccio</translation>
    </message>
    <message>
        <source>Motion Detector</source>
        <translation>Rilevatore di movimento</translation>
    </message>
    <message>
        <source>Alarm System</source>
        <translation>Impianto di allarme</translation>
    </message>
    <message>
        <source>Factory</source>
        <translation>Fabbrica</translation>
    </message>
    <message>
        <source>Multi</source>
        <translation>Multiplo</translation>
    </message>
    <message>
        <source>Single</source>
        <translation>Singolo</translation>
    </message>
    <message>
        <source>Expo</source>
        <translation>Esposizione</translation>
    </message>
    <message>
        <source>Work</source>
        <translation>Esercizio</translation>
    </message>
    <message>
        <source>Undefined</source>
        <translation>Non definito</translation>
    </message>
    <message>
        <source>Default</source>
        <translation>Predefinito</translation>
    </message>
    <message>
        <source>Output</source>
        <translation>Uscita</translation>
    </message>
    <message>
        <source>Auto Open</source>
        <translation>Apertura automatica</translation>
    </message>
    <message>
        <source>Lockdown</source>
        <translation>Blocco</translation>
    </message>
    <message>
        <source>Reserve</source>
        <translation>Riserva</translation>
    </message>
    <message>
        <source>Relay</source>
        <translation>Relè</translation>
    </message>
    <message>
        <source>Immediate</source>
        <translation>Immediato</translation>
    </message>
    <message>
        <source>Finally</source>
        <translation>Alla fine</translation>
    </message>
    <message>
        <source>Rising Edge</source>
        <translation>Fronte di salita</translation>
    </message>
    <message>
        <source>Falling Edge</source>
        <translation>Fronte di discesa</translation>
    </message>
    <message>
        <source>Organisation Plate A</source>
        <translation>Piastra organizzativa A</translation>
    </message>
    <message>
        <source>Organisation Plate B</source>
        <translation>Piastra organizzativa B</translation>
    </message>
    <message>
        <source>Organisation Plate C</source>
        <translation>Piastra organizzativa C</translation>
    </message>
    <message>
        <source>Organisation Plate D</source>
        <translation>Piastra organizzativa D</translation>
    </message>
    <message>
        <source>Organisation Plate E</source>
        <translation>Piastra organizzativa E</translation>
    </message>
    <message>
        <source>Organisation Plate F</source>
        <translation>Piastra organizzativa F</translation>
    </message>
    <message>
        <source>Organisation Plate G</source>
        <translation>Piastra organizzativa G</translation>
    </message>
    <message>
        <source>Organisation Plate H</source>
        <translation>Piastra organizzativa H</translation>
    </message>
    <message>
        <source>Organisation Plate I</source>
        <translation>Piastra organizzativa I</translation>
    </message>
    <message>
        <source>Organisation Plate J</source>
        <translation>Piastra organizzativa J</translation>
    </message>
    <message>
        <source>Protection Plate A</source>
        <translation>Piastra di protezione A</translation>
    </message>
    <message>
        <source>Protection Plate B</source>
        <translation>Piastra di protezione B</translation>
    </message>
    <message>
        <source>Protection Plate C</source>
        <translation>Piastra di protezione C</translation>
    </message>
    <message>
        <source>Protection Plate D</source>
        <translation>Piastra di protezione D</translation>
    </message>
    <message>
        <source>Protection Plate E</source>
        <translation>Piastra di protezione E</translation>
    </message>
    <message>
        <source>Protection Plate F</source>
        <translation>Piastra di protezione F</translation>
    </message>
    <message>
        <source>Protection Plate G</source>
        <translation>Piastra di protezione G</translation>
    </message>
    <message>
        <source>Protection Plate H</source>
        <translation>Piastra di protezione H</translation>
    </message>
    <message>
        <source>Protection Plate</source>
        <translation>Piastra di protezione</translation>
    </message>
    <message>
        <source>Keypad Reader A</source>
        <translation>Lettore con tastiera A</translation>
    </message>
    <message>
        <source>Keypad Reader B</source>
        <translation>Lettore con tastiera B</translation>
    </message>
    <message>
        <source>Radio Stick</source>
        <translation>Chiavetta radio</translation>
    </message>
    <message>
        <source>Network Gateway</source>
        <translation>Gateway di rete</translation>
    </message>
    <message>
        <source>I/O Module A</source>
        <translation>Modulo I/O A</translation>
    </message>
    <message>
        <source>I/O Module B</source>
        <translation>Modulo I/O B</translation>
    </message>
    <message>
        <source>Electronic Cylinder</source>
        <translation>Cilindro elettronico</translation>
    </message>
    <message>
        <source>Electronic Cylinder II</source>
        <translation>Cilindro elettronico II</translation>
    </message>
    <message>
        <source>I/O Controller</source>
        <translation>Controllore I/O</translation>
    </message>
    <message>
        <source>Input Module</source>
        <translation>Modulo d&apos;ingresso</translation>
    </message>
    <message>
        <source>Motor Lock A</source>
        <translation>Serratura motorizzata A</translation>
    </message>
    <message>
        <source>Motor Lock B</source>
        <translation>Serratura motorizzata B</translation>
    </message>
    <message>
        <source>Bus Repeater A</source>
        <translation>Ripetitore bus A</translation>
    </message>
    <message>
        <source>Bus Repeater B</source>
        <translation>Ripetitore bus B</translation>
    </message>
    <message>
        <source>Bus Repeater C</source>
        <translation>Ripetitore bus C</translation>
    </message>
    <message>
        <source>Radio Repeater</source>
        <translation>Ripetitore radio</translation>
    </message>
    <message>
        <source>Organisation Plate II A</source>
        <translation>Piastra organizzativa II A</translation>
    </message>
    <message>
        <source>Organisation Plate II B</source>
        <translation>Piastra organizzativa II B</translation>
    </message>
    <message>
        <source>Relay Reader</source>
        <translation>Lettore a relè</translation>
    </message>
    <message>
        <source>Safe Lock A</source>
        <translation>Serratura per cassaforte A</translation>
    </message>
    <message>
        <source>Safe Lock B</source>
        <translation>Serratura per cassaforte B</translation>
    </message>
    <message>
        <source>Compact Reader A</source>
        <translation>Lettore compatto A</translation>
    </message>
    <message>
        <source>Compact Reader B</source>
        <translation>Lettore compatto B</translation>
    </message>
    <message>
        <source>Autodetect</source>
        <translation>Rilevamento automatico</translation>
    </message>
    <message>
        <source>Lithium</source>
        <translation>Litio</translation>
    </message>
    <message>
        <source>Lithium (unsupported)</source>
        <translation>Litio (non supportato)</translation>
    </message>
    <message>
        <source>Alkaline</source>
        <translation>Alcalina</translation>
    </message>
    <message>
        <source>Battery Board</source>
        <translation>Scheda batteria</translation>
    </message>
    <message>
        <source>Remote Board</source>
        <translation>Scheda remota</translation>
    </message>
    <message>
        <source>I/O Board</source>
        <translation>Scheda I/O</translation>
    </message>
    <message>
        <source>Mira Board</source>
        <translation>Scheda Mira</translation>
    </message>
    <message>
        <source>Device Settings</source>
        <translation>Impostazioni del dispositivo</translation>
    </message>
    <message>
        <source>System Membership</source>
        <translation>Appartenenza al sistema</translation>
    </message>
    <message>
        <source>Radio Network</source>
        <translation>Rete radio</translation>
    </message>
    <message>
        <source>Time Settings</source>
        <translation>Impostazioni dell&apos;ora</translation>
    </message>
    <message>
        <source>Authorizations</source>
        <translation>Autorizzazioni</translation>
    </message>
    <message>
        <source>Time Profiles</source>
        <translation>Profili orari</translation>
    </message>
    <message>
        <source>Holiday Calendars</source>
        <translation>Calendari delle festività</translation>
    </message>
    <message>
        <source>Media Keys</source>
        <translation>Chiavi dei supporti</translation>
    </message>
    <message>
        <source>Certificates</source>
        <translation>Certificati</translation>
    </message>
    <message>
        <source>Event Log</source>
        <translation>Registro eventi</translation>
    </message>
    <message>
        <source>Statistics</source>
        <translation>Statistiche</translation>
    </message>
    <message>
        <source>Calibration Data</source>
        <translation>Dati di calibrazione</translation>
    </message>
    <message>
        <source>Network Settings</source>
        <translation>Impostazioni di rete</translation>
    </message>
    <message>
        <source>Software Packages</source>
        <translation>Pacchetti software</translation>
    </message>
    <message>
        <source>Signal Settings</source>
        <translation>Impostazioni dei segnali</translation>
    </message>
    <message>
        <source>Application</source>
        <translation>Applicazione</translation>
    </message>
    <message>
        <source>Boot Loader</source>
        <translation>Boot loader</translation>
    </message>
    <message>
        <source>Radio Module</source>
        <translation>Modulo radio</translation>
    </message>
    <message>
        <source>Reader Module</source>
        <translation>Modulo lettore</translation>
    </message>
    <message>
        <source>Signed Images</source>
        <translation>Immagini firmate</translation>
    </message>
    <message>
        <source>Compressed Images</source>
        <translation>Immagini compresse</translation>
    </message>
    <message>
        <source>Background Update</source>
        <translation>Aggiornamento in background</translation>
    </message>
    <message>
        <source>Roll Back</source>
        <translation>Ripristino versione precedente</translation>
    </message>
    <message>
        <source>OK</source>
        <translation>OK</translation>
    </message>
    <message>
        <source>Busy</source>
        <translation>Occupato</translation>
    </message>
    <message>
        <source>Not Supported</source>
        <translation>Non supportato</translation>
    </message>
    <message>
        <source>Invalid Parameter</source>
        <translation>Parametro non valido</translation>
    </message>
    <message>
        <source>Not Authorized</source>
        <translation>Non autorizzato</translation>
    </message>
    <message>
        <source>Timeout</source>
        <translation>Tempo scaduto</translation>
    </message>
    <message>
        <source>Failed</source>
        <translation>Non riuscito</translation>
    </message>
    <message>
        <source>Real-Time Clock</source>
        <translation>Orologio in tempo reale</translation>
    </message>
    <message>
        <source>External Flash Memory</source>
        <translation>Memoria flash esterna</translation>
    </message>
    <message>
        <source>Secure Element</source>
        <translation>Elemento sicuro</translation>
    </message>
    <message>
        <source>Buzzer</source>
        <translation>Cicalino</translation>
    </message>
    <message>
        <source>Tamper Contact</source>
        <translation>Contatto antisabotaggio</translation>
    </message>
    <message>
        <source>Internal Flash</source>
        <translation>Flash interna</translation>
    </message>
    <message>
        <source>External Flash</source>
        <translation>Flash esterna</translation>
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
        <translation>Elettronica piastra</translation>
    </message>
    <message>
        <source>Reader Electronics</source>
        <translation>Elettronica lettore</translation>
    </message>
    <message>
        <source>I/O Electronics</source>
        <translation>Elettronica I/O</translation>
    </message>
    <message>
        <source>Network Electronics</source>
        <translation>Elettronica di rete</translation>
    </message>
    <message>
        <source>Cylinder Electronics</source>
        <translation>Elettronica cilindro</translation>
    </message>
    <message>
        <source>Lock Electronics</source>
        <translation>Elettronica serratura</translation>
    </message>
    <message>
        <source>Off</source>
        <translation>Disattivata</translation>
    </message>
    <message>
        <source>Simulated Media</source>
        <translation>Supporti simulati</translation>
    </message>
    <message>
        <source>Simulated Inputs</source>
        <translation>Ingressi simulati</translation>
    </message>
    <message>
        <source>Simulated Device</source>
        <translation>Dispositivo simulato</translation>
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
        <translation>Semplice</translation>
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
        <translation>Tessera</translation>
    </message>
    <message>
        <source>Key Fob</source>
        <translation>Portachiavi</translation>
    </message>
    <message>
        <source>Wristband</source>
        <translation>Braccialetto</translation>
    </message>
    <message>
        <source>Sticker</source>
        <translation>Adesivo</translation>
    </message>
    <message>
        <source>Smartphone</source>
        <translation>Smartphone</translation>
    </message>
    <message>
        <source>Devel</source>
        <translation>Sviluppo</translation>
    </message>
    <message>
        <source>Brell 2012</source>
        <translation>Brell 2012</translation>
    </message>
    <message>
        <source>Known Medium</source>
        <translation>Supporto noto</translation>
    </message>
    <message>
        <source>Unknown Medium</source>
        <translation>Supporto sconosciuto</translation>
    </message>
    <message>
        <source>Blocked Medium</source>
        <translation>Supporto bloccato</translation>
    </message>
    <message>
        <source>Medium Presented</source>
        <translation>Supporto presentato</translation>
    </message>
    <message>
        <source>Medium Removed</source>
        <translation>Supporto rimosso</translation>
    </message>
    <message>
        <source>1 Digit</source>
        <translation>1 cifra</translation>
    </message>
    <message>
        <source>2 Digits</source>
        <translation>2 cifre</translation>
    </message>
    <message>
        <source>3 Digits</source>
        <translation>3 cifre</translation>
    </message>
    <message>
        <source>4 Digits</source>
        <translation>4 cifre</translation>
    </message>
    <message>
        <source>5 Digits</source>
        <translation>5 cifre</translation>
    </message>
    <message>
        <source>6 Digits</source>
        <translation>6 cifre</translation>
    </message>
    <message>
        <source>7 Digits</source>
        <translation>7 cifre</translation>
    </message>
    <message>
        <source>8 Digits</source>
        <translation>8 cifre</translation>
    </message>
    <message>
        <source>9 Digits</source>
        <translation>9 cifre</translation>
    </message>
    <message>
        <source>10 Digits</source>
        <translation>10 cifre</translation>
    </message>
    <message>
        <source>11 Digits</source>
        <translation>11 cifre</translation>
    </message>
    <message>
        <source>12 Digits</source>
        <translation>12 cifre</translation>
    </message>
    <message>
        <source>Known Code</source>
        <translation>Codice noto</translation>
    </message>
    <message>
        <source>Unknown Code</source>
        <translation>Codice sconosciuto</translation>
    </message>
    <message>
        <source>Never</source>
        <translation>Mai</translation>
    </message>
    <message>
        <source>Daily</source>
        <translation>Giornaliero</translation>
    </message>
    <message>
        <source>Weekly</source>
        <translation>Settimanale</translation>
    </message>
    <message>
        <source>Biweekly</source>
        <translation>Ogni due settimane</translation>
    </message>
    <message>
        <source>Monthly</source>
        <translation>Mensile</translation>
    </message>
    <message>
        <source>7 days</source>
        <translation>7 giorni</translation>
    </message>
    <message>
        <source>30 days</source>
        <translation>30 giorni</translation>
    </message>
    <message>
        <source>2 months</source>
        <translation>2 mesi</translation>
    </message>
    <message>
        <source>6 months</source>
        <translation>6 mesi</translation>
    </message>
    <message>
        <source>1 year</source>
        <translation>1 anno</translation>
    </message>
    <message>
        <source>2 years</source>
        <translation>2 anni</translation>
    </message>
    <message>
        <source>5 years</source>
        <translation>5 anni</translation>
    </message>
    <message>
        <source>10 years</source>
        <translation>10 anni</translation>
    </message>
    <message>
        <source>15 years</source>
        <translation>15 anni</translation>
    </message>
    <message>
        <source>30 years</source>
        <translation>30 anni</translation>
    </message>
    <message>
        <source>RF Power LUT 0</source>
        <translation>Tabella potenza RF 0</translation>
    </message>
    <message>
        <source>RF Power LUT 1</source>
        <translation>Tabella potenza RF 1</translation>
    </message>
    <message>
        <source>RF Power LUT 2</source>
        <translation>Tabella potenza RF 2</translation>
    </message>
    <message>
        <source>RF Power LUT 3</source>
        <translation>Tabella potenza RF 3</translation>
    </message>
    <message>
        <source>RF Power LUT 4</source>
        <translation>Tabella potenza RF 4</translation>
    </message>
    <message>
        <source>RF Power LUT 5</source>
        <translation>Tabella potenza RF 5</translation>
    </message>
    <message>
        <source>RF Power LUT 6</source>
        <translation>Tabella potenza RF 6</translation>
    </message>
    <message>
        <source>Opening Time</source>
        <translation>Tempo di apertura</translation>
    </message>
    <message>
        <source>Extended Opening Time</source>
        <translation>Tempo di apertura prolungato</translation>
    </message>
    <message>
        <source>Door Held Open Time</source>
        <translation>Tempo di porta tenuta aperta</translation>
    </message>
    <message>
        <source>Signal Volume</source>
        <translation>Volume del segnale</translation>
    </message>
    <message>
        <source>Signal Brightness</source>
        <translation>Luminosità del segnale</translation>
    </message>
    <message>
        <source>Keypad Timeout</source>
        <translation>Timeout della tastiera</translation>
    </message>
    <message>
        <source>Radio Power</source>
        <translation>Potenza radio</translation>
    </message>
    <message>
        <source>Radio Wake Interval</source>
        <translation>Intervallo di risveglio radio</translation>
    </message>
    <message>
        <source>Bus Address</source>
        <translation>Indirizzo bus</translation>
    </message>
    <message>
        <source>Medium</source>
        <translation>Supporto</translation>
    </message>
    <message>
        <source>Input</source>
        <translation>Ingresso</translation>
    </message>
    <message>
        <source>Time Profile</source>
        <translation>Profilo orario</translation>
    </message>
    <message>
        <source>Battery Level</source>
        <translation>Livello batteria</translation>
    </message>
    <message>
        <source>Reason</source>
        <translation>Motivo</translation>
    </message>
    <message>
        <source>Order Number</source>
        <translation>Numero d&apos;ordine</translation>
    </message>
    <message>
        <source>Device Update Mode</source>
        <translation>Modalità di aggiornamento dei dispositivi</translation>
    </message>
    <message>
        <source>Network Search Mode</source>
        <translation>Modalità di ricerca in rete</translation>
    </message>
    <message>
        <source>Data Retain Period</source>
        <translation>Periodo di conservazione dei dati</translation>
    </message>
    <message>
        <source>Backup Interval</source>
        <translation>Intervallo di backup</translation>
    </message>
    <message>
        <source>Routing Strategy</source>
        <translation>Strategia di instradamento</translation>
    </message>
    <message>
        <source>TCP Keepalive</source>
        <translation>Keepalive TCP</translation>
    </message>
    <message>
        <source>Zone %1</source>
        <translation>Zona %1</translation>
    </message>
    <message>
        <source>Zones %1</source>
        <translation>Zone %1</translation>
    </message>
    <message>
        <source>Relay %1</source>
        <translation>Relè %1</translation>
    </message>
    <message>
        <source>Relays %1</source>
        <translation>Relè %1</translation>
    </message>
    <message>
        <source>%1 digits</source>
        <translation>%1 cifre</translation>
    </message>
    <message>
        <source>Excellent</source>
        <translation>Eccellente</translation>
    </message>
    <message>
        <source>Good</source>
        <translation>Buono</translation>
    </message>
    <message>
        <source>Fair</source>
        <translation>Discreto</translation>
    </message>
    <message>
        <source>Weak</source>
        <translation>Debole</translation>
    </message>
    <message>
        <source>Technical Media ID</source>
        <translation>ID tecnico del supporto</translation>
    </message>
    <message>
        <source>Public Media ID</source>
        <translation>ID pubblico del supporto</translation>
    </message>
    <message>
        <source>UID</source>
        <translation>UID</translation>
    </message>
    <message>
        <source>Device ID</source>
        <translation>ID del dispositivo</translation>
    </message>
    <message>
        <source>Event Type</source>
        <translation>Tipo di evento</translation>
    </message>
    <message>
        <source>Login Write</source>
        <translation>Accesso: scrittura</translation>
    </message>
    <message>
        <source>Users Write</source>
        <translation>Utenti: scrittura</translation>
    </message>
    <message>
        <source>User Groups Write</source>
        <translation>Gruppi di utenti: scrittura</translation>
    </message>
    <message>
        <source>Media Write</source>
        <translation>Supporti: scrittura</translation>
    </message>
    <message>
        <source>Codes Write</source>
        <translation>Codici: scrittura</translation>
    </message>
    <message>
        <source>Access Rights Write</source>
        <translation>Diritti di accesso: scrittura</translation>
    </message>
    <message>
        <source>Time Profiles Write</source>
        <translation>Profili orari: scrittura</translation>
    </message>
    <message>
        <source>Access Points Write</source>
        <translation>Punti di accesso: scrittura</translation>
    </message>
    <message>
        <source>Remote Execution</source>
        <translation>Esecuzione remota</translation>
    </message>
    <message>
        <source>Devices Write</source>
        <translation>Dispositivi: scrittura</translation>
    </message>
    <message>
        <source>Software Write</source>
        <translation>Software: scrittura</translation>
    </message>
    <message>
        <source>Logs</source>
        <translation>Registri</translation>
    </message>
    <message>
        <source>Media Pools Write</source>
        <translation>Pool di supporti: scrittura</translation>
    </message>
    <message>
        <source>User Group Relations</source>
        <translation>Relazioni dei gruppi di utenti</translation>
    </message>
    <message>
        <source>Read Passwords</source>
        <translation>Lettura delle password</translation>
    </message>
    <message>
        <source>Login Read</source>
        <translation>Accesso: lettura</translation>
    </message>
    <message>
        <source>Users Read</source>
        <translation>Utenti: lettura</translation>
    </message>
    <message>
        <source>User Groups Read</source>
        <translation>Gruppi di utenti: lettura</translation>
    </message>
    <message>
        <source>Media Read</source>
        <translation>Supporti: lettura</translation>
    </message>
    <message>
        <source>Codes Read</source>
        <translation>Codici: lettura</translation>
    </message>
    <message>
        <source>Access Rights Read</source>
        <translation>Diritti di accesso: lettura</translation>
    </message>
    <message>
        <source>Time Profiles Read</source>
        <translation>Profili orari: lettura</translation>
    </message>
    <message>
        <source>Access Points Read</source>
        <translation>Punti di accesso: lettura</translation>
    </message>
    <message>
        <source>Devices Read</source>
        <translation>Dispositivi: lettura</translation>
    </message>
    <message>
        <source>Software Read</source>
        <translation>Software: lettura</translation>
    </message>
    <message>
        <source>Media Pools Read</source>
        <translation>Pool di supporti: lettura</translation>
    </message>
    <message>
        <source>Administrator</source>
        <translation>Amministratore</translation>
    </message>
    <message>
        <source>Server (%1)</source>
        <translation>Server (%1)</translation>
    </message>
    <message>
        <source>We do not want to authenticate on an unencrypted connection.</source>
        <translation>Non ci autentichiamo su una connessione non cifrata.</translation>
    </message>
    <message>
        <source>The remote host closed the connection.</source>
        <translation>L&apos;host remoto ha chiuso la connessione.</translation>
    </message>
    <message>
        <source>The reply of the server is too long.</source>
        <translation>La risposta del server è troppo lunga.</translation>
    </message>
    <message>
        <source>Authorization protocols not yet supported: %1</source>
        <translation>Metodi di autenticazione non ancora supportati: %1</translation>
    </message>
    <message>
        <source>The server takes only ASCII characters in addresses.</source>
        <translation>Il server accetta negli indirizzi solo caratteri ASCII.</translation>
    </message>
</context>
</TS>
