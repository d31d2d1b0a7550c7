#!/usr/bin/env -S kyr_console script
// Mails what happened at the doors in the last 24 hours:
//
//     kyr_console script morning_report.js --timeout 60 office@example.com caretaker@example.com
//
// Each morning at seven, in the table of cron:
//
//     0 7 * * *  kyr_console script morning_report.js --timeout 60 office@example.com
//
// The mail is left in the outbox, from which a console sends it that serves with --mail-server. Without a recipient the
// report is printed. The exit code is 1 when the mail was not taken.

const since = new Date(Date.now() - 24 * 3600 * 1000);
const happened = events({kinds: ["granted", "denied", "forced", "held", "opened", "refused", "loginRefused"], from: since});

const of = kind => happened.filter(event => event.kind === kind);
const counted = (list, key) => {
    const counts = new Map();
    for (const event of list)
        counts.set(key(event), (counts.get(key(event)) || 0) + 1);
    return [...counts].sort((a, b) => b[1] - a[1]).map(([what, count]) => `  ${String(count).padStart(5)}  ${what}`);
};
const door = event => event.door;

const lines = [
    `Since ${since.toISOString().slice(0, 16).replace("T", " ")} UTC: ${of("granted").length} times let in, `
        + `${of("denied").length} times refused.`,
    "", "Let in:", ...counted(of("granted"), door),
    "", "Refused:", ...counted(of("denied"), event => `${door(event)}: ${event.reason}`),
    "", "Forced, or held open:", ...counted([...of("forced"), ...of("held")], door),
    "", "Opened remotely:", ...counted(of("opened"), event => `${door(event)} by ${event.operator}`),
    "", `Log-ins refused: ${of("loginRefused").length}. Calls without permission: ${of("refused").length}.`,
];

if (args.length === 0) {
    print(lines.join("\n"));
} else {
    kyr.sendTemplateEmail(0, args, {subject: "What happened at the doors", message: lines.join("\n")}, answer => {
        if (answer.status === "error") {
            console.error(`not taken: ${answer.error}`);
            exit(1);
        }
        print(`In the outbox, for ${args.join(", ")}.`);
    });
}
