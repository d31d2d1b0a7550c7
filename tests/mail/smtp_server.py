"""A real SMTP server: smtp_server.py ADDRESS PORT (starttls|implicit) AUTH-MECHANISM CERTIFICATE KEY.

Prints its port, then each mail it captured as a line of JSON, read by Python's own mail parser.
"""

import asyncio
import email
import email.policy
import json
import ssl
import sys

from aiosmtpd.smtp import SMTP, AuthResult

address, port, mode, mechanism, certificate, key = sys.argv[1:]


class Capture:
    async def handle_DATA(self, server, session, envelope):
        mail = email.message_from_bytes(envelope.content, policy=email.policy.default)
        login = session.auth_data
        print(json.dumps({
            "user": login.login.decode() if login else "",
            "sender": envelope.mail_from, "recipients": envelope.rcpt_tos,
            "encrypted": server.transport.get_extra_info("ssl_object") is not None,
            "from": str(mail["From"]), "to": str(mail["To"]), "subject": mail["Subject"],
            "dated": mail["Date"].datetime is not None, "type": mail.get_content_type(),
            "text": mail.get_body(("plain",)).get_content().replace("\r\n", "\n").strip(),
            "html": mail.get_body(("html",)).get_content().replace("\r\n", "\n").strip(),
            "defects": [str(d) for part in mail.walk() for d in part.defects],
        }), flush=True)
        return "250 kept"


def authenticate(server, session, envelope, mechanism, data):
    return AuthResult(success=data.password == "säcret word".encode(), auth_data=data)


async def main():
    context = ssl.create_default_context(ssl.Purpose.CLIENT_AUTH)
    context.load_cert_chain(certificate, key)
    options = {"hostname": "server.example", "auth_require_tls": mode == "starttls", "auth_required": True,
               "authenticator": authenticate,
               "auth_exclude_mechanism": {"PLAIN", "LOGIN"} - {mechanism},
               "tls_context": context if mode == "starttls" else None, "require_starttls": mode == "starttls"}
    server = await asyncio.get_running_loop().create_server(
        lambda: SMTP(Capture(), **options), address, int(port), ssl=context if mode == "implicit" else None)
    print(server.sockets[0].getsockname()[1], flush=True)
    await server.serve_forever()

asyncio.run(main())
