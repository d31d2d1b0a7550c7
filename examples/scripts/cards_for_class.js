#!/usr/bin/env -S kyr_console script
// Gives the students of a class their cards:
//
//     kyr_console script cards_for_class.js class-3b.csv "Class 3b"
//
// The first line of the file names its columns: "Name" and "UID" are needed, "Email" may be there. Who is not known yet is
// entered, the group is made at need, and whoever already has the card of a line keeps it. Nothing is changed when
// something is wrong with the file; a second run changes nothing.

const [file, groupName] = args;
if (!groupName) {
    console.error("cards_for_class.js FILE.csv GROUP");
    exit(2);
}

const isUser = item => item.class === 1;
const uidOf = text => text.replace(/[:\s-]/g, "").toUpperCase();

// --- Read the file, and look at all of it before anything is changed

const [header, ...rows] = readCsv(file);
const column = title => header.findIndex(name => name.trim().toLowerCase() === title);
const [nameColumn, uidColumn, emailColumn] = ["name", "uid", "email"].map(column);
if (nameColumn < 0 || uidColumn < 0) {
    console.error(`${file}: the columns "Name" and "UID" are needed`);
    exit(1);
}

const people = kyr.getModel("UsersGroups", {}, []);
const media = new Map(kyr.getModel("Media", {}, []).map(medium => [uidOf(medium.uid), medium]));
const faults = [];
const seen = new Set();
const students = rows.map((row, index) => {
    const student = {name: (row[nameColumn] || "").trim(), uid: uidOf(row[uidColumn] || ""), email: (row[emailColumn] || "").trim()};
    const fault = text => faults.push(`record ${index + 1} (${student.name}): ${text}`);
    const known = people.filter(item => isUser(item) && item.label === student.name);
    const medium = media.get(student.uid);
    if (!student.name)
        fault("no name");
    if (!/^([0-9A-F]{8}|[0-9A-F]{14}|[0-9A-F]{16})$/.test(student.uid))
        fault("a UID has 4, 7 or 8 bytes in hexadecimal digits");
    if (seen.has(student.uid))
        fault(`the card ${student.uid} stands there twice`);
    if (known.length > 1)
        fault("several users have this name");
    if (medium && Number(medium.userId) && (known.length !== 1 || known[0].id !== medium.userId))
        fault(`the card ${student.uid} belongs to somebody else`);
    seen.add(student.uid);
    return Object.assign(student, {user: known.length === 1 ? known[0].id : null, medium: medium});
});
if (faults.length > 0) {
    console.error(faults.join("\n"));
    exit(1);
}

// --- Change what is to be changed

const must = (done, what) => {
    if (!done || done === "0")
        throw new Error(`${what}: ${kyr.errorString()}`);
    return done;
};

const found = people.filter(item => !isUser(item) && item.label === groupName);
const group = found.length > 0 ? found[0].id : must(kyr.createGroup({label: groupName}), groupName);
let added = 0;
let given = 0;
for (const student of students) {
    if (!student.user) {
        const properties = student.email ? {label: student.name, Email: student.email} : {label: student.name};
        student.user = must(kyr.createUser(properties), student.name);
        ++added;
    }
    if (!student.medium) {
        const medium = must(kyr.createRfidMedium({uid: student.uid, label: student.name}), student.uid);
        student.medium = {id: medium, userId: "0"};
    }
    if (student.medium.userId !== student.user) {
        must(kyr.addRfidMediaToUser([student.medium.id], student.user), student.name);
        ++given;
    }
}
must(kyr.addUsersToGroup(students.map(student => student.user), group), groupName);
print(`${students.length} students in ${groupName}: ${added} new, ${given} cards given.`);
