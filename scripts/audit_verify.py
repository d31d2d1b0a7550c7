#!/usr/bin/env python3
"""Checks an exported audit trail without the system's own code.

    kyr_console audit key > key.pem; kyr_console audit export --jsonl trail.jsonl
    audit_verify.py trail.jsonl [trail.jsonl.heads [key.pem]]

The heads may also be one that was kept elsewhere: only such a one shows that the end was cut off or all was rewritten.
With a key the signatures of the heads are checked by the openssl tool. Ends with 0 when everything fits, else with 1
and a line for each fault.
"""
import hashlib
import json
import struct
import subprocess
import sys
import tempfile

faults = []
previous, ends, hashes = {}, {}, {}
heads = [json.loads(line) for line in open(sys.argv[2])] if len(sys.argv) > 2 else []


def check(fits, chain, seq, what):
    if not fits:
        faults.append(f"chain {chain} seq {seq}: {what}")


def signed(head):
    data = struct.pack(">qqq", head["chain"], head["seq"], head["at"]) + bytes.fromhex(head["hash"])
    with tempfile.NamedTemporaryFile() as text, tempfile.NamedTemporaryFile() as signature:
        text.write(data), text.flush()
        signature.write(bytes.fromhex(head["signature"])), signature.flush()
        return subprocess.run(["openssl", "pkeyutl", "-verify", "-pubin", "-inkey", sys.argv[3], "-rawin", "-in",
                               text.name, "-sigfile", signature.name], capture_output=True).returncode == 0


kept = {(head["chain"], head["seq"]): bytes.fromhex(head["hash"]) for head in heads}
for line in open(sys.argv[1], encoding="utf-8"):
    event = json.loads(line)
    chain, seq = event["chain"], event["seq"]
    if chain not in ends:  # what retention removed is vouched for by the head at its cut
        check(seq == 1 or (chain, seq - 1) in kept, chain, seq, "the beginning is missing")
        ends[chain], previous[chain] = seq - 1, kept.get((chain, seq - 1), bytes(32))
    check(seq == ends[chain] + 1, chain, seq, f"follows {ends[chain]}")
    payload_hash = bytes.fromhex(event["payloadHash"])
    if event["payload"] is not None:
        check(hashlib.sha256(event["payload"].encode()).digest() == payload_hash, chain, seq, "the payload was changed")
    numbers = struct.pack(">qqqqI", chain, seq, event["at"], event["recorded"], event["kind"])
    computed = hashlib.sha256(previous[chain] + numbers + payload_hash).digest()
    check(computed.hex() == event["hash"], chain, seq, "the hash is wrong")
    previous[chain], ends[chain] = bytes.fromhex(event["hash"]), seq
    if (chain, seq) in kept:
        check(kept[chain, seq] == previous[chain], chain, seq, "differs from a head")
for head in heads:
    check(head["seq"] <= ends.get(head["chain"], 0), head["chain"], head["seq"], "is behind the end: the tail is missing")
    check(len(sys.argv) < 4 or signed(head), head["chain"], head["seq"], "the head's signature is wrong")
print("\n".join(faults) or f"intact (chains: {len(ends)}, heads: {len(heads)})")
sys.exit(bool(faults))
