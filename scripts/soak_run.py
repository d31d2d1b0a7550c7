"""soak_run.py [MINUTES] [--devices N] [--seed N] [--only links|doors|servers]: called by ./run soak.

First links (soak_links.py), then cards at doors (soak_doors.py), half of the time each; or one of them, or several
servers (soak_servers.py) alone. Exit code 1 on a finding.
"""

import argparse
import os
import shutil
import sys
import tempfile

from soak_common import FOLDER
from soak_doors import DoorSoak
from soak_links import LinkSoak
from soak_servers import ServerSoak

LINK_MINUTES = 1.5             # until then that part has nothing to compare its measures with
MOST_OF_LINKS = 0.75           # of a short run


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("minutes", type=float, nargs="?", default=2)
    parser.add_argument("--devices", type=int, default=200, help="that come and go")
    parser.add_argument("--seed", type=int, default=1)
    parser.add_argument("--only", choices=("links", "doors", "servers"))
    arguments = parser.parse_args()
    os.makedirs(FOLDER, exist_ok=True)
    # The system allows about a hundred bytes for the path of a local socket.
    sockets = tempfile.mkdtemp(prefix="kyr-soak-")
    links = min(max(arguments.minutes / 2, LINK_MINUTES), arguments.minutes * MOST_OF_LINKS)
    parts = {"links": (LinkSoak(arguments.seed, arguments.devices, sockets), links),
             "doors": (DoorSoak(arguments.seed, sockets), arguments.minutes - links)}
    if arguments.only == "servers":
        parts = {"servers": (ServerSoak(arguments.seed, sockets), arguments.minutes)}
    elif arguments.only:
        parts = {arguments.only: (parts[arguments.only][0], arguments.minutes)}
    findings = []
    try:
        for soak, minutes in parts.values():
            soak.run(minutes)
            findings += soak.findings
            print(flush=True)
    finally:
        if arguments.only == "servers" and findings:
            print(f"what was logged stays in {sockets}")
        else:
            shutil.rmtree(sockets, ignore_errors=True)
    print("no findings" if not findings else f"{len(findings)} findings")
    return 1 if findings else 0


if __name__ == "__main__":
    sys.exit(main())
