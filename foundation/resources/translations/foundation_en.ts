<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="en_US">
<context>
    <name>@default</name>
    <message>
        <source>Unknown</source>
        <translation>Unknown</translation>
    </message>
    <message>
        <source>RFID</source>
        <translation>RFID</translation>
    </message>
    <message>
        <source>Pin Code</source>
        <translation>Pin Code</translation>
    </message>
    <message>
        <source>Smart Access</source>
        <translation>Smart Access</translation>
    </message>
    <message>
        <source>Opener Authorization Point</source>
        <translation>Opener Authorization Point</translation>
    </message>
    <message>
        <source>Group Authorization Point</source>
        <translation>Group Authorization Point</translation>
    </message>
    <message>
        <source>Broadcast Authorization Point</source>
        <translation>Broadcast Authorization Point</translation>
    </message>
    <message>
        <source>Observe Authorization Point</source>
        <translation>Observe Authorization Point</translation>
    </message>
    <message>
        <source>Device Position</source>
        <translation>Device Position</translation>
    </message>
    <message>
        <source>Access Area</source>
        <translation>Access Area</translation>
    </message>
    <message>
        <source>User</source>
        <translation>User</translation>
    </message>
    <message>
        <source>Group</source>
        <translation>Group</translation>
    </message>
    <message>
        <source>Media Pool</source>
        <translation>Media Pool</translation>
    </message>
    <message>
        <source>Simple Door</source>
        <translation>Simple Door</translation>
    </message>
    <message>
        <source>Mailbox</source>
        <translation>Mailbox</translation>
    </message>
    <message>
        <source>Infrastructure</source>
        <translation>Infrastructure</translation>
    </message>
    <message>
        <source>Complex Door</source>
        <translation>Complex Door</translation>
    </message>
    <message>
        <source>Elevator</source>
        <translation>Elevator</translation>
    </message>
    <message>
        <source>Controller</source>
        <translation>Controller</translation>
    </message>
    <message>
        <source>Online Access</source>
        <translation>Online Access</translation>
    </message>
    <message>
        <source>Broadcast Type 1 (Amok)</source>
        <translation>Broadcast Type 1 (Amok)</translation>
    </message>
    <message>
        <source>Broadcast Type 2 (Amok Over)</source>
        <translation>Broadcast Type 2 (Amok Over)</translation>
    </message>
    <message>
        <source>Broadcast Type 3 (Open All)</source>
        <translation>Broadcast Type 3 (Open All)</translation>
    </message>
    <message>
        <source>Broadcast Type 4 (Close All)</source>
        <translation>Broadcast Type 4 (Close All)</translation>
    </message>
    <message>
        <source>Input Signal</source>
        <translation>Input Signal</translation>
    </message>
    <message>
        <source>Remote Open</source>
        <translation>Remote Open</translation>
    </message>
    <message>
        <source>Broadcast</source>
        <translation>Broadcast</translation>
    </message>
    <message>
        <source>Pairing</source>
        <translation>Pairing</translation>
    </message>
    <message>
        <source>Time</source>
        <translation>Time</translation>
    </message>
    <message>
        <source>Code</source>
        <translation>Code</translation>
    </message>
    <message>
        <source>RFID Medium</source>
        <translation>RFID Medium</translation>
    </message>
    <message>
        <source>User Group</source>
        <translation>User Group</translation>
    </message>
    <message>
        <source>Device</source>
        <translation>Device</translation>
    </message>
    <message>
        <source>Access Point</source>
        <translation>Access Point</translation>
    </message>
    <message>
        <source>System</source>
        <translation>System</translation>
    </message>
    <message>
        <source>Authorization Point</source>
        <translation>Authorization Point</translation>
    </message>
    <message>
        <source>Authorization Point Group</source>
        <translation>Authorization Point Group</translation>
    </message>
    <message>
        <source>Authorization Point of Access Point</source>
        <translation>Authorization Point of Access Point</translation>
    </message>
    <message>
        <source>Right of User/Group</source>
        <translation>Right of User/Group</translation>
    </message>
    <message>
        <source>Right of Access Point</source>
        <translation>Right of Access Point</translation>
    </message>
    <message>
        <source>None</source>
        <translation>None</translation>
    </message>
    <message>
        <source>Text</source>
        <translation>Text</translation>
    </message>
    <message>
        <source>Number</source>
        <translation>Number</translation>
    </message>
    <message>
        <source>Real</source>
        <translation>Real</translation>
    </message>
    <message>
        <source>On/Off</source>
        <translation>On/Off</translation>
    </message>
    <message>
        <source>Byte Array</source>
        <translation>Byte Array</translation>
    </message>
    <message>
        <source>Date/Time</source>
        <translation>Date/Time</translation>
    </message>
    <message>
        <source>Directory Path</source>
        <translation>Directory Path</translation>
    </message>
    <message>
        <source>File Path</source>
        <translation>File Path</translation>
    </message>
    <message>
        <source>Password</source>
        <translation>Password</translation>
    </message>
    <message>
        <source>Unique ID</source>
        <translation>Unique ID</translation>
    </message>
    <message>
        <source>Absolute Directory Path</source>
        <translation>Absolute Directory Path</translation>
    </message>
    <message>
        <source>Monday</source>
        <translation>Monday</translation>
    </message>
    <message>
        <source>Tuesday</source>
        <translation>Tuesday</translation>
    </message>
    <message>
        <source>Wednesday</source>
        <translation>Wednesday</translation>
    </message>
    <message>
        <source>Thursday</source>
        <translation>Thursday</translation>
    </message>
    <message>
        <source>Friday</source>
        <translation>Friday</translation>
    </message>
    <message>
        <source>Saturday</source>
        <translation>Saturday</translation>
    </message>
    <message>
        <source>Sunday</source>
        <translation>Sunday</translation>
    </message>
    <message>
        <source>Holiday</source>
        <translation>Holiday</translation>
    </message>
    <message>
        <source>Basic</source>
        <translation>Basic</translation>
    </message>
    <message>
        <source>Info</source>
        <translation>Info</translation>
    </message>
    <message>
        <source>Admin</source>
        <translation>Admin</translation>
    </message>
    <message>
        <source>Table</source>
        <translation>Table</translation>
    </message>
    <message>
        <source>Open</source>
        <translation>Open</translation>
    </message>
    <message>
        <source>Open Long</source>
        <translation>Open Long</translation>
    </message>
    <message>
        <source>Toggle</source>
        <translation>Toggle</translation>
    </message>
    <message>
        <source>Office Mode On</source>
        <translation>Office Mode On</translation>
    </message>
    <message>
        <source>Office Mode Off</source>
        <translation>Office Mode Off</translation>
    </message>
    <message>
        <source>Lockdown On</source>
        <translation>Lockdown On</translation>
    </message>
    <message>
        <source>Lockdown Off</source>
        <translation>Lockdown Off</translation>
    </message>
    <message>
        <source>Amok Alarm</source>
        <translation>Amok Alarm</translation>
    </message>
    <message>
        <source>Amok Alarm Over</source>
        <translation>Amok Alarm Over</translation>
    </message>
    <message>
        <source>Open All Doors</source>
        <translation>Open All Doors</translation>
    </message>
    <message>
        <source>Close All Doors</source>
        <translation>Close All Doors</translation>
    </message>
    <message>
        <source>Identify</source>
        <translation>Identify</translation>
    </message>
    <message>
        <source>Enrol Medium</source>
        <translation>Enrol Medium</translation>
    </message>
    <message>
        <source>Service Access</source>
        <translation>Service Access</translation>
    </message>
    <message>
        <source>Observe</source>
        <translation>Observe</translation>
    </message>
    <message>
        <source>Internal</source>
        <translation>Internal</translation>
    </message>
    <message>
        <source>External</source>
        <translation>External</translation>
    </message>
    <message>
        <source>Battery</source>
        <translation>Battery</translation>
    </message>
    <message>
        <source>Organisation Plates</source>
        <translation>Organisation Plates</translation>
    </message>
    <message>
        <source>Protection Plates</source>
        <translation>Protection Plates</translation>
    </message>
    <message>
        <source>Mounted Readers</source>
        <translation>Mounted Readers</translation>
    </message>
    <message>
        <source>Administrative Devices</source>
        <translation>Administrative Devices</translation>
    </message>
    <message>
        <source>I/O Modules</source>
        <translation>I/O Modules</translation>
    </message>
    <message>
        <source>Infrastructure Devices</source>
        <translation>Infrastructure Devices</translation>
    </message>
    <message>
        <source>Cylinder Locks</source>
        <translation>Cylinder Locks</translation>
    </message>
    <message>
        <source>Motor Locks</source>
        <translation>Motor Locks</translation>
    </message>
    <message>
        <source>Safe Locks</source>
        <translation>Safe Locks</translation>
    </message>
    <message>
        <source>Input 1</source>
        <translation>Input 1</translation>
    </message>
    <message>
        <source>Input 2</source>
        <translation>Input 2</translation>
    </message>
    <message>
        <source>Input 3</source>
        <translation>Input 3</translation>
    </message>
    <message>
        <source>Input 4</source>
        <translation>Input 4</translation>
    </message>
    <message>
        <source>Input 5</source>
        <translation>Input 5</translation>
    </message>
    <message>
        <source>Input 6</source>
        <translation>Input 6</translation>
    </message>
    <message>
        <source>Input 7</source>
        <translation>Input 7</translation>
    </message>
    <message>
        <source>Input 8</source>
        <translation>Input 8</translation>
    </message>
    <message>
        <source>Interior Button</source>
        <translation>Interior Button</translation>
    </message>
    <message>
        <source>Triangle Button</source>
        <translation>Triangle Button</translation>
    </message>
    <message>
        <source>Square Button</source>
        <translation>Square Button</translation>
    </message>
    <message>
        <source>Pentagon Button</source>
        <translation>Pentagon Button</translation>
    </message>
    <message>
        <source>Hexagon Button</source>
        <translation>Hexagon Button</translation>
    </message>
    <message>
        <source>Known devices</source>
        <translation>Known devices</translation>
    </message>
    <message>
        <source>Unknown devices</source>
        <translation>Unknown devices</translation>
    </message>
    <message>
        <source>All devices</source>
        <translation>All devices</translation>
    </message>
    <message>
        <source>Motor</source>
        <translation>Motor</translation>
    </message>
    <message>
        <source>Relay 1</source>
        <translation>Relay 1</translation>
    </message>
    <message>
        <source>Relay 2</source>
        <translation>Relay 2</translation>
    </message>
    <message>
        <source>Relay 3</source>
        <translation>Relay 3</translation>
    </message>
    <message>
        <source>Relay 4</source>
        <translation>Relay 4</translation>
    </message>
    <message>
        <source>Relay 5</source>
        <translation>Relay 5</translation>
    </message>
    <message>
        <source>Relay 6</source>
        <translation>Relay 6</translation>
    </message>
    <message>
        <source>Relay 7</source>
        <translation>Relay 7</translation>
    </message>
    <message>
        <source>Relay 8</source>
        <translation>Relay 8</translation>
    </message>
    <message>
        <source>Directly reachable</source>
        <translation>Directly reachable</translation>
    </message>
    <message>
        <source>Networked reachable</source>
        <translation>Networked reachable</translation>
    </message>
    <message>
        <source>Unreachable</source>
        <translation>Unreachable</translation>
    </message>
    <message>
        <source>Identification</source>
        <translation>Identification</translation>
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
        <translation>Exit Identification</translation>
    </message>
    <message>
        <source>Amok</source>
        <translation>Amok</translation>
    </message>
    <message>
        <source>Open Zones</source>
        <translation>Open Zones</translation>
    </message>
    <message>
        <source>Prefer RS-485</source>
        <translation>Prefer RS-485</translation>
    </message>
    <message>
        <source>System members</source>
        <translation>System members</translation>
    </message>
    <message>
        <source>System members and devices without system</source>
        <translation>System members and devices without system</translation>
    </message>
    <message>
        <source>Only routers</source>
        <translation>Only routers</translation>
    </message>
    <message>
        <source>Access Granted</source>
        <translation>Access Granted</translation>
    </message>
    <message>
        <source>Access Denied</source>
        <translation>Access Denied</translation>
    </message>
    <message>
        <source>Battery Low</source>
        <translation>Battery Low</translation>
    </message>
    <message>
        <source>Programming Mode</source>
        <translation>Programming Mode</translation>
    </message>
    <message>
        <source>Device Error</source>
        <translation>Device Error</translation>
    </message>
    <message>
        <source>Locate Device</source>
        <translation>Locate Device</translation>
    </message>
    <message>
        <source>Reader</source>
        <translation>Reader</translation>
    </message>
    <message>
        <source>Keypad</source>
        <translation>Keypad</translation>
    </message>
    <message>
        <source>Contact Input</source>
        <translation>Contact Input</translation>
    </message>
    <message>
        <source>Radio Link</source>
        <translation>Radio Link</translation>
    </message>
    <message>
        <source>Clock</source>
        <translation>Clock</translation>
    </message>
    <message>
        <source>Network</source>
        <translation>Network</translation>
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
        <translation>Button</translation>
    </message>
    <message>
        <source>State</source>
        <translation>State</translation>
    </message>
    <message>
        <source>Edge</source>
        <translation>Edge</translation>
    </message>
    <message>
        <source>Press</source>
        <translation>Press</translation>
    </message>
    <message>
        <source>Release</source>
        <translation>Release</translation>
    </message>
    <message>
        <source>Duration Short</source>
        <translation>Duration Short</translation>
    </message>
    <message>
        <source>Duration Middle</source>
        <translation>Duration Middle</translation>
    </message>
    <message>
        <source>Duration Long</source>
        <translation>Duration Long</translation>
    </message>
    <message>
        <source>Push Button</source>
        <translation>Push Button</translation>
    </message>
    <message>
        <source>Door Contact</source>
        <translation>Door Contact</translation>
    </message>
    <message>
        <source>Bolt Contact</source>
        <translation>Bolt Contact</translation>
    </message>
    <message>
        <source>Motion Detector</source>
        <translation>Motion Detector</translation>
    </message>
    <message>
        <source>Alarm System</source>
        <translation>Alarm System</translation>
    </message>
    <message>
        <source>Factory</source>
        <translation>Factory</translation>
    </message>
    <message>
        <source>Multi</source>
        <translation>Multi</translation>
    </message>
    <message>
        <source>Single</source>
        <translation>Single</translation>
    </message>
    <message>
        <source>Expo</source>
        <translation>Expo</translation>
    </message>
    <message>
        <source>Work</source>
        <translation>Work</translation>
    </message>
    <message>
        <source>Undefined</source>
        <translation>Undefined</translation>
    </message>
    <message>
        <source>Default</source>
        <translation>Default</translation>
    </message>
    <message>
        <source>Output</source>
        <translation>Output</translation>
    </message>
    <message>
        <source>Auto Open</source>
        <translation>Auto Open</translation>
    </message>
    <message>
        <source>Lockdown</source>
        <translation>Lockdown</translation>
    </message>
    <message>
        <source>Reserve</source>
        <translation>Reserve</translation>
    </message>
    <message>
        <source>Relay</source>
        <translation>Relay</translation>
    </message>
    <message>
        <source>Immediate</source>
        <translation>Immediate</translation>
    </message>
    <message>
        <source>Finally</source>
        <translation>Finally</translation>
    </message>
    <message>
        <source>Rising Edge</source>
        <translation>Rising Edge</translation>
    </message>
    <message>
        <source>Falling Edge</source>
        <translation>Falling Edge</translation>
    </message>
    <message>
        <source>Organisation Plate A</source>
        <translation>Organisation Plate A</translation>
    </message>
    <message>
        <source>Organisation Plate B</source>
        <translation>Organisation Plate B</translation>
    </message>
    <message>
        <source>Organisation Plate C</source>
        <translation>Organisation Plate C</translation>
    </message>
    <message>
        <source>Organisation Plate D</source>
        <translation>Organisation Plate D</translation>
    </message>
    <message>
        <source>Organisation Plate E</source>
        <translation>Organisation Plate E</translation>
    </message>
    <message>
        <source>Organisation Plate F</source>
        <translation>Organisation Plate F</translation>
    </message>
    <message>
        <source>Organisation Plate G</source>
        <translation>Organisation Plate G</translation>
    </message>
    <message>
        <source>Organisation Plate H</source>
        <translation>Organisation Plate H</translation>
    </message>
    <message>
        <source>Organisation Plate I</source>
        <translation>Organisation Plate I</translation>
    </message>
    <message>
        <source>Organisation Plate J</source>
        <translation>Organisation Plate J</translation>
    </message>
    <message>
        <source>Protection Plate A</source>
        <translation>Protection Plate A</translation>
    </message>
    <message>
        <source>Protection Plate B</source>
        <translation>Protection Plate B</translation>
    </message>
    <message>
        <source>Protection Plate C</source>
        <translation>Protection Plate C</translation>
    </message>
    <message>
        <source>Protection Plate D</source>
        <translation>Protection Plate D</translation>
    </message>
    <message>
        <source>Protection Plate E</source>
        <translation>Protection Plate E</translation>
    </message>
    <message>
        <source>Protection Plate F</source>
        <translation>Protection Plate F</translation>
    </message>
    <message>
        <source>Protection Plate G</source>
        <translation>Protection Plate G</translation>
    </message>
    <message>
        <source>Protection Plate H</source>
        <translation>Protection Plate H</translation>
    </message>
    <message>
        <source>Protection Plate</source>
        <translation>Protection Plate</translation>
    </message>
    <message>
        <source>Keypad Reader A</source>
        <translation>Keypad Reader A</translation>
    </message>
    <message>
        <source>Keypad Reader B</source>
        <translation>Keypad Reader B</translation>
    </message>
    <message>
        <source>Radio Stick</source>
        <translation>Radio Stick</translation>
    </message>
    <message>
        <source>Network Gateway</source>
        <translation>Network Gateway</translation>
    </message>
    <message>
        <source>I/O Module A</source>
        <translation>I/O Module A</translation>
    </message>
    <message>
        <source>I/O Module B</source>
        <translation>I/O Module B</translation>
    </message>
    <message>
        <source>Electronic Cylinder</source>
        <translation>Electronic Cylinder</translation>
    </message>
    <message>
        <source>Electronic Cylinder II</source>
        <translation>Electronic Cylinder II</translation>
    </message>
    <message>
        <source>I/O Controller</source>
        <translation>I/O Controller</translation>
    </message>
    <message>
        <source>Input Module</source>
        <translation>Input Module</translation>
    </message>
    <message>
        <source>Motor Lock A</source>
        <translation>Motor Lock A</translation>
    </message>
    <message>
        <source>Motor Lock B</source>
        <translation>Motor Lock B</translation>
    </message>
    <message>
        <source>Bus Repeater A</source>
        <translation>Bus Repeater A</translation>
    </message>
    <message>
        <source>Bus Repeater B</source>
        <translation>Bus Repeater B</translation>
    </message>
    <message>
        <source>Bus Repeater C</source>
        <translation>Bus Repeater C</translation>
    </message>
    <message>
        <source>Radio Repeater</source>
        <translation>Radio Repeater</translation>
    </message>
    <message>
        <source>Organisation Plate II A</source>
        <translation>Organisation Plate II A</translation>
    </message>
    <message>
        <source>Organisation Plate II B</source>
        <translation>Organisation Plate II B</translation>
    </message>
    <message>
        <source>Relay Reader</source>
        <translation>Relay Reader</translation>
    </message>
    <message>
        <source>Safe Lock A</source>
        <translation>Safe Lock A</translation>
    </message>
    <message>
        <source>Safe Lock B</source>
        <translation>Safe Lock B</translation>
    </message>
    <message>
        <source>Compact Reader A</source>
        <translation>Compact Reader A</translation>
    </message>
    <message>
        <source>Compact Reader B</source>
        <translation>Compact Reader B</translation>
    </message>
    <message>
        <source>Autodetect</source>
        <translation>Autodetect</translation>
    </message>
    <message>
        <source>Lithium</source>
        <translation>Lithium</translation>
    </message>
    <message>
        <source>Lithium (unsupported)</source>
        <translation>Lithium (unsupported)</translation>
    </message>
    <message>
        <source>Alkaline</source>
        <translation>Alkaline</translation>
    </message>
    <message>
        <source>Battery Board</source>
        <translation>Battery Board</translation>
    </message>
    <message>
        <source>Remote Board</source>
        <translation>Remote Board</translation>
    </message>
    <message>
        <source>I/O Board</source>
        <translation>I/O Board</translation>
    </message>
    <message>
        <source>Mira Board</source>
        <translation>Mira Board</translation>
    </message>
    <message>
        <source>Device Settings</source>
        <translation>Device Settings</translation>
    </message>
    <message>
        <source>System Membership</source>
        <translation>System Membership</translation>
    </message>
    <message>
        <source>Radio Network</source>
        <translation>Radio Network</translation>
    </message>
    <message>
        <source>Time Settings</source>
        <translation>Time Settings</translation>
    </message>
    <message>
        <source>Authorizations</source>
        <translation>Authorizations</translation>
    </message>
    <message>
        <source>Time Profiles</source>
        <translation>Time Profiles</translation>
    </message>
    <message>
        <source>Holiday Calendars</source>
        <translation>Holiday Calendars</translation>
    </message>
    <message>
        <source>Media Keys</source>
        <translation>Media Keys</translation>
    </message>
    <message>
        <source>Certificates</source>
        <translation>Certificates</translation>
    </message>
    <message>
        <source>Event Log</source>
        <translation>Event Log</translation>
    </message>
    <message>
        <source>Statistics</source>
        <translation>Statistics</translation>
    </message>
    <message>
        <source>Calibration Data</source>
        <translation>Calibration Data</translation>
    </message>
    <message>
        <source>Network Settings</source>
        <translation>Network Settings</translation>
    </message>
    <message>
        <source>Software Packages</source>
        <translation>Software Packages</translation>
    </message>
    <message>
        <source>Signal Settings</source>
        <translation>Signal Settings</translation>
    </message>
    <message>
        <source>Application</source>
        <translation>Application</translation>
    </message>
    <message>
        <source>Boot Loader</source>
        <translation>Boot Loader</translation>
    </message>
    <message>
        <source>Radio Module</source>
        <translation>Radio Module</translation>
    </message>
    <message>
        <source>Reader Module</source>
        <translation>Reader Module</translation>
    </message>
    <message>
        <source>Signed Images</source>
        <translation>Signed Images</translation>
    </message>
    <message>
        <source>Compressed Images</source>
        <translation>Compressed Images</translation>
    </message>
    <message>
        <source>Background Update</source>
        <translation>Background Update</translation>
    </message>
    <message>
        <source>Roll Back</source>
        <translation>Roll Back</translation>
    </message>
    <message>
        <source>OK</source>
        <translation>OK</translation>
    </message>
    <message>
        <source>Busy</source>
        <translation>Busy</translation>
    </message>
    <message>
        <source>Not Supported</source>
        <translation>Not Supported</translation>
    </message>
    <message>
        <source>Invalid Parameter</source>
        <translation>Invalid Parameter</translation>
    </message>
    <message>
        <source>Not Authorized</source>
        <translation>Not Authorized</translation>
    </message>
    <message>
        <source>Timeout</source>
        <translation>Timeout</translation>
    </message>
    <message>
        <source>Failed</source>
        <translation>Failed</translation>
    </message>
    <message>
        <source>Real-Time Clock</source>
        <translation>Real-Time Clock</translation>
    </message>
    <message>
        <source>External Flash Memory</source>
        <translation>External Flash Memory</translation>
    </message>
    <message>
        <source>Secure Element</source>
        <translation>Secure Element</translation>
    </message>
    <message>
        <source>Buzzer</source>
        <translation>Buzzer</translation>
    </message>
    <message>
        <source>Tamper Contact</source>
        <translation>Tamper Contact</translation>
    </message>
    <message>
        <source>Internal Flash</source>
        <translation>Internal Flash</translation>
    </message>
    <message>
        <source>External Flash</source>
        <translation>External Flash</translation>
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
        <translation>Plate Electronics</translation>
    </message>
    <message>
        <source>Reader Electronics</source>
        <translation>Reader Electronics</translation>
    </message>
    <message>
        <source>I/O Electronics</source>
        <translation>I/O Electronics</translation>
    </message>
    <message>
        <source>Network Electronics</source>
        <translation>Network Electronics</translation>
    </message>
    <message>
        <source>Cylinder Electronics</source>
        <translation>Cylinder Electronics</translation>
    </message>
    <message>
        <source>Lock Electronics</source>
        <translation>Lock Electronics</translation>
    </message>
    <message>
        <source>Off</source>
        <translation>Off</translation>
    </message>
    <message>
        <source>Simulated Media</source>
        <translation>Simulated Media</translation>
    </message>
    <message>
        <source>Simulated Inputs</source>
        <translation>Simulated Inputs</translation>
    </message>
    <message>
        <source>Simulated Device</source>
        <translation>Simulated Device</translation>
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
        <translation>Plain</translation>
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
        <translation>Card</translation>
    </message>
    <message>
        <source>Key Fob</source>
        <translation>Key Fob</translation>
    </message>
    <message>
        <source>Wristband</source>
        <translation>Wristband</translation>
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
        <translation>Devel</translation>
    </message>
    <message>
        <source>Brell 2012</source>
        <translation>Brell 2012</translation>
    </message>
    <message>
        <source>Known Medium</source>
        <translation>Known Medium</translation>
    </message>
    <message>
        <source>Unknown Medium</source>
        <translation>Unknown Medium</translation>
    </message>
    <message>
        <source>Blocked Medium</source>
        <translation>Blocked Medium</translation>
    </message>
    <message>
        <source>Medium Presented</source>
        <translation>Medium Presented</translation>
    </message>
    <message>
        <source>Medium Removed</source>
        <translation>Medium Removed</translation>
    </message>
    <message>
        <source>1 Digit</source>
        <translation>1 Digit</translation>
    </message>
    <message>
        <source>2 Digits</source>
        <translation>2 Digits</translation>
    </message>
    <message>
        <source>3 Digits</source>
        <translation>3 Digits</translation>
    </message>
    <message>
        <source>4 Digits</source>
        <translation>4 Digits</translation>
    </message>
    <message>
        <source>5 Digits</source>
        <translation>5 Digits</translation>
    </message>
    <message>
        <source>6 Digits</source>
        <translation>6 Digits</translation>
    </message>
    <message>
        <source>7 Digits</source>
        <translation>7 Digits</translation>
    </message>
    <message>
        <source>8 Digits</source>
        <translation>8 Digits</translation>
    </message>
    <message>
        <source>9 Digits</source>
        <translation>9 Digits</translation>
    </message>
    <message>
        <source>10 Digits</source>
        <translation>10 Digits</translation>
    </message>
    <message>
        <source>11 Digits</source>
        <translation>11 Digits</translation>
    </message>
    <message>
        <source>12 Digits</source>
        <translation>12 Digits</translation>
    </message>
    <message>
        <source>Known Code</source>
        <translation>Known Code</translation>
    </message>
    <message>
        <source>Unknown Code</source>
        <translation>Unknown Code</translation>
    </message>
    <message>
        <source>Never</source>
        <translation>Never</translation>
    </message>
    <message>
        <source>Daily</source>
        <translation>Daily</translation>
    </message>
    <message>
        <source>Weekly</source>
        <translation>Weekly</translation>
    </message>
    <message>
        <source>Biweekly</source>
        <translation>Biweekly</translation>
    </message>
    <message>
        <source>Monthly</source>
        <translation>Monthly</translation>
    </message>
    <message>
        <source>7 days</source>
        <translation>7 days</translation>
    </message>
    <message>
        <source>30 days</source>
        <translation>30 days</translation>
    </message>
    <message>
        <source>2 months</source>
        <translation>2 months</translation>
    </message>
    <message>
        <source>6 months</source>
        <translation>6 months</translation>
    </message>
    <message>
        <source>1 year</source>
        <translation>1 year</translation>
    </message>
    <message>
        <source>2 years</source>
        <translation>2 years</translation>
    </message>
    <message>
        <source>5 years</source>
        <translation>5 years</translation>
    </message>
    <message>
        <source>10 years</source>
        <translation>10 years</translation>
    </message>
    <message>
        <source>15 years</source>
        <translation>15 years</translation>
    </message>
    <message>
        <source>30 years</source>
        <translation>30 years</translation>
    </message>
    <message>
        <source>RF Power LUT 0</source>
        <translation>RF Power LUT 0</translation>
    </message>
    <message>
        <source>RF Power LUT 1</source>
        <translation>RF Power LUT 1</translation>
    </message>
    <message>
        <source>RF Power LUT 2</source>
        <translation>RF Power LUT 2</translation>
    </message>
    <message>
        <source>RF Power LUT 3</source>
        <translation>RF Power LUT 3</translation>
    </message>
    <message>
        <source>RF Power LUT 4</source>
        <translation>RF Power LUT 4</translation>
    </message>
    <message>
        <source>RF Power LUT 5</source>
        <translation>RF Power LUT 5</translation>
    </message>
    <message>
        <source>RF Power LUT 6</source>
        <translation>RF Power LUT 6</translation>
    </message>
    <message>
        <source>Opening Time</source>
        <translation>Opening Time</translation>
    </message>
    <message>
        <source>Extended Opening Time</source>
        <translation>Extended Opening Time</translation>
    </message>
    <message>
        <source>Door Held Open Time</source>
        <translation>Door Held Open Time</translation>
    </message>
    <message>
        <source>Signal Volume</source>
        <translation>Signal Volume</translation>
    </message>
    <message>
        <source>Signal Brightness</source>
        <translation>Signal Brightness</translation>
    </message>
    <message>
        <source>Keypad Timeout</source>
        <translation>Keypad Timeout</translation>
    </message>
    <message>
        <source>Radio Power</source>
        <translation>Radio Power</translation>
    </message>
    <message>
        <source>Radio Wake Interval</source>
        <translation>Radio Wake Interval</translation>
    </message>
    <message>
        <source>Bus Address</source>
        <translation>Bus Address</translation>
    </message>
    <message>
        <source>Medium</source>
        <translation>Medium</translation>
    </message>
    <message>
        <source>Input</source>
        <translation>Input</translation>
    </message>
    <message>
        <source>Time Profile</source>
        <translation>Time Profile</translation>
    </message>
    <message>
        <source>Battery Level</source>
        <translation>Battery Level</translation>
    </message>
    <message>
        <source>Reason</source>
        <translation>Reason</translation>
    </message>
    <message>
        <source>Order Number</source>
        <translation>Order Number</translation>
    </message>
    <message>
        <source>Device Update Mode</source>
        <translation>Device Update Mode</translation>
    </message>
    <message>
        <source>Network Search Mode</source>
        <translation>Network Search Mode</translation>
    </message>
    <message>
        <source>Data Retain Period</source>
        <translation>Data Retain Period</translation>
    </message>
    <message>
        <source>Backup Interval</source>
        <translation>Backup Interval</translation>
    </message>
    <message>
        <source>Routing Strategy</source>
        <translation>Routing Strategy</translation>
    </message>
    <message>
        <source>TCP Keepalive</source>
        <translation>TCP Keepalive</translation>
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
        <translation>Relay %1</translation>
    </message>
    <message>
        <source>Relays %1</source>
        <translation>Relays %1</translation>
    </message>
    <message>
        <source>%1 digits</source>
        <translation>%1 digits</translation>
    </message>
    <message>
        <source>Excellent</source>
        <translation>Excellent</translation>
    </message>
    <message>
        <source>Good</source>
        <translation>Good</translation>
    </message>
    <message>
        <source>Fair</source>
        <translation>Fair</translation>
    </message>
    <message>
        <source>Weak</source>
        <translation>Weak</translation>
    </message>
    <message>
        <source>Technical Media ID</source>
        <translation>Technical Media ID</translation>
    </message>
    <message>
        <source>Public Media ID</source>
        <translation>Public Media ID</translation>
    </message>
    <message>
        <source>UID</source>
        <translation>UID</translation>
    </message>
    <message>
        <source>Device ID</source>
        <translation>Device ID</translation>
    </message>
    <message>
        <source>Event Type</source>
        <translation>Event Type</translation>
    </message>
    <message>
        <source>Login Write</source>
        <translation>Login Write</translation>
    </message>
    <message>
        <source>Users Write</source>
        <translation>Users Write</translation>
    </message>
    <message>
        <source>User Groups Write</source>
        <translation>User Groups Write</translation>
    </message>
    <message>
        <source>Media Write</source>
        <translation>Media Write</translation>
    </message>
    <message>
        <source>Codes Write</source>
        <translation>Codes Write</translation>
    </message>
    <message>
        <source>Access Rights Write</source>
        <translation>Access Rights Write</translation>
    </message>
    <message>
        <source>Time Profiles Write</source>
        <translation>Time Profiles Write</translation>
    </message>
    <message>
        <source>Access Points Write</source>
        <translation>Access Points Write</translation>
    </message>
    <message>
        <source>Remote Execution</source>
        <translation>Remote Execution</translation>
    </message>
    <message>
        <source>Devices Write</source>
        <translation>Devices Write</translation>
    </message>
    <message>
        <source>Software Write</source>
        <translation>Software Write</translation>
    </message>
    <message>
        <source>Logs</source>
        <translation>Logs</translation>
    </message>
    <message>
        <source>Media Pools Write</source>
        <translation>Media Pools Write</translation>
    </message>
    <message>
        <source>User Group Relations</source>
        <translation>User Group Relations</translation>
    </message>
    <message>
        <source>Read Passwords</source>
        <translation>Read Passwords</translation>
    </message>
    <message>
        <source>Login Read</source>
        <translation>Login Read</translation>
    </message>
    <message>
        <source>Users Read</source>
        <translation>Users Read</translation>
    </message>
    <message>
        <source>User Groups Read</source>
        <translation>User Groups Read</translation>
    </message>
    <message>
        <source>Media Read</source>
        <translation>Media Read</translation>
    </message>
    <message>
        <source>Codes Read</source>
        <translation>Codes Read</translation>
    </message>
    <message>
        <source>Access Rights Read</source>
        <translation>Access Rights Read</translation>
    </message>
    <message>
        <source>Time Profiles Read</source>
        <translation>Time Profiles Read</translation>
    </message>
    <message>
        <source>Access Points Read</source>
        <translation>Access Points Read</translation>
    </message>
    <message>
        <source>Devices Read</source>
        <translation>Devices Read</translation>
    </message>
    <message>
        <source>Software Read</source>
        <translation>Software Read</translation>
    </message>
    <message>
        <source>Media Pools Read</source>
        <translation>Media Pools Read</translation>
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
        <translation>We do not want to authenticate on an unencrypted connection.</translation>
    </message>
    <message>
        <source>The remote host closed the connection.</source>
        <translation>The remote host closed the connection.</translation>
    </message>
    <message>
        <source>The reply of the server is too long.</source>
        <translation>The reply of the server is too long.</translation>
    </message>
    <message>
        <source>Authorization protocols not yet supported: %1</source>
        <translation>Authorization protocols not yet supported: %1</translation>
    </message>
    <message>
        <source>The server takes only ASCII characters in addresses.</source>
        <translation>The server takes only ASCII characters in addresses.</translation>
    </message>
</context>
</TS>
