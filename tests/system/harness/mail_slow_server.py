#!/usr/bin/python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""A mail server on 127.0.0.1 that takes its time.

    mail_slow_server.py PORT SECONDS CERTIFICATE KEY FOLDER

Each of its replies comes after so many seconds. It lets everybody log in, once there is TLS, and
takes every mail: as a file of FOLDER, named after the recipient. It says "ready".
"""

import asyncio
import ssl
import sys
from pathlib import Path

PLAIN_LIST = b"250-slow.example\r\n250 STARTTLS\r\n"
SECURE_LIST = b"250-slow.example\r\n250-8BITMIME\r\n250 AUTH PLAIN LOGIN\r\n"
REPLIES = {b"MAIL": b"250 go on\r\n", b"RCPT": b"250 known\r\n", b"DATA": b"354 go on\r\n",
           b"AUTH": b"235 welcome\r\n", b"STARTTLS": b"220 go on\r\n", b"QUIT": b"221 bye\r\n"}


class Session:
    """One client's session."""

    def __init__(self, reader, writer):
        self._reader = reader
        self._writer = writer
        self._secure = False
        self._recipient = None

    async def run(self):
        await self._say(b"220 slow.example\r\n")
        while line := await self._reader.readline():
            verb = line.split()[0].upper()
            if verb == b"EHLO":
                await self._say(SECURE_LIST if self._secure else PLAIN_LIST)
                continue
            await self._say(REPLIES.get(verb, b"500 what\r\n"))
            if verb == b"STARTTLS":
                await self._writer.start_tls(context)
                self._secure = True
            elif verb == b"RCPT":
                self._recipient = line[line.index(b"<") + 1:line.index(b">")].decode()
            elif verb == b"DATA":
                await self._take_mail()
            elif verb == b"QUIT":
                return

    async def _take_mail(self):
        lines = []
        while (line := await self._reader.readline()) != b".\r\n":
            if not line:  # it broke off
                return
            lines.append(line.removeprefix(b"."))
        (folder / self._recipient).write_bytes(b"".join(lines))
        await self._say(b"250 taken\r\n")

    async def _say(self, reply):
        await asyncio.sleep(pause)
        self._writer.write(reply)
        await self._writer.drain()


async def serve(reader, writer):
    try:
        await Session(reader, writer).run()
    except ConnectionError:
        pass  # the client's right
    finally:
        writer.close()


async def main():
    server = await asyncio.start_server(serve, "127.0.0.1", port)
    print("ready", flush=True)
    await server.serve_forever()


port, pause, folder = int(sys.argv[1]), float(sys.argv[2]), Path(sys.argv[5])
context = ssl.create_default_context(ssl.Purpose.CLIENT_AUTH)
context.load_cert_chain(sys.argv[3], sys.argv[4])
asyncio.run(main())
