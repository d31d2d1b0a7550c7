"""Decodes what the library encoded: one "body HEX" or "subject HEX" a line in, the text's UTF-8 as HEX out."""

import email
import email.header
import email.policy
import quopri
import sys

for line in sys.stdin:
    kind, _, digits = line.strip().partition(" ")
    data = bytes.fromhex(digits)
    if kind == "body":
        head = b"Content-Type: text/plain; charset=utf-8\r\nContent-Transfer-Encoding: quoted-printable\r\n\r\n"
        decoded = quopri.decodestring(data)
        if email.message_from_bytes(head + data).get_payload(decode=True) != decoded:
            decoded = b"quopri and email differ"
        decoded = decoded.replace(b"\r\n", b"\n")
    else:
        message = email.message_from_bytes(b"Subject: " + data + b"\r\n\r\n", policy=email.policy.default)
        decoded = message["Subject"].encode("utf-8", "backslashreplace")
        old = str(email.header.make_header(email.header.decode_header(
            email.message_from_bytes(b"Subject: " + data + b"\r\n\r\n")["Subject"].replace("\r\n", ""))))
        if old.encode() != decoded or message["Subject"].defects:
            decoded = b"readers differ: " + old.encode() + b" " + str(message["Subject"].defects).encode()
    print(decoded.hex())
