"""Scripts in JavaScript: what they find, how they end, and the examples."""

import subprocess
import tempfile
import unittest

from tools import BIN, ROOT, console, main

EXAMPLES = f"{ROOT}/examples/scripts"


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
        code, out, error = self.run_script("""#!/usr/bin/env -S kyr_console script
            const id = kyr.createUser({label: "Zo\u00eb \U0001f600 <b>", born: new Date(0), tags: ["a", 2]});
            const user = kyr.getUser({id: id});
            print(typeof id, user.label, user.born.getTime(), user.tags, args);
            print(kyr.getModel("UsersGroups").length, kyr.getMapping("DeviceType")[41], kyr.getUsersOfGroup(41));
            print(kyr.setUserProperty("enabled", "perhaps", id), kyr.errorString() !== "");
            kyr.setNotificationHandler((name, parameters) => {
                console.log(name, parameters.event, parameters.data.UsersGroups);
                kyr.sendTemplateEmail(1, ["a@example.com"], {}, answer => {
                    console.log(typeof answer.status, "answered");
                    kyr.setNotificationHandler(null);
                });
                console.log("not answered yet");
            });
            kyr.deleteUser(id);""", "one", "zw\u00f6lf")
        self.assertEqual((code, error), (0, ""))
        self.assertEqual(out.splitlines(), [
            'string Zo\u00eb \U0001f600 <b> 0 ["a",2] ["one","zw\u00f6lf"]',
            '8 Network Gateway ["31","32","33","34"]',
            "false true",
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
