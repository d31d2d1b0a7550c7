"""Simulated devices are found by the console; mistakes on either command line are told in one line."""

import json
import os
import pty
import select
import socket
import subprocess
import unittest

from tools import BIN, Running, console, main, simulator


class Discover(unittest.TestCase):
    def test_every_way_of_asking(self):
        tool, devices, all_ = simulator("--count", 4, "--label", "000.123.457", "--system", "0012.3457")
        with tool:
            labels = [device["device"] for device in devices]
            self.assertEqual(labels[0], "000.123.457")
            port = str(all_["udpPort"])
            # Several rounds of queries and several networks: still one row a device, in order.
            for how in (["--broadcast"], ["--address", "127.0.0.1", "--tcp-port", "0"]):
                code, out, error = console("discover", *how, "--port", port, "--wait", "600", "--json")
                rows = json.loads(out)
                self.assertEqual((code, error, [row["label"] for row in rows]), (0, "", labels))
                self.assertEqual({(row["system"], row["type"], *row["found"]) for row in rows},
                                 {("0012.3457", 41, "broadcast" if how[0] == "--broadcast" else "UDP")})
                self.assertEqual([row["port"] for row in rows], [device["udpPort"] for device in devices])
            # A device's own port; a name is looked up.
            for host in ("127.0.0.1", "localhost", "[::1]"):
                code, out, _ = console("discover", "--address", f"{host}:{devices[2]['tcpPort']}", "--wait", "3000",
                                       "--expect", "1", "--json")
                self.assertEqual([(row["label"], row["found"]) for row in json.loads(out)], [(labels[2], ["TCP"])], host)
            # Of another installation: silence.
            code, out, error = console("discover", "--port", port, "--wait", "200", "--system", "0012.3465")
            self.assertEqual((code, out), (1, ""))
            self.assertRegex(error, rf"nothing answered.*lo 127.255.255.255.* on port {port};.*firewall")
            self.assertEqual(error.count("\n"), 1)
            # Piped: no prompt, no colour; the table has a heading and a row for each device.
            code, out, error = console(stdin=f"discover --expect 4 --port {port}")
            self.assertEqual((code, error, len(out.splitlines())), (0, "", 5))
            self.assertTrue(out.startswith("Label "), out)

    def test_other_device_types_stay_silent(self):
        tool, _, all_ = simulator("--type", 42)
        with tool:
            code, _, _ = console("discover", "--port", str(all_["udpPort"]), "--wait", "200")
            self.assertEqual(code, 1)

    def test_mistakes(self):
        for program, *arguments in (
            ("kyr_device_simulator", "--nonsense"), ("kyr_device_simulator", "--count", "0"),
            ("kyr_device_simulator", "--count"), ("kyr_device_simulator", "--label", "000.123.456"),
            ("kyr_device_simulator", "--system", "1"), ("kyr_device_simulator", "--udp-port", "65536"),
            ("kyr_device_simulator", "--log-level", "loud"), ("kyr_device_simulator", "stray"),
            ("kyr_device_simulator", "--id", "67108863", "--count", "2"),
            ("kyr_console", "--nonsense"), ("kyr_console", "nonsense"), ("kyr_console", "discover", "--wait", "x"),
            ("kyr_console", "discover", "stray"), ("kyr_console", "discover", "--system", "1"),
        ):
            result = subprocess.run([f"{BIN}/{program}", *arguments], capture_output=True, text=True, timeout=10)
            self.assertEqual((result.returncode, result.stdout, result.stderr.count("\n")), (2, "", 1), arguments)

    def test_ports_in_use(self):
        with socket.socket(socket.AF_INET, socket.SOCK_DGRAM) as udp, socket.create_server(("", 0)) as tcp:
            udp.bind(("", 0))
            for kind, taken in (("udp", udp), ("tcp", tcp)):
                port = taken.getsockname()[1]
                result = subprocess.run([f"{BIN}/kyr_device_simulator", "--udp-port", "0", "--tcp-port", "0", f"--{kind}-port", str(port)],
                                        capture_output=True, text=True, timeout=10)
                self.assertEqual((result.returncode, result.stderr.count("\n")), (1, 1), result.stderr)
                self.assertIn(f"{kind.upper()} port {port}", result.stderr)

    def test_environment_takes_precedence(self):
        code, out, _ = console("--socket", "unused", "help", env={"KYR_CONSOLE_SOCKET": "", "KYR_CONSOLE_HELP_JSON": "1"})
        self.assertEqual(code, 0)
        self.assertIn("discover", [row["command"] for row in json.loads(out)])
        code, _, error = console("discover", "--wait", "100", env={"KYR_CONSOLE_DISCOVER_WAIT": "never"})
        self.assertEqual((code, error.count("never")), (2, 1))

    def test_exit_code_of_piped_commands(self):
        self.assertEqual(console(stdin="help\nnonsense\nhelp")[0], 2)
        self.assertEqual(console(stdin="help\n\n# a remark\n'help' \"discover\"")[0], 0)
        self.assertEqual(console(stdin="help\nquit\nnonsense")[0], 0)

    def test_terminal(self):
        """At a terminal there are a prompt, colour and progress; Ctrl+C ends a command, then the console."""
        shown = b""

        def start():
            pid, terminal = pty.fork()
            if pid == 0:
                os.execl(f"{BIN}/kyr_console", "kyr_console")
            return pid, terminal

        def until(text):
            nonlocal shown
            while text not in shown:
                self.assertTrue(select.select([terminal], [], [], 6)[0], shown)
                shown += os.read(terminal, 4096)
            shown = shown[shown.index(text) + len(text):]

        pid, terminal = start()
        until(b"kyr> ")
        os.write(terminal, b"mapping\n")
        until(b"\033[1mEnumeration")
        until(b"kyr> ")
        os.write(terminal, b"discover --wait 60000 --port 9\n")
        until(b"0 found, 59.")
        os.write(terminal, b"\x03")
        until(b"nothing answered")
        until(b"kyr> ")
        os.write(terminal, b"nonsense\n")
        until(b"unknown command")
        until(b"kyr> ")
        os.write(terminal, b"\x03")
        self.assertEqual(os.waitstatus_to_exitcode(os.waitpid(pid, 0)[1]), 0)
        os.close(terminal)
        for end in (lambda: os.write(terminal, b"\x04"), lambda: os.close(terminal)):
            pid, terminal = start()
            until(b"kyr> ")
            end()
            self.assertEqual(os.waitstatus_to_exitcode(os.waitpid(pid, 0)[1]), 0)

    def test_attached_console(self):
        name = f"kyr-test-{os.getpid()}"
        # Asked to end, which leaving the block does, it ends although a command is under way.
        with Running("kyr_console", "--socket", name, "--log-file", "stderr", "--log-level", "DBG") as tool:
            tool.until("Started listening")
            client = subprocess.Popen([f"{BIN}/kyr_console", "--attach", name, "discover", "--wait", "60000"],
                                      stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
            tool.until("Send UDP query")
        self.assertEqual(client.wait(6), 1)
        self.assertEqual(console("--attach", name, "help")[0], 1)


if __name__ == "__main__":
    main()
