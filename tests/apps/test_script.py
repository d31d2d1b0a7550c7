"""Scripts in JavaScript: what they find, how they end, and the examples."""

import os
import signal
import subprocess
import tempfile
import time
import unittest

from tools import BIN, ROOT, Running, console, main

EXAMPLES = f"{ROOT}/examples/scripts"

# What a script finds, and what it is told.
SERVICE = """#!/usr/bin/env -S kyr_console script
    const id = kyr.createUser({label: "Zo\u00eb \U0001f600 <b>", born: new Date(0), tags: ["a", 2], map: {$: {$: 1}}});
    const user = kyr.getUser({id: id});
    print(typeof id, user.label, user.born.getTime(), user.tags, user.map, args, typeof user.none);
    print(kyr.getModel("UsersGroups").length, kyr.getMapping("DeviceType")[41], kyr.getUsersOfGroup(41));
    print(kyr.setUserProperty("enabled", "perhaps", id), kyr.errorString() !== "");
    for (const event of events({kinds: ["changed"], from: new Date(0)}))
        print([event.what, event.at instanceof Date]);
    for (const wrong of [() => events({kinds: ["granite"]}), () => kyr.getUser("Ada")])
        try { wrong() } catch (error) { print(error.message) }
    kyr.setNotificationHandler((name, parameters) => {
        console.log(name, parameters.event, parameters.data.UsersGroups);
        kyr.sendTemplateEmail(1, ["a@example.com"], {}, answer => {
            console.log(typeof answer.status, "answered");
            setTimeout(() => exit(7), 1);
        });
        console.log("not answered yet");
    });
    kyr.deleteUser(id);"""


