#!/usr/bin/env -S kyr_console script
// Lists the doors that nobody opened for a month, or for so many days:
//
//     kyr_console script unopened_doors.js [DAYS]

const days = Number(args[0] || 30);
if (!(days > 0)) {
    console.error("unopened_doors.js [DAYS]");
    exit(2);
}

const since = new Date(Date.now() - days * 24 * 3600 * 1000);
const opened = new Set(events({kinds: ["granted", "opened"], from: since}).map(event => event.accessPoint));
const unopened = kyr.getModel("AccessPoints", {}, []).filter(door => !opened.has(door.id));

for (const door of unopened)
    print(`${door.id}\t${door.label}${door.location ? `\t${door.location}` : ""}`);
console.warn(`${unopened.length} doors were not opened since ${since.toISOString().slice(0, 10)}.`);
