# SPDX-License-Identifier: GPL-3.0-or-later
"""A certification authority that only those trust who are told to, for servers on this machine."""

import subprocess

# Whom its certificates name: this machine, by name and by address.
NAMES = "subjectAltName=DNS:localhost,IP:127.0.0.1,IP:::1"


class Authority:
    """An authority and one server's certificate that it has signed, as PEM files in a folder."""

    def __init__(self, folder):
        self.authority = folder / "authority.pem"
        self.certificate = folder / "server.pem"
        self.key = folder / "server.key"  # with an empty pass phrase
        authority_key = folder / "authority.key"
        self._make(authority_key, self.authority, "/CN=An authority for tests", "-addext",
                   "keyUsage=critical,keyCertSign")
        self._make(self.key, self.certificate, "/CN=A mail server for tests", "-addext", NAMES,
                   "-addext", "extendedKeyUsage=serverAuth", "-addext",
                   "basicConstraints=critical,CA:FALSE", "-CA", self.authority, "-CAkey",
                   authority_key)

    @staticmethod
    def _make(key, certificate, subject, *more):
        subprocess.run(["openssl", "req", "-x509", "-newkey", "rsa:2048", "-noenc", "-days", "2",
                        "-keyout", key, "-out", certificate, "-subj", subject, *more],
                       check=True, stderr=subprocess.DEVNULL)
