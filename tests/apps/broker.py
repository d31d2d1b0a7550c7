"""Starts Debian's MQTT broker on a port of this machine, with TLS, a password file and an access list, and reads from it."""

import json
import os
import shutil
import socket
import subprocess
import threading
import time

from tools import BUILD, ROOT, WAIT

SYSTEM = "0012.3457"
PASSWORD = "between servers"
BROKER = shutil.which("mosquitto") or shutil.which("mosquitto", path="/usr/sbin")

# Each server writes below its own name and reads what others tell; it may ask others to say something again.
ACCESS_LIST = """user watcher
topic readwrite #

pattern write kyr/1/+/%u/#
pattern read kyr/1/+/%u/replay
pattern read kyr/1/+/+/notify/+
pattern write kyr/1/+/+/replay
"""


def free_port():
    with socket.socket() as probe:
        probe.bind(("127.0.0.1", 0))
        return probe.getsockname()[1]


class Broker:
    """The broker in a folder: `start`, `stop` and `kill` keep port and files. Users: those given, and "watcher"."""

    def __init__(self, where, users, access_list=ACCESS_LIST):
        self.where = where
        self.process = None
        self.ca = f"{BUILD}/dev-ca/ca-chain.pem"
        self.password_file = f"{where}/broker.password"
        subprocess.run([f"{ROOT}/scripts/device-certificate", "broker", where, f"{BUILD}/dev-ca", "--name", "IP:127.0.0.1"],
                       check=True)
        with open(self.password_file, "w", encoding="utf-8") as file:
            file.write(PASSWORD + "\n")
        with open(f"{where}/passwords", "w", encoding="utf-8") as file:
            file.writelines(f"{name}:{PASSWORD}\n" for name in [*users, "watcher"])
        subprocess.run(["mosquitto_passwd", "-U", f"{where}/passwords"], check=True)
        with open(f"{where}/access", "w", encoding="utf-8") as file:
            file.write(access_list)
        self.port = free_port() # late: nobody else shall have it before the broker does
        with open(f"{where}/mosquitto.conf", "w", encoding="utf-8") as file:
            file.write(f"""listener {self.port} 127.0.0.1
cafile {self.ca}
certfile {where}/broker.pem
keyfile {where}/broker.key
password_file {where}/passwords
acl_file {where}/access
allow_anonymous false
persistence false
max_queued_messages 100000
""")
        for name in ("passwords", "access", "mosquitto.conf", "broker.pem", "broker.key"):
            os.chmod(f"{where}/{name}", 0o644)
        os.chmod(where, 0o755)

    @property
    def url(self):
        return f"mqtts://127.0.0.1:{self.port}"

    def options(self, name):
        """Of a server."""
        return ["--mqtt", self.url, "--mqtt-ca", self.ca, "--mqtt-user", name, "--mqtt-password-file", self.password_file,
                "--server-name", name]

    def start(self):
        with open(f"{self.where}/broker.log", "ab") as log:
            self.process = subprocess.Popen([BROKER, "-c", f"{self.where}/mosquitto.conf"], stdout=log, stderr=log)
        end = time.monotonic() + WAIT
        while True:
            try:
                socket.create_connection(("127.0.0.1", self.port), timeout=WAIT).close()
                return self
            except OSError:
                assert time.monotonic() < end and self.process.poll() is None, "the broker does not start"
                time.sleep(0.02)

    def kill(self):
        self.process.kill()
        self.process.wait()

    def stop(self):
        if self.process and self.process.poll() is None:
            self.process.terminate()
            self.process.wait()

    def client(self, program, *arguments, user="watcher"):
        return [program, "-h", "127.0.0.1", "-p", str(self.port), "--cafile", self.ca, "-u", user, "-P", PASSWORD, "-V", "5",
                *arguments]

    def publish(self, topic, payload, user="watcher"):
        """What the broker says when it does not take it."""
        return subprocess.run(self.client("mosquitto_pub", "-q", "1", "-t", topic, "-m", payload, user=user), check=user == "watcher",
                              timeout=WAIT, capture_output=True, text=True).stderr


class Watcher:
    """What the broker tells a subscriber: (topic, payload as text, retained), and beside it the user properties of each.
    It stays subscribed until it is closed."""

    def __init__(self, broker, topic="#"):
        self.messages = []
        self.properties = []
        self.changed = threading.Condition()
        self.process = subprocess.Popen(broker.client("mosquitto_sub", "-q", "1", "-t", topic, "-t", "hello/watcher", "-F",
                                                      "%r %t [%P] %p"), stdout=subprocess.PIPE, text=True)
        threading.Thread(target=self._read, daemon=True).start()
        # It hears itself when it is subscribed.
        end = time.monotonic() + WAIT
        while not any(topic == "hello/watcher" for topic, _, _ in self.messages):
            assert time.monotonic() < end, "no subscription"
            broker.publish("hello/watcher", "{}")
            time.sleep(0.05)

    def _read(self):
        for line in self.process.stdout:
            retained, topic, rest = line.rstrip("\n").split(" ", 2)
            properties, payload = rest[1:].split("] ", 1)
            with self.changed:
                self.properties.append(dict(pair.split(":", 1) for pair in properties.split()))
                self.messages.append((topic, payload, retained == "1"))
                self.changed.notify_all()

    def of(self, end_of_topic):
        """Payloads as objects."""
        with self.changed:
            return [json.loads(payload) for topic, payload, _ in self.messages if topic.endswith(end_of_topic)]

    def first(self, topic):
        """Of a topic: (payload as an object, user properties)."""
        with self.changed:
            place = [known for known, _, _ in self.messages].index(topic)
            return json.loads(self.messages[place][1]), self.properties[place]

    def until(self, condition, wait=WAIT):
        """Waits until condition(self) is true; its result."""
        end = time.monotonic() + wait
        while True:
            with self.changed:
                count = len(self.messages)
            result = condition(self)
            if result:
                return result
            with self.changed:
                if len(self.messages) == count and not self.changed.wait(max(0, end - time.monotonic())):
                    raise AssertionError([message for message in self.messages if "hello" not in message[0]][-20:])

    def close(self):
        self.process.terminate()
        self.process.wait()
        self.process.stdout.close()
