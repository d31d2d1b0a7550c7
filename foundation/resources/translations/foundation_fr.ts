<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="fr_FR">
<context>
    <name>@default</name>
    <message>
        <source>Unknown</source>
        <translation>Inconnu</translation>
    </message>
    <message>
        <source>RFID</source>
        <translation>RFID</translation>
    </message>
    <message>
        <source>Pin Code</source>
        <translation>Code PIN</translation>
    </message>
    <message>
        <source>Smart Access</source>
        <translation>Smart Access</translation>
    </message>
    <message>
        <source>Opener Authorization Point</source>
        <translation>Point d&apos;autorisation d&apos;ouverture</translation>
    </message>
    <message>
        <source>Group Authorization Point</source>
        <translation>Point d&apos;autorisation de groupe</translation>
    </message>
    <message>
        <source>Broadcast Authorization Point</source>
        <translation>Point d&apos;autorisation de diffusion</translation>
    </message>
    <message>
        <source>Observe Authorization Point</source>
        <translation>Point d&apos;autorisation d&apos;observation</translation>
    </message>
    <message>
        <source>Device Position</source>
        <translation>Position de l&apos;appareil</translation>
    </message>
    <message>
        <source>Access Area</source>
        <translation>Zone d&apos;accès</translation>
    </message>
    <message>
        <source>User</source>
        <translation>Utilisateur</translation>
    </message>
    <message>
        <source>Group</source>
        <translation>Groupe</translation>
    </message>
    <message>
        <source>Media Pool</source>
        <translation>Pool de médias</translation>
    </message>
    <message>
        <source>Simple Door</source>
        <translation>Porte simple</translation>
    </message>
    <message>
        <source>Mailbox</source>
        <translation>Boîte aux lettres</translation>
    </message>
    <message>
        <source>Infrastructure</source>
        <translation>Infrastructure</translation>
    </message>
    <message>
        <source>Complex Door</source>
        <translation>Porte complexe</translation>
    </message>
    <message>
        <source>Elevator</source>
        <translation>Ascenseur</translation>
    </message>
    <message>
        <source>Controller</source>
        <translation>Contrôleur</translation>
    </message>
    <message>
        <source>Online Access</source>
        <translation>Accès en ligne</translation>
    </message>
    <message>
        <source>Broadcast Type 1 (Amok)</source>
        <translation>Diffusion type 1 (attaque)</translation>
    </message>
    <message>
        <source>Broadcast Type 2 (Amok Over)</source>
        <translation>Diffusion type 2 (fin d&apos;attaque)</translation>
    </message>
    <message>
        <source>Broadcast Type 3 (Open All)</source>
        <translation>Diffusion type 3 (tout ouvrir)</translation>
    </message>
    <message>
        <source>Broadcast Type 4 (Close All)</source>
        <translation>Diffusion type 4 (tout fermer)</translation>
    </message>
    <message>
        <source>Input Signal</source>
        <translation>Signal d&apos;entrée</translation>
    </message>
    <message>
        <source>Remote Open</source>
        <translation>Ouverture à distance</translation>
    </message>
    <message>
        <source>Broadcast</source>
        <translation>Diffusion</translation>
    </message>
    <message>
        <source>Pairing</source>
        <translation>Appairage</translation>
    </message>
    <message>
        <source>Time</source>
        <translation>Heure</translation>
    </message>
    <message>
        <source>Code</source>
        <translation>Code</translation>
    </message>
    <message>
        <source>RFID Medium</source>
        <translation>Média RFID</translation>
    </message>
    <message>
        <source>User Group</source>
        <translation>Groupe d&apos;utilisateurs</translation>
    </message>
    <message>
        <source>Device</source>
        <translation>Appareil</translation>
    </message>
    <message>
        <source>Access Point</source>
        <translation>Point d&apos;accès</translation>
    </message>
    <message>
        <source>System</source>
        <translation>Système</translation>
    </message>
    <message>
        <source>Authorization Point</source>
        <translation>Point d&apos;autorisation</translation>
    </message>
    <message>
        <source>Authorization Point Group</source>
        <translation>Groupe de points d&apos;autorisation</translation>
    </message>
    <message>
        <source>Authorization Point of Access Point</source>
        <translation>Point d&apos;autorisation d&apos;un point d&apos;accès</translation>
    </message>
    <message>
        <source>Right of User/Group</source>
        <translation>Droit d&apos;utilisateur/de groupe</translation>
    </message>
    <message>
        <source>Right of Access Point</source>
        <translation>Droit du point d&apos;accès</translation>
    </message>
    <message>
        <source>None</source>
        <translation>Aucun</translation>
    </message>
    <message>
        <source>Text</source>
        <translation>Texte</translation>
    </message>
    <message>
        <source>Number</source>
        <translation>Nombre</translation>
    </message>
    <message>
        <source>Real</source>
        <translation>Nombre réel</translation>
    </message>
    <message>
        <source>On/Off</source>
        <translation>Marche/Arrêt</translation>
    </message>
    <message>
        <source>Byte Array</source>
        <translation>Suite d&apos;octets</translation>
    </message>
    <message>
        <source>Date/Time</source>
        <translation>Date/Heure</translation>
    </message>
    <message>
        <source>Directory Path</source>
        <translation>Chemin du répertoire</translation>
    </message>
    <message>
        <source>File Path</source>
        <translation>Chemin du fichier</translation>
    </message>
    <message>
        <source>Password</source>
        <translation>Mot de passe</translation>
    </message>
    <message>
        <source>Unique ID</source>
        <translation>ID unique</translation>
    </message>
    <message>
        <source>Absolute Directory Path</source>
        <translation>Chemin absolu du répertoire</translation>
    </message>
    <message>
        <source>Monday</source>
        <translation>Lundi</translation>
    </message>
    <message>
        <source>Tuesday</source>
        <translation>Mardi</translation>
    </message>
    <message>
        <source>Wednesday</source>
        <translation>Mercredi</translation>
    </message>
    <message>
        <source>Thursday</source>
        <translation>Jeudi</translation>
    </message>
    <message>
        <source>Friday</source>
        <translation>Vendredi</translation>
    </message>
    <message>
        <source>Saturday</source>
        <translation>Samedi</translation>
    </message>
    <message>
        <source>Sunday</source>
        <translation>Dimanche</translation>
    </message>
    <message>
        <source>Holiday</source>
        <translation>Jour férié</translation>
    </message>
    <message>
        <source>Basic</source>
        <translation>De base</translation>
    </message>
    <message>
        <source>Info</source>
        <translation>Infos</translation>
    </message>
    <message>
        <source>Admin</source>
        <translation>Administration</translation>
    </message>
    <message>
        <source>Table</source>
        <translation>Tableau</translation>
    </message>
    <message>
        <source>Open</source>
        <translation>Ouvrir</translation>
    </message>
    <message>
        <source>Open Long</source>
        <translation>Ouvrir longtemps</translation>
    </message>
    <message>
        <source>Toggle</source>
        <translation>Basculer</translation>
    </message>
    <message>
        <source>Office Mode On</source>
        <translation>Mode bureau activé</translation>
    </message>
    <message>
        <source>Office Mode Off</source>
        <translation>Mode bureau désactivé</translation>
    </message>
    <message>
        <source>Lockdown On</source>
        <translation>Confinement activé</translation>
    </message>
    <message>
        <source>Lockdown Off</source>
        <translation>Confinement désactivé</translation>
    </message>
    <message>
        <source>Amok Alarm</source>
        <translation>Alerte attaque</translation>
    </message>
    <message>
        <source>Amok Alarm Over</source>
        <translation>Fin de l&apos;alerte attaque</translation>
    </message>
    <message>
        <source>Open All Doors</source>
        <translation>Ouvrir toutes les portes</translation>
    </message>
    <message>
        <source>Close All Doors</source>
        <translation>Fermer toutes les portes</translation>
    </message>
    <message>
        <source>Identify</source>
        <translation>Identifier</translation>
    </message>
    <message>
        <source>Enrol Medium</source>
        <translation>Enregistrer un média</translation>
    </message>
    <message>
        <source>Service Access</source>
        <translation>Accès de maintenance</translation>
    </message>
    <message>
        <source>Observe</source>
        <translation>Observer</translation>
    </message>
    <message>
        <source>Internal</source>
        <translation>Interne</translation>
    </message>
    <message>
        <source>External</source>
        <translation>Externe</translation>
    </message>
    <message>
        <source>Battery</source>
        <translation>Pile</translation>
    </message>
    <message>
        <source>Organisation Plates</source>
        <translation>Plaques d&apos;organisation</translation>
    </message>
    <message>
        <source>Protection Plates</source>
        <translation>Plaques de protection</translation>
    </message>
    <message>
        <source>Mounted Readers</source>
        <translation>Lecteurs muraux</translation>
    </message>
    <message>
        <source>Administrative Devices</source>
        <translation>Appareils d&apos;administration</translation>
    </message>
    <message>
        <source>I/O Modules</source>
        <translation>Modules E/S</translation>
    </message>
    <message>
        <source>Infrastructure Devices</source>
        <translation>Appareils d&apos;infrastructure</translation>
    </message>
    <message>
        <source>Cylinder Locks</source>
        <translation>Cylindres</translation>
    </message>
    <message>
        <source>Motor Locks</source>
        <translation>Serrures motorisées</translation>
    </message>
    <message>
        <source>Safe Locks</source>
        <translation>Serrures de coffre-fort</translation>
    </message>
    <message>
        <source>Input 1</source>
        <translation>Entrée 1</translation>
    </message>
    <message>
        <source>Input 2</source>
        <translation>Entrée 2</translation>
    </message>
    <message>
        <source>Input 3</source>
        <translation>Entrée 3</translation>
    </message>
    <message>
        <source>Input 4</source>
        <translation>Entrée 4</translation>
    </message>
    <message>
        <source>Input 5</source>
        <translation>Entrée 5</translation>
    </message>
    <message>
        <source>Input 6</source>
        <translation>Entrée 6</translation>
    </message>
    <message>
        <source>Input 7</source>
        <translation>Entrée 7</translation>
    </message>
    <message>
        <source>Input 8</source>
        <translation>Entrée 8</translation>
    </message>
    <message>
        <source>Interior Button</source>
        <translation>Bouton intérieur</translation>
    </message>
    <message>
        <source>Triangle Button</source>
        <translation>Touche triangle</translation>
    </message>
    <message>
        <source>Square Button</source>
        <translation>Touche carré</translation>
    </message>
    <message>
        <source>Pentagon Button</source>
        <translation>Touche pentagone</translation>
    </message>
    <message>
        <source>Hexagon Button</source>
        <translation>Touche hexagone</translation>
    </message>
    <message>
        <source>Known devices</source>
        <translation>Appareils connus</translation>
    </message>
    <message>
        <source>Unknown devices</source>
        <translation>Appareils inconnus</translation>
    </message>
    <message>
        <source>All devices</source>
        <translation>Tous les appareils</translation>
    </message>
    <message>
        <source>Motor</source>
        <translation>Moteur</translation>
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
        <translation>Joignable directement</translation>
    </message>
    <message>
        <source>Networked reachable</source>
        <translation>Joignable par le réseau</translation>
    </message>
    <message>
        <source>Unreachable</source>
        <translation>Injoignable</translation>
    </message>
    <message>
        <source>Identification</source>
        <translation>Identification</translation>
    </message>
    <message>
        <source>Opener</source>
        <translation>Ouvreur</translation>
    </message>
    <message>
        <source>Repeater</source>
        <translation>Répéteur</translation>
    </message>
    <message>
        <source>Exit Identification</source>
        <translation>Identification de sortie</translation>
    </message>
    <message>
        <source>Amok</source>
        <translation>Attaque</translation>
    </message>
    <message>
        <source>Open Zones</source>
        <translation>Ouverture des zones</translation>
    </message>
    <message>
        <source>Prefer RS-485</source>
        <translation>RS-485 de préférence</translation>
    </message>
    <message>
        <source>System members</source>
        <translation>Membres du système</translation>
    </message>
    <message>
        <source>System members and devices without system</source>
        <translation>Membres du système et appareils sans système</translation>
    </message>
    <message>
        <source>Only routers</source>
        <translation>Routeurs uniquement</translation>
    </message>
    <message>
        <source>Access Granted</source>
        <translation>Accès autorisé</translation>
    </message>
    <message>
        <source>Access Denied</source>
        <translation>Accès refusé</translation>
    </message>
    <message>
        <source>Battery Low</source>
        <translation>Pile faible</translation>
    </message>
    <message>
        <source>Programming Mode</source>
        <translation>Mode programmation</translation>
    </message>
    <message>
        <source>Device Error</source>
        <translation>Erreur d&apos;appareil</translation>
    </message>
    <message>
        <source>Locate Device</source>
        <translation>Localiser l&apos;appareil</translation>
    </message>
    <message>
        <source>Reader</source>
        <translation>Lecteur</translation>
    </message>
    <message>
        <source>Keypad</source>
        <translation>Clavier</translation>
    </message>
    <message>
        <source>Contact Input</source>
        <translation>Entrée de contact</translation>
    </message>
    <message>
        <source>Radio Link</source>
        <translation>Liaison radio</translation>
    </message>
    <message>
        <source>Clock</source>
        <translation>Horloge</translation>
    </message>
    <message>
        <source>Network</source>
        <translation>Réseau</translation>
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
        <translation>Bouton</translation>
    </message>
    <message>
        <source>State</source>
        <translation>État</translation>
    </message>
    <message>
        <source>Edge</source>
        <translation>Front</translation>
    </message>
    <message>
        <source>Press</source>
        <translation>Appui</translation>
    </message>
    <message>
        <source>Release</source>
        <translation>Relâchement</translation>
    </message>
    <message>
        <source>Duration Short</source>
        <translation>Durée courte</translation>
    </message>
    <message>
        <source>Duration Middle</source>
        <translation>Durée moyenne</translation>
    </message>
    <message>
        <source>Duration Long</source>
        <translation>Durée longue</translation>
    </message>
    <message>
        <source>Push Button</source>
        <translation>Bouton-poussoir</translation>
    </message>
    <message>
        <source>Door Contact</source>
        <translation>Contact de porte</translation>
    </message>
    <message>
        <source>Bolt Contact</source>
        <translation>Contact de pêne</translation>
    </message>
    <message>
        <source>Motion Detector</source>
        <translation>Détecteur de mouvement</translation>
    </message>
    <message>
        <source>Alarm System</source>
        <translation>Système d&apos;alarme</translation>
    </message>
    <message>
        <source>Factory</source>
        <translation>Usine</translation>
    </message>
    <message>
        <source>Multi</source>
        <translation>Multiple</translation>
    </message>
    <message>
        <source>Single</source>
        <translation>Simple</translation>
    </message>
    <message>
        <source>Expo</source>
        <translation>Exposition</translation>
    </message>
    <message>
        <source>Work</source>
        <translation>Exploitation</translation>
    </message>
    <message>
        <source>Undefined</source>
        <translation>Indéfini</translation>
    </message>
    <message>
        <source>Default</source>
        <translation>Par défaut</translation>
    </message>
    <message>
        <source>Output</source>
        <translation>Sortie</translation>
    </message>
    <message>
        <source>Auto Open</source>
        <translation>Ouverture automatique</translation>
    </message>
    <message>
        <source>Lockdown</source>
        <translation>Confinement</translation>
    </message>
    <message>
        <source>Reserve</source>
        <translation>Réserve</translation>
    </message>
    <message>
        <source>Relay</source>
        <translation>Relais</translation>
    </message>
    <message>
        <source>Immediate</source>
        <translation>Immédiat</translation>
    </message>
    <message>
        <source>Finally</source>
        <translation>À la fin</translation>
    </message>
    <message>
        <source>Rising Edge</source>
        <translation>Front montant</translation>
    </message>
    <message>
        <source>Falling Edge</source>
        <translation>Front descendant</translation>
    </message>
    <message>
        <source>Organisation Plate A</source>
        <translation>Plaque d&apos;organisation A</translation>
    </message>
    <message>
        <source>Organisation Plate B</source>
        <translation>Plaque d&apos;organisation B</translation>
    </message>
    <message>
        <source>Organisation Plate C</source>
        <translation>Plaque d&apos;organisation C</translation>
    </message>
    <message>
        <source>Organisation Plate D</source>
        <translation>Plaque d&apos;organisation D</translation>
    </message>
    <message>
        <source>Organisation Plate E</source>
        <translation>Plaque d&apos;organisation E</translation>
    </message>
    <message>
        <source>Organisation Plate F</source>
        <translation>Plaque d&apos;organisation F</translation>
    </message>
    <message>
        <source>Organisation Plate G</source>
        <translation>Plaque d&apos;organisation G</translation>
    </message>
    <message>
        <source>Organisation Plate H</source>
        <translation>Plaque d&apos;organisation H</translation>
    </message>
    <message>
        <source>Organisation Plate I</source>
        <translation>Plaque d&apos;organisation I</translation>
    </message>
    <message>
        <source>Organisation Plate J</source>
        <translation>Plaque d&apos;organisation J</translation>
    </message>
    <message>
        <source>Protection Plate A</source>
        <translation>Plaque de protection A</translation>
    </message>
    <message>
        <source>Protection Plate B</source>
        <translation>Plaque de protection B</translation>
    </message>
    <message>
        <source>Protection Plate C</source>
        <translation>Plaque de protection C</translation>
    </message>
    <message>
        <source>Protection Plate D</source>
        <translation>Plaque de protection D</translation>
    </message>
    <message>
        <source>Protection Plate E</source>
        <translation>Plaque de protection E</translation>
    </message>
    <message>
        <source>Protection Plate F</source>
        <translation>Plaque de protection F</translation>
    </message>
    <message>
        <source>Protection Plate G</source>
        <translation>Plaque de protection G</translation>
    </message>
    <message>
        <source>Protection Plate H</source>
        <translation>Plaque de protection H</translation>
    </message>
    <message>
        <source>Protection Plate</source>
        <translation>Plaque de protection</translation>
    </message>
    <message>
        <source>Keypad Reader A</source>
        <translation>Lecteur à clavier A</translation>
    </message>
    <message>
        <source>Keypad Reader B</source>
        <translation>Lecteur à clavier B</translation>
    </message>
    <message>
        <source>Radio Stick</source>
        <translation>Clé radio</translation>
    </message>
    <message>
        <source>Network Gateway</source>
        <translation>Passerelle réseau</translation>
    </message>
    <message>
        <source>I/O Module A</source>
        <translation>Module E/S A</translation>
    </message>
    <message>
        <source>I/O Module B</source>
        <translation>Module E/S B</translation>
    </message>
    <message>
        <source>Electronic Cylinder</source>
        <translation>Cylindre électronique</translation>
    </message>
    <message>
        <source>Electronic Cylinder II</source>
        <translation>Cylindre électronique II</translation>
    </message>
    <message>
        <source>I/O Controller</source>
        <translation>Contrôleur E/S</translation>
    </message>
    <message>
        <source>Input Module</source>
        <translation>Module d&apos;entrée</translation>
    </message>
    <message>
        <source>Motor Lock A</source>
        <translation>Serrure motorisée A</translation>
    </message>
    <message>
        <source>Motor Lock B</source>
        <translation>Serrure motorisée B</translation>
    </message>
    <message>
        <source>Bus Repeater A</source>
        <translation>Répéteur de bus A</translation>
    </message>
    <message>
        <source>Bus Repeater B</source>
        <translation>Répéteur de bus B</translation>
    </message>
    <message>
        <source>Bus Repeater C</source>
        <translation>Répéteur de bus C</translation>
    </message>
    <message>
        <source>Radio Repeater</source>
        <translation>Répéteur radio</translation>
    </message>
    <message>
        <source>Organisation Plate II A</source>
        <translation>Plaque d&apos;organisation II A</translation>
    </message>
    <message>
        <source>Organisation Plate II B</source>
        <translation>Plaque d&apos;organisation II B</translation>
    </message>
    <message>
        <source>Relay Reader</source>
        <translation>Lecteur à relais</translation>
    </message>
    <message>
        <source>Safe Lock A</source>
        <translation>Serrure de coffre-fort A</translation>
    </message>
    <message>
        <source>Safe Lock B</source>
        <translation>Serrure de coffre-fort B</translation>
    </message>
    <message>
        <source>Compact Reader A</source>
        <translation>Lecteur compact A</translation>
    </message>
    <message>
        <source>Compact Reader B</source>
        <translation>Lecteur compact B</translation>
    </message>
    <message>
        <source>Autodetect</source>
        <translation>Détection automatique</translation>
    </message>
    <message>
        <source>Lithium</source>
        <translation>Lithium</translation>
    </message>
    <message>
        <source>Lithium (unsupported)</source>
        <translation>Lithium (non pris en charge)</translation>
    </message>
    <message>
        <source>Alkaline</source>
        <translation>Alcaline</translation>
    </message>
    <message>
        <source>Battery Board</source>
        <translation>Carte de pile</translation>
    </message>
    <message>
        <source>Remote Board</source>
        <translation>Carte distante</translation>
    </message>
    <message>
        <source>I/O Board</source>
        <translation>Carte E/S</translation>
    </message>
    <message>
        <source>Mira Board</source>
        <translation>Carte Mira</translation>
    </message>
    <message>
        <source>Device Settings</source>
        <translation>Réglages de l&apos;appareil</translation>
    </message>
    <message>
        <source>System Membership</source>
        <translation>Appartenance au système</translation>
    </message>
    <message>
        <source>Radio Network</source>
        <translation>Réseau radio</translation>
    </message>
    <message>
        <source>Time Settings</source>
        <translation>Réglages de l&apos;heure</translation>
    </message>
    <message>
        <source>Authorizations</source>
        <translation>Autorisations</translation>
    </message>
    <message>
        <source>Time Profiles</source>
        <translation>Profils horaires</translation>
    </message>
    <message>
        <source>Holiday Calendars</source>
        <translation>Calendriers des jours fériés</translation>
    </message>
    <message>
        <source>Media Keys</source>
        <translation>Clés de médias</translation>
    </message>
    <message>
        <source>Certificates</source>
        <translation>Certificats</translation>
    </message>
    <message>
        <source>Event Log</source>
        <translation>Journal des événements</translation>
    </message>
    <message>
        <source>Statistics</source>
        <translation>Statistiques</translation>
    </message>
    <message>
        <source>Calibration Data</source>
        <translation>Données d&apos;étalonnage</translation>
    </message>
    <message>
        <source>Network Settings</source>
        <translation>Réglages réseau</translation>
    </message>
    <message>
        <source>Software Packages</source>
        <translation>Paquets logiciels</translation>
    </message>
    <message>
        <source>Signal Settings</source>
        <translation>Réglages des signaux</translation>
    </message>
    <message>
        <source>Application</source>
        <translation>Application</translation>
    </message>
    <message>
        <source>Boot Loader</source>
        <translation>Chargeur d&apos;amorçage</translation>
    </message>
    <message>
        <source>Radio Module</source>
        <translation>Module radio</translation>
    </message>
    <message>
        <source>Reader Module</source>
        <translation>Module lecteur</translation>
    </message>
    <message>
        <source>Signed Images</source>
        <translation>Images signées</translation>
    </message>
    <message>
        <source>Compressed Images</source>
        <translation>Images compressées</translation>
    </message>
    <message>
        <source>Background Update</source>
        <translation>Mise à jour en arrière-plan</translation>
    </message>
    <message>
        <source>Roll Back</source>
        <translation>Retour à la version précédente</translation>
    </message>
    <message>
        <source>OK</source>
        <translation>OK</translation>
    </message>
    <message>
        <source>Busy</source>
        <translation>Occupé</translation>
    </message>
    <message>
        <source>Not Supported</source>
        <translation>Non pris en charge</translation>
    </message>
    <message>
        <source>Invalid Parameter</source>
        <translation>Paramètre non valide</translation>
    </message>
    <message>
        <source>Not Authorized</source>
        <translation>Non autorisé</translation>
    </message>
    <message>
        <source>Timeout</source>
        <translation>Délai dépassé</translation>
    </message>
    <message>
        <source>Failed</source>
        <translation>Échec</translation>
    </message>
    <message>
        <source>Real-Time Clock</source>
        <translation>Horloge temps réel</translation>
    </message>
    <message>
        <source>External Flash Memory</source>
        <translation>Mémoire flash externe</translation>
    </message>
    <message>
        <source>Secure Element</source>
        <translation>Élément sécurisé</translation>
    </message>
    <message>
        <source>Buzzer</source>
        <translation>Avertisseur sonore</translation>
    </message>
    <message>
        <source>Tamper Contact</source>
        <translation>Contact anti-sabotage</translation>
    </message>
    <message>
        <source>Internal Flash</source>
        <translation>Flash interne</translation>
    </message>
    <message>
        <source>External Flash</source>
        <translation>Flash externe</translation>
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
        <translation>Électronique de plaque</translation>
    </message>
    <message>
        <source>Reader Electronics</source>
        <translation>Électronique de lecteur</translation>
    </message>
    <message>
        <source>I/O Electronics</source>
        <translation>Électronique E/S</translation>
    </message>
    <message>
        <source>Network Electronics</source>
        <translation>Électronique réseau</translation>
    </message>
    <message>
        <source>Cylinder Electronics</source>
        <translation>Électronique de cylindre</translation>
    </message>
    <message>
        <source>Lock Electronics</source>
        <translation>Électronique de serrure</translation>
    </message>
    <message>
        <source>Off</source>
        <translation>Désactivé</translation>
    </message>
    <message>
        <source>Simulated Media</source>
        <translation>Médias simulés</translation>
    </message>
    <message>
        <source>Simulated Inputs</source>
        <translation>Entrées simulées</translation>
    </message>
    <message>
        <source>Simulated Device</source>
        <translation>Appareil simulé</translation>
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
        <translation>ISO UID 4 octets</translation>
    </message>
    <message>
        <source>ISO UID 7 Byte</source>
        <translation>ISO UID 7 octets</translation>
    </message>
    <message>
        <source>Plain</source>
        <translation>Uni</translation>
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
        <translation>Carte</translation>
    </message>
    <message>
        <source>Key Fob</source>
        <translation>Porte-clés</translation>
    </message>
    <message>
        <source>Wristband</source>
        <translation>Bracelet</translation>
    </message>
    <message>
        <source>Sticker</source>
        <translation>Autocollant</translation>
    </message>
    <message>
        <source>Smartphone</source>
        <translation>Smartphone</translation>
    </message>
    <message>
        <source>Devel</source>
        <translation>Développement</translation>
    </message>
    <message>
        <source>Brell 2012</source>
        <translation>Brell 2012</translation>
    </message>
    <message>
        <source>Known Medium</source>
        <translation>Média connu</translation>
    </message>
    <message>
        <source>Unknown Medium</source>
        <translation>Média inconnu</translation>
    </message>
    <message>
        <source>Blocked Medium</source>
        <translation>Média bloqué</translation>
    </message>
    <message>
        <source>Medium Presented</source>
        <translation>Média présenté</translation>
    </message>
    <message>
        <source>Medium Removed</source>
        <translation>Média retiré</translation>
    </message>
    <message>
        <source>1 Digit</source>
        <translation>1 chiffre</translation>
    </message>
    <message>
        <source>2 Digits</source>
        <translation>2 chiffres</translation>
    </message>
    <message>
        <source>3 Digits</source>
        <translation>3 chiffres</translation>
    </message>
    <message>
        <source>4 Digits</source>
        <translation>4 chiffres</translation>
    </message>
    <message>
        <source>5 Digits</source>
        <translation>5 chiffres</translation>
    </message>
    <message>
        <source>6 Digits</source>
        <translation>6 chiffres</translation>
    </message>
    <message>
        <source>7 Digits</source>
        <translation>7 chiffres</translation>
    </message>
    <message>
        <source>8 Digits</source>
        <translation>8 chiffres</translation>
    </message>
    <message>
        <source>9 Digits</source>
        <translation>9 chiffres</translation>
    </message>
    <message>
        <source>10 Digits</source>
        <translation>10 chiffres</translation>
    </message>
    <message>
        <source>11 Digits</source>
        <translation>11 chiffres</translation>
    </message>
    <message>
        <source>12 Digits</source>
        <translation>12 chiffres</translation>
    </message>
    <message>
        <source>Known Code</source>
        <translation>Code connu</translation>
    </message>
    <message>
        <source>Unknown Code</source>
        <translation>Code inconnu</translation>
    </message>
    <message>
        <source>Never</source>
        <translation>Jamais</translation>
    </message>
    <message>
        <source>Daily</source>
        <translation>Quotidien</translation>
    </message>
    <message>
        <source>Weekly</source>
        <translation>Hebdomadaire</translation>
    </message>
    <message>
        <source>Biweekly</source>
        <translation>Toutes les deux semaines</translation>
    </message>
    <message>
        <source>Monthly</source>
        <translation>Mensuel</translation>
    </message>
    <message>
        <source>7 days</source>
        <translation>7 jours</translation>
    </message>
    <message>
        <source>30 days</source>
        <translation>30 jours</translation>
    </message>
    <message>
        <source>2 months</source>
        <translation>2 mois</translation>
    </message>
    <message>
        <source>6 months</source>
        <translation>6 mois</translation>
    </message>
    <message>
        <source>1 year</source>
        <translation>1 an</translation>
    </message>
    <message>
        <source>2 years</source>
        <translation>2 ans</translation>
    </message>
    <message>
        <source>5 years</source>
        <translation>5 ans</translation>
    </message>
    <message>
        <source>10 years</source>
        <translation>10 ans</translation>
    </message>
    <message>
        <source>15 years</source>
        <translation>15 ans</translation>
    </message>
    <message>
        <source>30 years</source>
        <translation>30 ans</translation>
    </message>
    <message>
        <source>RF Power LUT 0</source>
        <translation>Table de puissance RF 0</translation>
    </message>
    <message>
        <source>RF Power LUT 1</source>
        <translation>Table de puissance RF 1</translation>
    </message>
    <message>
        <source>RF Power LUT 2</source>
        <translation>Table de puissance RF 2</translation>
    </message>
    <message>
        <source>RF Power LUT 3</source>
        <translation>Table de puissance RF 3</translation>
    </message>
    <message>
        <source>RF Power LUT 4</source>
        <translation>Table de puissance RF 4</translation>
    </message>
    <message>
        <source>RF Power LUT 5</source>
        <translation>Table de puissance RF 5</translation>
    </message>
    <message>
        <source>RF Power LUT 6</source>
        <translation>Table de puissance RF 6</translation>
    </message>
    <message>
        <source>Opening Time</source>
        <translation>Durée d&apos;ouverture</translation>
    </message>
    <message>
        <source>Extended Opening Time</source>
        <translation>Durée d&apos;ouverture prolongée</translation>
    </message>
    <message>
        <source>Door Held Open Time</source>
        <translation>Durée de maintien de la porte ouverte</translation>
    </message>
    <message>
        <source>Signal Volume</source>
        <translation>Volume du signal</translation>
    </message>
    <message>
        <source>Signal Brightness</source>
        <translation>Luminosité du signal</translation>
    </message>
    <message>
        <source>Keypad Timeout</source>
        <translation>Délai du clavier</translation>
    </message>
    <message>
        <source>Radio Power</source>
        <translation>Puissance radio</translation>
    </message>
    <message>
        <source>Radio Wake Interval</source>
        <translation>Intervalle de réveil radio</translation>
    </message>
    <message>
        <source>Bus Address</source>
        <translation>Adresse de bus</translation>
    </message>
    <message>
        <source>Medium</source>
        <translation>Média</translation>
    </message>
    <message>
        <source>Input</source>
        <translation>Entrée</translation>
    </message>
    <message>
        <source>Time Profile</source>
        <translation>Profil horaire</translation>
    </message>
    <message>
        <source>Battery Level</source>
        <translation>Niveau de pile</translation>
    </message>
    <message>
        <source>Reason</source>
        <translation>Motif</translation>
    </message>
    <message>
        <source>Order Number</source>
        <translation>Numéro de commande</translation>
    </message>
    <message>
        <source>Device Update Mode</source>
        <translation>Mode de mise à jour des appareils</translation>
    </message>
    <message>
        <source>Network Search Mode</source>
        <translation>Mode de recherche réseau</translation>
    </message>
    <message>
        <source>Data Retain Period</source>
        <translation>Durée de conservation des données</translation>
    </message>
    <message>
        <source>Backup Interval</source>
        <translation>Intervalle de sauvegarde</translation>
    </message>
    <message>
        <source>Routing Strategy</source>
        <translation>Stratégie de routage</translation>
    </message>
    <message>
        <source>TCP Keepalive</source>
        <translation>Keepalive TCP</translation>
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
        <translation>%1 chiffres</translation>
    </message>
    <message>
        <source>Excellent</source>
        <translation>Excellent</translation>
    </message>
    <message>
        <source>Good</source>
        <translation>Bon</translation>
    </message>
    <message>
        <source>Fair</source>
        <translation>Moyen</translation>
    </message>
    <message>
        <source>Weak</source>
        <translation>Faible</translation>
    </message>
    <message>
        <source>Technical Media ID</source>
        <translation>ID technique du média</translation>
    </message>
    <message>
        <source>Public Media ID</source>
        <translation>ID public du média</translation>
    </message>
    <message>
        <source>UID</source>
        <translation>UID</translation>
    </message>
    <message>
        <source>Device ID</source>
        <translation>ID de l&apos;appareil</translation>
    </message>
    <message>
        <source>Event Type</source>
        <translation>Type d&apos;événement</translation>
    </message>
    <message>
        <source>Login Write</source>
        <translation>Connexion : écriture</translation>
    </message>
    <message>
        <source>Users Write</source>
        <translation>Utilisateurs : écriture</translation>
    </message>
    <message>
        <source>User Groups Write</source>
        <translation>Groupes d&apos;utilisateurs : écriture</translation>
    </message>
    <message>
        <source>Media Write</source>
        <translation>Médias : écriture</translation>
    </message>
    <message>
        <source>Codes Write</source>
        <translation>Codes : écriture</translation>
    </message>
    <message>
        <source>Access Rights Write</source>
        <translation>Droits d&apos;accès : écriture</translation>
    </message>
    <message>
        <source>Time Profiles Write</source>
        <translation>Profils horaires : écriture</translation>
    </message>
    <message>
        <source>Access Points Write</source>
        <translation>Points d&apos;accès : écriture</translation>
    </message>
    <message>
        <source>Remote Execution</source>
        <translation>Exécution à distance</translation>
    </message>
    <message>
        <source>Devices Write</source>
        <translation>Appareils : écriture</translation>
    </message>
    <message>
        <source>Software Write</source>
        <translation>Logiciel : écriture</translation>
    </message>
    <message>
        <source>Logs</source>
        <translation>Journaux</translation>
    </message>
    <message>
        <source>Media Pools Write</source>
        <translation>Pools de médias : écriture</translation>
    </message>
    <message>
        <source>User Group Relations</source>
        <translation>Relations des groupes d&apos;utilisateurs</translation>
    </message>
    <message>
        <source>Read Passwords</source>
        <translation>Lire les mots de passe</translation>
    </message>
    <message>
        <source>Login Read</source>
        <translation>Connexion : lecture</translation>
    </message>
    <message>
        <source>Users Read</source>
        <translation>Utilisateurs : lecture</translation>
    </message>
    <message>
        <source>User Groups Read</source>
        <translation>Groupes d&apos;utilisateurs : lecture</translation>
    </message>
    <message>
        <source>Media Read</source>
        <translation>Médias : lecture</translation>
    </message>
    <message>
        <source>Codes Read</source>
        <translation>Codes : lecture</translation>
    </message>
    <message>
        <source>Access Rights Read</source>
        <translation>Droits d&apos;accès : lecture</translation>
    </message>
    <message>
        <source>Time Profiles Read</source>
        <translation>Profils horaires : lecture</translation>
    </message>
    <message>
        <source>Access Points Read</source>
        <translation>Points d&apos;accès : lecture</translation>
    </message>
    <message>
        <source>Devices Read</source>
        <translation>Appareils : lecture</translation>
    </message>
    <message>
        <source>Software Read</source>
        <translation>Logiciel : lecture</translation>
    </message>
    <message>
        <source>Media Pools Read</source>
        <translation>Pools de médias : lecture</translation>
    </message>
    <message>
        <source>Administrator</source>
        <translation>Administrateur</translation>
    </message>
    <message>
        <source>Server (%1)</source>
        <translation>Serveur (%1)</translation>
    </message>
    <message>
        <source>We do not want to authenticate on an unencrypted connection.</source>
        <translation>Nous ne voulons pas nous authentifier sur une connexion non chiffrée.</translation>
    </message>
    <message>
        <source>The remote host closed the connection.</source>
        <translation>L&apos;hôte distant a fermé la connexion.</translation>
    </message>
    <message>
        <source>The reply of the server is too long.</source>
        <translation>La réponse du serveur est trop longue.</translation>
    </message>
    <message>
        <source>Authorization protocols not yet supported: %1</source>
        <translation>Méthodes d&apos;authentification non encore prises en charge : %1</translation>
    </message>
    <message>
        <source>The server takes only ASCII characters in addresses.</source>
        <translation>Le serveur n’accepte que des caractères ASCII dans les adresses.</translation>
    </message>
</context>
</TS>
