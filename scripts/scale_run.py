"""scale_run.py [--devices N] [--times N] [--database postgresql|sqlite]: called by ./run scale.

Three servers, a broker, a database and many simulated locks on loopback. Cards are held to doors and the model changes
all the time, while each part is killed once (kill -9) and started again a moment later. Then everything is settled: each
event that a lock noted stands in the trail, once; each change and each event was told by the broker. Exit code 1 when
anything is missing.
"""

import argparse
import collections
import json
import os
import random
import shutil
import subprocess
import sys
import tempfile
import threading
import time

from soak_common import (BIN, BUILD, CERTIFICATES, FIRST_DEVICE, SYSTEM, Findings, lines_of, make_certificates,
                         serve_options, simulator_command)
from broker import Broker, Watcher, free_port  # noqa: E402  (beside tools, which soak_common has found)

SERVERS = ("north", "south", "east")
SIMULATORS = 3
DOORS_OF_A_USER = 20
DOWN_SECONDS = 3               # for which a part stays away
RECOVERY_SECONDS = 300         # of a stalled machine
PING_SECONDS = 20              # as by default; a stalled machine drops links for less
CARDS_A_SECOND = 20
CHANGES_A_SECOND = 4


class Process:
    """A program that is killed and started again."""

    def __init__(self, name, command, env=None, log=None):
        self.name, self.command, self.env, self.log = name, command, env, log
        self.process = None

    def start(self):
        with open(self.log or os.devnull, "ab") as log:
            self.process = subprocess.Popen(self.command, stdin=subprocess.DEVNULL, stdout=log, stderr=log,
                                            env={**os.environ, **(self.env or {})})

    def kill(self):
        self.process.kill()
        self.process.wait()

    def end(self):
        if self.process and self.process.poll() is None:
            self.process.terminate()
            try:
                return self.process.wait(30)
            except subprocess.TimeoutExpired:
                self.kill()
                return -1
        return 0


class PostgreSql:
    """A cluster of its own in a folder; it refuses to run as root, so that root lends it a user."""

    name = "PostgreSQL"

    def __init__(self, where):
        found = sorted(os.listdir("/usr/lib/postgresql"), key=int) if os.path.isdir("/usr/lib/postgresql") else []
        if not found:
            raise SystemExit("scale: PostgreSQL is not installed (Debian: postgresql-15)")
        self.programs = f"/usr/lib/postgresql/{found[-1]}/bin"
        self.folder = f"{where}/postgresql"
        self.port = free_port()
        self.url = f"postgresql://kyr@127.0.0.1:{self.port}/kyr"
        self.process = None
        os.mkdir(self.folder)
        if os.getuid() == 0:
            shutil.chown(self.folder, "postgres")
            os.chmod(where, 0o755)
        self.run("initdb", "-D", f"{self.folder}/data", "-U", "kyr", "-A", "trust", "-E", "UTF8", "--locale=C")

    def user(self):
        return ["setpriv", "--reuid=postgres", "--regid=postgres", "--clear-groups"] if os.getuid() == 0 else []

    def run(self, program, *arguments):
        subprocess.run([*self.user(), f"{self.programs}/{program}", *arguments], check=True, stdout=subprocess.DEVNULL,
                       cwd=self.folder)

    def start(self):
        self.process = subprocess.Popen(
            [*self.user(), f"{self.programs}/postgres", "-D", f"{self.folder}/data", "-c", "listen_addresses=127.0.0.1",
             "-c", f"port={self.port}", "-c", f"unix_socket_directories={self.folder}"],
            stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, cwd=self.folder)
        for _ in range(300):
            ready = subprocess.run([f"{self.programs}/pg_isready", "-q", "-h", "127.0.0.1", "-p", str(self.port)], check=False)
            if ready.returncode == 0:
                break
            time.sleep(0.1)
        subprocess.run([f"{self.programs}/createdb", "-h", "127.0.0.1", "-p", str(self.port), "-U", "kyr", "kyr"],
                       stderr=subprocess.DEVNULL, check=False)

    def kill(self):
        self.process.kill()
        self.process.wait()

    def end(self):
        if self.process and self.process.poll() is None:
            self.process.send_signal(2)
            self.process.wait(30)
        return 0


