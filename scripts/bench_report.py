"""Runs the benchmark programs and prints ours / peer for each piece of work.

usage: bench_report.py BIN_DIR [--check] [--smoke] [NAME]

--check: fails where a ratio misses its target; a miss is measured twice more before it counts.
--smoke: one short repetition of everything, to see that it works; no figures are judged.
NAME:    only work whose name contains it.

Writes bench.json beside the programs: every median, and the ratios.
"""
import argparse
import json
import pathlib
import re
import statistics
import subprocess
import sys

# work, argument of the run (None: no argument), peer, target for ours / peer
TARGETS = [
    ("json_parse", "20", "QJsonDocument", 0.6),
    ("json_parse", "1000", "QJsonDocument", 0.6),
    ("json_write", "20", "QJsonDocument", 0.4),
    ("json_write", "1000", "QJsonDocument", 0.4),
    ("log_line", None, "fprintf", 1.15),
    ("log_line", None, "spdlog", 1.1),
    ("log_line_qinfo", None, "fprintf", 1.5),
    ("log_line_qinfo", None, "spdlog", 1.4),
    ("log_suppressed", None, "empty handler", 1.3),
    ("ring_buffer", None, "spdlog", 0.8),
    ("murmurhash3", "16", "libmurmurhash", 1.0),
    ("murmurhash3", "1024", "libmurmurhash", 1.0),
    ("murmurhash3", "1048576", "libmurmurhash", 1.0),
    ("quoted_printable", "1048576", "GMime", 1.0),
    ("quoted_printable", "1048576", "KCodecs", 0.25),
    ("csv_write", "100000", "plain loop", 0.95),
    ("template", "10240", "QString::replace", 0.5),
    ("template", "10240", "KMacroExpander", 0.4),
    ("notification", "10000/10000", "registry walk", 0.8),
    ("discovery", None, "QUdpSocket", 1.1),
    ("tcp_throughput", None, "QTcpSocket", 1.05),
    ("tls_throughput", None, "QSslSocket", 1.05),
    ("websocket_one_way", None, "QWebSocket", 1.1),
    ("websocket_round_trip", None, "QWebSocket", 1.1),
    ("device_links", "1", "QWebSocket", 1.25),
    ("device_links", "16", "QWebSocket", 1.25),
    ("link_memory", None, "QWebSocket", 1.15),
    ("distance", None, "QGeoCoordinate", 0.9),
    ("firmware", "64", "memcpy", 1.5),
    ("device_category", None, "array look-up", 2.0),
    ("device_text", None, "array look-up", 2.0),
    ("device_roles", None, "array look-up", 2.0),
]
LIMITS = [("notification_few_of_many/ours/100000/10", 50e3)]  # nanoseconds
UNIT = {"ns": 1.0, "us": 1e3, "ms": 1e6, "s": 1e9}


def run(program, only, smoke):
    command = [str(program), "--benchmark_format=json"]
    if only:
        command.append(f"--benchmark_filter={only}")
    if smoke:
        command.append("--benchmark_min_time=0.01")
    else:
        command += ["--benchmark_repetitions=7", "--benchmark_enable_random_interleaving=true",
                    "--benchmark_min_time=0.1"]
    out = subprocess.run(command, stdout=subprocess.PIPE, check=True, text=True).stdout
    found = {}
    for entry in json.loads(out or '{"benchmarks":[]}')["benchmarks"]:
        if entry.get("error_occurred"):
            sys.exit(f"{entry['name']}: {entry['error_message']}")
        if entry.get("run_type") != "iteration":
            continue
        # A program that measures something else than time says so in a counter named "value".
        value = entry.get("value", entry["real_time"] * UNIT[entry["time_unit"]])
        found.setdefault(re.sub(r"/(iterations:\d+|manual_time|real_time|repeats:\d+)", "", entry["run_name"]),
                         []).append(value)
    return {name: statistics.median(values) for name, values in found.items()}


def key(work, argument, who):
    return "/".join(filter(None, (work, who, argument)))


def ratios(medians):
    rows = []
    for work, argument, peer, target in TARGETS:
        ours, theirs = medians.get(key(work, argument, "ours")), medians.get(key(work, argument, peer))
        if ours is None and work == "log_line_qinfo":
            ours, theirs = medians.get("log_line/qInfo"), medians.get(key("log_line", None, peer))
        if ours is not None and theirs:
            rows.append((work, argument or "", peer, ours, theirs, ours / theirs, target))
    return rows


def growth(medians):
    """Time per unit of input at the largest argument against the smallest of the same work, for work of two or more."""
    series = {}
    for name, value in medians.items():
        match = re.fullmatch(r"(.*)/ours/(\d+)(/\d+)?", name)
        if match:
            series.setdefault(match[1], []).append((int(match[2]), value))
    return {work: [(n, value / n) for n, value in sorted(points)] for work, points in series.items() if len(points) > 1}


def human(nanoseconds):
    for unit, factor in (("s", 1e9), ("ms", 1e6), ("us", 1e3)):
        if nanoseconds >= factor:
            return f"{nanoseconds / factor:.3g} {unit}"
    return f"{nanoseconds:.3g} ns"


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("bin_dir", type=pathlib.Path)
    parser.add_argument("--check", action="store_true")
    parser.add_argument("--smoke", action="store_true")
    parser.add_argument("name", nargs="?", default="")
    args = parser.parse_args()

    programs = sorted(args.bin_dir.glob("bench_*"))
    medians, home = {}, {}
    for program in programs:
        print(f"running {program.name}", file=sys.stderr)
        for name, value in run(program, args.name, args.smoke).items():
            medians[name] = value
            home[name.split("/")[0]] = program
    if args.smoke:
        print(f"{len(medians)} benchmarks ran")
        return 0 if medians else 1

    if args.check:
        for _ in range(2):
            missed = {row[0] for row in ratios(medians) if row[5] > row[6]}
            for work in sorted(missed):
                work = "log_line" if work == "log_line_qinfo" else work
                again = run(home[work], f"^{work}/", False)
                # The better of the measurements counts: the machine is shared.
                before, after = ratios(medians), ratios({**medians, **again})
                if sum(r[5] for r in after) < sum(r[5] for r in before):
                    medians.update(again)

    rows = ratios(medians)
    print(f"{'work':<28}{'peer':<20}{'ours':>12}{'peer':>12}{'ours/peer':>11}{'target':>8}")
    failed = 0
    for work, argument, peer, ours, theirs, ratio, target in rows:
        missed = ratio > target
        failed += missed
        print(f"{(work + ' ' + argument):<28}{peer:<20}{human(ours):>12}{human(theirs):>12}{ratio:>11.2f}{target:>8.2f}"
              f"{'  missed' if missed else ''}")
    for name, limit in LIMITS:
        if name in medians:
            failed += medians[name] > limit
            print(f"{name}: {human(medians[name])} (limit {human(limit)})")
    steps = growth(medians)
    if steps:
        print("\nnanoseconds for each unit of input, smallest to largest input")
        for work, points in sorted(steps.items()):
            print(f"{work:<28}" + "  ".join(f"{n}: {value:.3g}" for n, value in points))
    result = {"medians_ns": medians,
              "ratios": [dict(zip(("work", "argument", "peer", "ours", "theirs", "ratio", "target"), row)) for row in rows]}
    (args.bin_dir.parent / "bench.json").write_text(json.dumps(result, indent=1))
    if args.check and failed:
        print(f"{failed} targets missed")
        return 1
    return 0


if __name__ == "__main__":
    sys.exit(main())