class Script(unittest.TestCase):
    def setUp(self):
        self.folder = tempfile.TemporaryDirectory()
        self.addCleanup(self.folder.cleanup)

    def file(self, name, text):
        path = f"{self.folder.name}/{name}"
        with open(path, "w", encoding="utf-8") as out:
            out.write(text)
        return path

    def run_script(self, text, *arguments, name="t\u00e9st.js", database="memory"):
        return console("script", self.file(name, text), *arguments, database=database)

    def test_service(self):
        code, out, error = self.run_script(SERVICE, "one", "zw\u00f6lf")
        self.assertEqual((code, error), (7, ""))
        self.assertEqual(out.splitlines(), [
            'string Zo\u00eb \U0001f600 <b> 0 ["a",2] {"$":{"$":1}} ["one","zw\u00f6lf"] undefined',
            '8 Network Gateway ["31","32","33","34"]',
            "false true", '["created Zo\u00eb \U0001f600 <b>",true]', 'events: there is no kind "granite"',
            'getUser: "filter" takes a value of type map',
            'Model changed [{"id":"75"}]', "not answered yet", "string answered"])

    def test_errors_name_the_place(self):
        for line, what, text in (
                (2, "ReferenceError", "print(1);\nmissing()"),
                (3, "SyntaxError", "\n\nlet x = ;"),
                (1, "SyntaxError", "x ="),
                (2, "TypeError: getUser", "\nkyr.getUser('Ada')"),
                (3, "no matter", "kyr.sendTemplateEmail(1, [], {}, () => {\n\nthrow new Error('no matter') })"),
                (2, "later", "setTimeout(() => {\nthrow new Error('later') }, 1)"),
                (2, "promised", "Promise.resolve().then(() => {\nthrow new Error('promised') }).then(print)"),
                (1, "RangeError", "function again() { again() } again()"),
                (1, "too deeply", "let list = []; for (let i = 0; i < 100000; ++i) list = [list]; kyr.createUser({list: list})"),
                (1, "contains itself", "const map = {}; map.map = map; kyr.createUser(map)"),
                (1, "too long", "kyr.addUsersToGroup(new Array(4e9), '41')"),
                (1, "function", "kyr.createUser({label: print})"),
                (1, "missing", "kyr.deleteUser()"),
                (1, "takes 1 arguments", "kyr.deleteUser('1', '2')"),
                (1, "cannot read", "readFile('/none')"),
                (1, "no kind", "events({kinds: ['granite']})"),
                (1, "more than 10000 timers", "for (;;) setTimeout(print, 60000)"),
                (1, "0 to 255", "exit(256)")):
            code, _, error = self.run_script(text)
            self.assertEqual(code, 1, text)
            self.assertIn(f"t\u00e9st.js:{line}: ", error)
            self.assertIn(what, error)
        code, _, error = self.run_script("throw 'a text'")
        self.assertEqual((code, "a text" in error), (1, True))
        self.assertEqual(console("script", "none.js")[0], 1)
        self.assertEqual(console("script", self.folder.name)[0], 1)
        with open(f"{self.folder.name}/large.js", "wb") as large:
            large.truncate(64 * 1024 * 1024 + 1)
        self.assertIn("larger than 64 MiB", console("script", large.name)[2])
        self.assertEqual(console("script")[0], 2)

    def test_exit(self):
        for text in ("try { exit(7) } catch (error) { print('caught') } finally { print('last') } print('after')",
                     "kyr.sendTemplateEmail(1, [], {}, () => exit(7)); setTimeout(print, 60000)",
                     "let n = 0; const step = () => ++n < 300 ? Promise.resolve().then(step) : exit(7); step()"):
            self.assertEqual(self.run_script(text), (7, "", ""))
        self.assertEqual(self.run_script("clearTimeout(setTimeout(print, 60000)); exit"), (0, "", ""))

    def test_time_limit(self):
        for text in ("while (true);", "while (true) { try { while (true); } catch (error) {} finally { continue } }",
                     "(function again() { Promise.resolve().then(again) })()",
                     "(function again() { setTimeout(again) })()", "kyr.setNotificationHandler(print)",
                     "kyr.setNotificationHandler(() => kyr.createUser({label: 'again'})); kyr.createUser({label: 'first'})"):
            code, _, error = self.run_script(text, "--timeout", "1")
            self.assertEqual((code, error.count("\n"), "not finished after 1 s" in error), (1, 1, True), text)

    def test_interrupted_while_it_waits(self):
        path = self.file("wait.js", "print('waits'); kyr.setNotificationHandler(print)")
        process = subprocess.Popen([f"{BIN}/kyr_console", "--database", "memory", "script", path], stdout=subprocess.PIPE,
                                   stderr=subprocess.PIPE, text=True)
        self.assertEqual(process.stdout.readline(), "waits\n")
        process.terminate()
        out, error = process.communicate(timeout=6)
        self.assertEqual((process.returncode, out, error), (1, "", "script: interrupted\n"))

    def test_beside_a_console(self):
        # Its user has no other way to the installation; the console computes nothing for it.
        socket = f"{self.folder.name}/console"
        beside = lambda text, *arguments: console("--attach", socket, "script", self.file("f.js", text), *arguments)
        with Running("kyr_console", "--database", "memory", "--socket", socket):
            while not os.path.exists(socket):
                time.sleep(0.02)
            self.assertEqual(beside(SERVICE, "one", "zw\u00f6lf"), self.run_script(SERVICE, "one", "zw\u00f6lf"))
            for text, what in (("\n\nkyr.deleteUser()", "f.js:3: "), ("while (true) kyr.getUser({id: 31})", "not finished after 1 s"),
                               ("while (true);", "not finished after 1 s"), ("setTimeout(print, 60000)", "not finished after 1 s"),
                               ("readFile('/none')", "cannot read"), ("kyr.createUser({label: 'x'.repeat(17e6)})", "too large")):
                code, out, error = beside(text, "--timeout", "1" if "not finished" in what else "60")
                self.assertEqual((code, out, what in error, error.count("\n")), (1, "", True, 1), (text, error))
            self.assertEqual(console("--attach", socket, "script", "none.js")[0], 1)
            # The next command of the same conversation is no part of the last one.
            two = console("--attach", socket, stdin=f"script {self.file('a.js', 'print(1)')}\nmapping UserClass\n")
            self.assertEqual((two[0], two[1].splitlines()[0], "Group" in two[1]), (0, "1", True))
            waits = subprocess.Popen([f"{BIN}/kyr_console", "--attach", socket, "script", self.file("w.js", "print('waits'); setTimeout(print, 60000)")],
                                     stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True)
            self.assertEqual(waits.stdout.readline(), "waits\n")
            waits.send_signal(signal.SIGINT)
            self.assertEqual((waits.communicate(timeout=6), waits.returncode), (("", "script: interrupted\n"), 1))
            lost = subprocess.Popen([f"{BIN}/kyr_console", "--attach", socket, "script", self.file(
                "l.js", "print('runs'); while (true) try { kyr.getUser({id: 31}) } catch (error) {}")],
                                    stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True)
            self.assertEqual(lost.stdout.readline(), "runs\n")
        out, error = lost.communicate(timeout=6)
        self.assertEqual((lost.returncode, out), (1, ""), error)

    def test_examples(self):
        database = f"{self.folder.name}/school.db"
        cards = self.file("class.csv", "Name;UID;Email\nAda Moser;04:A1:22:3B;ada@example.com\nZo\u00eb Lund;04A1223B5C6D80\n")
        give = lambda: console("script", f"{EXAMPLES}/cards_for_class.js", cards, "Class 3b", database=database)
        self.assertEqual(give(), (0, "2 students in Class 3b: 2 new, 2 cards given.\n", ""))
        self.assertEqual(give(), (0, "2 students in Class 3b: 0 new, 0 cards given.\n", ""))
        wrong = self.file("wrong.csv", "Name;UID\nNew Student;04:A1:22:3C\nBen Costa;04:A1:22:3B\n;zz\n")
        code, out, error = console("script", f"{EXAMPLES}/cards_for_class.js", wrong, "Class 3b", database=database)
        self.assertEqual((code, out, error.count("\n")), (1, "", 3))
        self.assertNotIn("New Student", console("users", database=database)[1])
        code, door, _ = console("doors", "add", "Main Entrance", database=database)
        code, out, error = console("script", f"{EXAMPLES}/unopened_doors.js", "7", database=database)
        self.assertEqual((code, out), (0, f"{door.strip()}\tMain Entrance\n"))
        code, out, _ = console("script", f"{EXAMPLES}/morning_report.js", database=database)
        self.assertEqual((code, "0 times let in" in out), (0, True))
        code, out, error = console("script", f"{EXAMPLES}/morning_report.js", "a@example.com", database=database)
        self.assertEqual((code, out, error), (0, "In the outbox, for a@example.com.\n", ""))
        self.assertIn("a@example.com", console("mail", "--outbox", database=database)[1])
        code, _, error = console("script", f"{EXAMPLES}/morning_report.js", "no address", database=database)
        self.assertEqual((code, "not taken" in error), (1, True))


if __name__ == "__main__":
    main()