class Sqlite:
    """One file that all servers share."""

    name = "SQLite"

    def __init__(self, where):
        self.url = f"{where}/installation.db"

    def start(self):
        pass

    def end(self):
        return 0


class Account:
    """What a subscriber of the broker has heard, and what it asks for again."""

    def __init__(self, broker):
        self.broker = broker
        self.watcher = None
        self.read = 0
        self.heard = collections.defaultdict(set)  # numbers by server, source and epoch
        self.rows = collections.defaultdict(set)   # of the tables, by source
        self.repeated = 0
        self.asked = 0

    def subscribe(self):
        """Again after the broker was killed, which ends its clients."""
        if self.watcher:
            self.take()
            self.watcher.close()
        self.watcher = Watcher(self.broker, f"kyr/1/{SYSTEM}/+/notify/+")
        self.read = 0

    def take(self):
        new = self.watcher.messages[self.read:]
        self.read += len(new)
        for topic, payload, _ in new:
            parts = topic.split("/")
            if len(parts) < 6 or parts[5] not in ("model", "access"):
                continue
            message = json.loads(payload)
            numbers = self.heard[parts[3], message["source"], message["epoch"]]
            self.repeated += message["seq"] in numbers
            numbers.add(message["seq"])
            data = message["data"]
            self.rows[message["source"]].add((data.get("chain", 0), data["seq"]))

    def gaps(self, given):
        """What of the numbers that were given was not heard: server, source, epoch, first and last one."""
        self.take()
        found = []
        for (server, source, epoch), last in given.items():
            missing = sorted(set(range(1, last + 1)) - self.heard[server, source, epoch])
            if missing:
                found.append((server, source, epoch, missing[0], missing[-1]))
        return found

    def ask_again(self, gaps):
        for server, source, epoch, first, last in gaps:
            self.asked += 1
            self.broker.publish(f"kyr/1/{SYSTEM}/{server}/replay",
                                json.dumps({"source": source, "epoch": epoch, "from": first, "to": last}))


class Scale:
    def __init__(self, where, arguments):
        self.where = where
        os.environ["XDG_DATA_HOME"] = where  # what servers keep beside a database
        self.findings = Findings()
        self.random = random.Random(1)
        self.count = arguments.devices - arguments.devices % SIMULATORS
        self.labels = make_certificates(self.count)
        self.database = (PostgreSql if arguments.database == "postgresql" else Sqlite)(where)
        self.broker = Broker(where, SERVERS)
        self.ports = {name: free_port() for name in SERVERS}
        self.servers = {name: self.server(name) for name in SERVERS}
        self.simulators = [self.simulator(number) for number in range(SIMULATORS)]
        self.busy = threading.Event()
        self.cards = collections.Counter()
        self.changes = collections.Counter()
        self.account = None
        self.given = None
        self.asked_at = 0

    def server(self, name):
        return Process(name, [f"{BIN}/kyr_console", "--database", self.database.url, "--socket", f"{self.where}/{name}.socket",
                              "--log-file", f"{self.where}/{name}.log", *serve_options(self.ports[name], PING_SECONDS),
                              *self.broker.options(name)], log=f"{self.where}/{name}.out")

    def simulator(self, number):
        share = self.count // SIMULATORS
        calls = []
        for place in range(len(SERVERS)):  # each third of them prefers another server
            calls += ["--call", f"https://127.0.0.1:{self.ports[SERVERS[(number + place) % len(SERVERS)]]}"]
        return Process(f"simulator {number}", simulator_command(
            "--id", str(FIRST_DEVICE + number * share), "--count", str(share), "--system", SYSTEM, "--udp-port", "0",
            "--tcp-port", "0", "--log-file", "none", *calls, "--certificate", f"{CERTIFICATES}/%1.pem", "--key",
            f"{CERTIFICATES}/console.key", "--ca", f"{BUILD}/dev-ca/ca-chain.pem", "--state", f"{self.where}/locks",
            "--control", f"{self.where}/simulator{number}"))

    # --- The installation

    def console(self, *words, lines=None):
        return subprocess.run([f"{BIN}/kyr_console", "--database", self.database.url, *words], check=False, text=True,
                              capture_output=True, input=lines)

    @staticmethod
    def uid(user):
        return f"04:A1:22:3B:5C:{user // 256:02X}:{user % 256:02X}"

    def install(self):
        users = self.count // DOORS_OF_A_USER
        lines = [f"doors add {label}\ndoors assign {label} {label}" for label in self.labels]
        for user in range(users):
            doors = self.labels[user * DOORS_OF_A_USER:(user + 1) * DOORS_OF_A_USER]
            lines.append(f'users add "User {user}"\nmedia add {self.uid(user)} --user "User {user}"\n'
                         f'grant "User {user}" {" ".join(doors)}')
        begin = time.monotonic()
        self.console(lines="\n".join(lines) + "\nquit\n")
        rows = json.loads(self.console("doors", "--json").stdout)
        if len(rows) != self.count:
            self.findings.add(f"{len(rows)} doors were made")
        print(f"{self.count} doors, {users} users with cards in {time.monotonic() - begin:.1f} s", flush=True)

    # --- What goes on all the time

    def hold_cards(self):
        share = self.count // SIMULATORS
        while self.busy.is_set():
            place = self.random.randrange(self.count)
            user = place // DOORS_OF_A_USER if self.random.randrange(4) else 0xFFFF
            try:
                lines, code = lines_of(f"{self.where}/simulator{place // share}", f"present {self.labels[place]} {self.uid(user)}")
            except OSError:
                self.cards["cut short"] += 1  # by a lock's end
                time.sleep(0.1)
                continue
            self.cards["answered"] += code == 0
            time.sleep(1 / CARDS_A_SECOND)

    def change(self):
        number = 0
        while self.busy.is_set():
            number += 1
            user = self.random.randrange(self.count // DOORS_OF_A_USER)
            done = self.console("users", "set", f"User {user}", f"note=change {number}").returncode == 0
            self.changes["made" if done else "refused"] += 1
            time.sleep(1 / CHANGES_A_SECOND)

    # --- How it stands

    def ask(self, name, *words):
        result = subprocess.run([f"{BIN}/kyr_console", "--attach", f"{self.where}/{name}.socket", *words, "--json"], check=False,
                                capture_output=True, text=True)
        return json.loads(result.stdout) if result.returncode == 0 and result.stdout else None

    def links(self):
        """How many links each lock has at all servers, and how many of them have their list."""
        linked = collections.Counter()
        ready = 0
        for name in SERVERS:
            # Each shows the devices of all, and names the server.
            for row in self.ask(name, "devices") or []:
                if row["server"] == name and row.get("linked", True):
                    linked[row["label"]] += 1
                    ready += bool(row["upToDate"])
        return linked, ready

    def missing(self):
        """What is not as it should be, in words; empty when everything is."""
        linked, ready = self.links()
        if sum(linked.values()) != self.count or len(linked) != self.count or ready != self.count:
            return f"{len(linked)} of {self.count} locks are linked, {ready} up to date"
        given = {(server, source, epoch): int(seq) for server, source, epoch, seq in self.given}
        waiting = [row for row in self.query("SELECT server,source,epoch,acknowledged FROM bridge_source WHERE source<>'Audit'")
                   if int(row[3]) < given.get(tuple(row[:3]), 0)]
        if waiting:
            return f"messages wait for the broker behind {waiting[0]}"
        gaps = self.account.gaps(given)
        if gaps and time.monotonic() > self.asked_at + 1:
            self.asked_at = time.monotonic()
            self.account.ask_again(gaps)
        return f"messages were not heard: {gaps[0]}" if gaps else ""

    def query(self, sql):
        if isinstance(self.database, Sqlite):
            command = ["sqlite3", "-separator", "|", self.database.url, sql]
        else:
            command = [f"{self.database.programs}/psql", "-AtX", "-h", "127.0.0.1", "-p", str(self.database.port), "-U", "kyr",
                       "-d", "kyr", "-c", sql]
        text = subprocess.run(command, check=True, capture_output=True, text=True).stdout
        return [line.split("|") for line in text.splitlines()]

    def until_whole(self, what):
        begin = time.monotonic()
        self.given = None
        while True:
            for server in self.servers.values():
                if server.process.poll() is not None:
                    self.findings.add(f"{server.name} has ended by itself, with code {server.process.returncode}")
                    return RECOVERY_SECONDS
            try:
                # What goes on meanwhile is for the next time.
                if self.given is None:
                    self.given = self.query("SELECT server,source,epoch,seq FROM bridge_source WHERE source<>'Audit'")
                missing = self.missing()
            except (subprocess.CalledProcessError, OSError, ValueError) as error:
                missing = str(error)
            if not missing:
                return time.monotonic() - begin
            if time.monotonic() > begin + RECOVERY_SECONDS:
                self.findings.add(f"{RECOVERY_SECONDS} s after {what}: {missing}")
                return RECOVERY_SECONDS
            time.sleep(0.3)

    # --- What it costs

    def cost(self, seconds=10):
        """Of a core, and memory, while nothing but signs of life go on and then while cards are held to doors."""
        programs = {**{name: [server.process.pid] for name, server in self.servers.items()},
                    "broker": [self.broker.process.pid]}
        if not isinstance(self.database, Sqlite):
            postmaster = self.database.process.pid
            programs[self.database.name] = [postmaster, *map(int, subprocess.run(
                ["pgrep", "-P", str(postmaster)], capture_output=True, text=True, check=False).stdout.split())]

        def used(pids):
            total = 0
            for pid in pids:
                try:
                    with open(f"/proc/{pid}/stat", encoding="utf-8") as file:
                        total += sum(map(int, file.read().rpartition(")")[2].split()[11:13]))
                except FileNotFoundError:
                    pass
            return total / os.sysconf("SC_CLK_TCK")

        before = {name: used(pids) for name, pids in programs.items()}
        answered = self.cards["answered"]
        time.sleep(seconds)
        share = {name: 100 * (used(pids) - before[name]) / seconds for name, pids in programs.items()}
        with open(f"/proc/{self.servers['north'].process.pid}/status", encoding="utf-8") as file:
            memory = next(int(line.split()[1]) for line in file if line.startswith("VmRSS")) // 1024
        rate = (self.cards["answered"] - answered) / seconds
        print(f"{rate:4.1f} cards a second: " + ", ".join(f"{name} {value:.1f} %" for name, value in share.items())
              + f" of a core; north has {memory} MB", flush=True)

    # --- The account

    def journals(self):
        found = {}
        for number in range(SIMULATORS):
            share = self.count // SIMULATORS
            for label in self.labels[number * share:(number + 1) * share]:
                lines, _ = lines_of(f"{self.where}/simulator{number}", f"journal {label}")
                found[label] = json.loads(lines[0])
        return found

    def until_taken_up(self):
        """What happened last has reached the database, and the bridges have seen it there."""
        end = time.monotonic() + RECOVERY_SECONDS
        while time.monotonic() < end:
            behind = self.query("SELECT (SELECT count(*) FROM event e LEFT JOIN bridge_position p ON p.stream='event '||e.chain "
                                "WHERE e.seq>coalesce(p.position,0))+(SELECT count(*) FROM change WHERE seq>(SELECT max(position) "
                                "FROM bridge_position WHERE stream LIKE 'change%'))")
            unsaid = sum(journal["next"] - 1 - journal["acknowledged"] for journal in self.journals().values())
            if behind == [["0"]] and unsaid == 0:
                return
            time.sleep(0.5)

    def settle(self):
        self.until_taken_up()
        self.until_whole("the end")
        journals = self.journals()
        noted = sum(journal["next"] - 1 for journal in journals.values())
        lost = sum(journal["lost"] for journal in journals.values())
        unsaid = sum(journal["next"] - 1 - journal["acknowledged"] for journal in journals.values())
        events = json.loads(self.console("events", "--json").stdout)
        stored = collections.Counter((event["device"], event["deviceSeq"]) for event in events if event["device"])
        twice = sum(1 for count in stored.values() if count > 1)
        missing = noted - len(stored)
        told = self.account.rows
        doors = {(int(chain), int(seq)) for chain, seq in self.query("SELECT chain,seq FROM event WHERE kind IN (1,2,3,4,5)")}
        changes = {(0, int(row[0])) for row in self.query("SELECT seq FROM change")}
        # What the installation was made with happened before there was a bridge.
        first = min(seq for _, seq in told["Model"])
        unheard = len(doors - told["Access"]) + sum(1 for change in changes if change[1] >= first and change not in told["Model"])
        verified = self.console("audit", "verify").returncode == 0
        print(f"\ncards held to doors     {self.cards['answered']} answered, {self.cards['cut short']} cut short by a lock's end\n"
              f"changes of the model    {self.changes['made']} made, {self.changes['refused']} refused while the database was away\n"
              f"events                  {noted} noted by locks, {len(stored)} stored; lost {missing + lost}, twice {twice}, "
              f"not reported {unsaid}\n"
              f"messages of the broker  {len(told['Model'])} changes, {len(told['Access'])} events; missing {unheard}, "
              f"repeated {self.account.repeated}, asked for again {self.account.asked} times\n"
              f"audit verify            {'intact' if verified else 'NOT INTACT'}", flush=True)
        for count, what in ((missing + lost, "events are lost"), (twice, "events are stored twice"), (unsaid, "events are not reported"),
                            (unheard, "changes and events were not told"), (not verified, "the trail is not intact")):
            if count:
                self.findings.add(f"{int(count)} {what}")

    def begin(self):
        self.database.start()
        self.broker.start()
        self.install()
        for server in self.servers.values():
            server.start()
        self.account = Account(self.broker)
        self.account.subscribe()
        # One third after the other: what it takes when all call at once ./run bench measures.
        for number, simulator in enumerate(self.simulators, 1):
            simulator.start()
            end = time.monotonic() + RECOVERY_SECONDS
            while len(self.links()[0]) < number * self.count // SIMULATORS and time.monotonic() < end:
                time.sleep(0.3)

    def end(self):
        if self.account:
            self.account.watcher.close()
        for part in [*self.simulators, *self.servers.values(), self.broker, self.database]:
            code = part.stop() if part is self.broker else part.end()
            if code:
                self.findings.add(f"{part.name} ended with {code}")

    def run(self):
        try:
            begin = time.monotonic()
            self.begin()
            self.until_whole("the start")
            print(f"all made, started, linked, up to date and told after {time.monotonic() - begin:.1f} s", flush=True)
            self.cost()
            self.busy.set()
            people = [threading.Thread(target=work) for work in (self.hold_cards, self.change)]
            for person in people:
                person.start()
            self.cost()
            print("\nkilled        away  whole again after", flush=True)
            parts = [*self.servers.values(), self.broker, self.simulators[0]]
            if not isinstance(self.database, Sqlite):
                parts.append(self.database)
            for part in parts:
                part.kill()
                time.sleep(DOWN_SECONDS)
                part.start()
                if part is self.broker:
                    self.account.subscribe()
                name = getattr(part, "name", "broker")
                print(f"{name:12}  {DOWN_SECONDS:3} s  {self.until_whole(name):5.1f} s", flush=True)
            self.busy.clear()
            for person in people:
                person.join()
            self.settle()
        finally:
            self.busy.clear()
            self.end()


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--devices", type=int, default=600)
    parser.add_argument("--times", type=int, default=1)
    parser.add_argument("--database", choices=("postgresql", "sqlite"), default="postgresql")
    arguments = parser.parse_args()
    for time_ in range(arguments.times):
        where = tempfile.mkdtemp(prefix="kyr-scale-")
        begin = time.monotonic()
        scale = Scale(where, arguments)
        try:
            scale.run()
        finally:
            if scale.findings:
                print(f"what was logged stays in {where}")
            else:
                shutil.rmtree(where, ignore_errors=True)
        print(f"{'no findings' if not scale.findings else f'{len(scale.findings)} findings'}, "
              f"{time.monotonic() - begin:.0f} s\n", flush=True)
        if scale.findings:
            return 1
    return 0


if __name__ == "__main__":
    sys.exit(main())
