# SPDX-License-Identifier: GPL-3.0-or-later
"""The SMTP client against real mail servers: what it tells, and what they deliver."""

import base64
import re
import subprocess
from collections import Counter
from dataclasses import dataclass, field
from email.utils import parsedate_to_datetime
from pathlib import Path

import pytest

from harness.mail_certificates import Authority
from harness.mail_exim import Exim
from harness.mail_postfix import Postfix
from harness.mail_server import (CLEAR, GREYLISTED, IMPLICIT, MOST_OCTETS, NOBODY, PASSWORD,
                                 REFUSED, STARTTLS, USER)
from harness.network import Network
from harness.waiting import until

SENDER, RECIPIENT = "sender@example.org", "you@example.org"
TEXT = b"One line.\n"

REACHED = ["connectionEstablished", "serviceInitialized"]
SECURED = [*REACHED, "serviceInitialized"]
LOGGED_IN = [*SECURED, "authenticationCompleted"]
ENDED = ["connectionTerminated"]

BY_PLAIN = Counter(EHLO=2, STARTTLS=1, AUTH=1, QUIT=1)


@pytest.fixture(scope="module", params=[Exim, Postfix], ids=["Exim", "Postfix"])
def server(request, tmp_path_factory):
    network = Network(tmp_path_factory.mktemp("world") / "network")
    authority = Authority(tmp_path_factory.mktemp("authority"))
    started = request.param(network, authority)
    yield started
    started.close()
    network.close()


@pytest.fixture(autouse=True)
def no_mail_left(server):
    yield
    assert server.box.count() == 0


@pytest.fixture
def send(request, server, tmp_path):
    """send(**order): runs the client, whose environment is the usual one changed by order.

    @returns whether it sent the mail, and the lines that it printed.
    """
    client = Path(request.config.getoption("--program")).with_name("smtp_send")

    def run(content=TEXT, **order):
        text = tmp_path / "text"
        text.write_bytes(content)
        order = {"SMTP_HOST": "localhost", "SMTP_PORT": str(STARTTLS), "SMTP_TLS": "starttls",
                 "SMTP_AUTH": "PLAIN", "SMTP_USER": USER, "SMTP_PASS": PASSWORD,
                 "SMTP_CA": str(server.authority), "SMTP_FROM": SENDER, "SMTP_TO": RECIPIENT,
                 "SMTP_SUBJECT": "Quillfen Notification", "SMTP_BODY_FILE": str(text),
                 "SMTP_TIMEOUT": "20", "LANG": "C.UTF-8", **order}
        result = subprocess.run([*server.network.enter(), client], env=order, check=False,
                                capture_output=True, text=True, timeout=120)
        for secret in (PASSWORD, *in_base64(USER, PASSWORD)):
            assert secret not in result.stdout + result.stderr
        return result.returncode == 0, result.stdout.splitlines()
    return run


def in_base64(user, password):
    """What stands on the wire in a login by LOGIN and by PLAIN."""
    return [base64.b64encode(text.encode()).decode()
            for text in (password, f"\0{user}\0{password}")]


def assert_printed(lines, patterns):
    assert len(lines) == len(patterns) and all(map(re.fullmatch, patterns, lines)), (
        "printed:\n" + "\n".join(lines) + "\nexpected:\n" + "\n".join(patterns))


@dataclass
class Delivered:
    """A mail that arrives."""
    name: str
    order: dict = field(default_factory=dict)
    printed: list = field(default_factory=list)  # what comes before the server's last reply


@pytest.mark.parametrize("row", [
    Delivered("STARTTLS, PLAIN", printed=LOGGED_IN),
    Delivered("STARTTLS, LOGIN", {"SMTP_AUTH": "LOGIN"}, LOGGED_IN),
    Delivered("TLS from the start, PLAIN",
              {"SMTP_PORT": str(IMPLICIT), "SMTP_TLS": "implicit"},
              [*REACHED, "authenticationCompleted"]),
    Delivered("TLS from the start, LOGIN",
              {"SMTP_PORT": str(IMPLICIT), "SMTP_TLS": "implicit", "SMTP_AUTH": "LOGIN"},
              [*REACHED, "authenticationCompleted"]),
    Delivered("no TLS, no login",
              {"SMTP_PORT": str(CLEAR), "SMTP_TLS": "none", "SMTP_AUTH": "-"}, REACHED),
    Delivered("no TLS, PLAIN", {"SMTP_PORT": str(CLEAR), "SMTP_TLS": "none"},
              [*REACHED, "authenticationCompleted"]),
    Delivered("no TLS, LOGIN",
              {"SMTP_PORT": str(CLEAR), "SMTP_TLS": "none", "SMTP_AUTH": "LOGIN"},
              [*REACHED, "authenticationCompleted"]),
    Delivered("a server by its IPv4 address", {"SMTP_HOST": "127.0.0.1"}, LOGGED_IN),
    Delivered("a server by its IPv6 address", {"SMTP_HOST": "::1"}, LOGGED_IN),
], ids=lambda row: row.name)
def test_a_mail_arrives(server, send, row):
    sent, printed = send(**row.order)
    assert_printed(printed, [*row.printed, f"messageSent {server.QUEUED}", *ENDED])
    assert sent
    mail, = server.box.take()
    assert mail.body == TEXT
    assert mail.field(server.ENVELOPE) == RECIPIENT


@dataclass
class Refused:
    """A mail that is not sent."""
    name: str
    order: dict
    printed: list
    text: bytes = TEXT
    commands: Counter = None  # all of the session, where it never came to a mail


@pytest.mark.parametrize("row", [
    Refused("a wrong password", {"SMTP_PASS": "wrong"},
            [*SECURED, "authenticationFailed 535 .*", *ENDED], commands=BY_PLAIN),
    Refused("a user that the server does not know", {"SMTP_USER": "somebody"},
            [*SECURED, "authenticationFailed 535 .*", *ENDED], commands=BY_PLAIN),
    Refused("no login where the server wants one", {"SMTP_AUTH": "-"},
            [*SECURED, r"messageNotSent 55[04] 5\.7\..*", *ENDED]),
    Refused("greylisting", {"SMTP_TO": GREYLISTED},
            [*LOGGED_IN, r"messageNotSent 45[01] 4\.7\.1 .*Greylisted, come again", *ENDED]),
    Refused("a recipient that the server does not know", {"SMTP_TO": NOBODY},
            [*LOGGED_IN, r"messageNotSent 550 5\.1\.1 .*", *ENDED]),
    Refused("one of two recipients that the server does not know",
            {"SMTP_TO": f"{RECIPIENT}\x1e{NOBODY}"},
            [*LOGGED_IN, r"messageNotSent 550 5\.1\.1 .*", *ENDED]),
    Refused("a mail that is too large", {},
            [*LOGGED_IN, f"messageNotSent .* no message of more than {MOST_OCTETS} octets.",
             *ENDED],
            text=b"\n" * MOST_OCTETS, commands=BY_PLAIN),
    Refused("a text that the server does not like", {},
            [*LOGGED_IN, r"messageNotSent 550 5\.7\.1 We do not take this text", *ENDED],
            text=f"{REFUSED}\n".encode()),
    Refused("no STARTTLS where we want it", {"SMTP_PORT": str(CLEAR)},
            [*REACHED, "messageNotSent .* offers no STARTTLS; nothing was sent.", *ENDED],
            commands=Counter(EHLO=1, QUIT=1)),
    Refused("no login in clear where the server has none", {"SMTP_TLS": "none"},
            [*REACHED, "authenticationFailed .* does not offer to log in by PLAIN.", *ENDED],
            commands=Counter(EHLO=1, QUIT=1)),
    Refused("a mechanism that the server does not have", {"SMTP_AUTH": "CRAM-MD5"},
            [*SECURED, "authenticationFailed .* does not offer to log in by CRAM-MD5.", *ENDED],
            commands=Counter(EHLO=2, STARTTLS=1, QUIT=1)),
    Refused("a certificate of an unknown authority", {"SMTP_CA": ""},
            [*REACHED, "connectionLost .* cannot be trusted: .*"],
            commands=Counter(EHLO=1, STARTTLS=1)),
    Refused("a certificate of an unknown authority, TLS from the start",
            {"SMTP_CA": "", "SMTP_PORT": str(IMPLICIT), "SMTP_TLS": "implicit"},
            ["connectionEstablished", "connectionLost .* cannot be trusted: .*"]),
], ids=lambda row: row.name)
def test_a_mail_is_not_sent(server, send, row):
    before = len(server.sessions())
    sent, printed = send(row.text, **row.order)
    assert_printed(printed, row.printed)
    assert not sent
    if row.commands is not None:
        until(lambda: len(server.sessions()) > before, "the session in the server's log")
        assert server.sessions()[before:] == [row.commands]


@pytest.mark.parametrize("text, delivered", [
    (b".\n..\n.a\n...b\n\n.\n", b".\n..\n.a\n...b\n\n.\n"),
    ("Grüße, 世界, \U0001f600\n".encode(), "Grüße, 世界, \U0001f600\n".encode()),
    (b"\n\ntext\n\n\n", b"\n\ntext\n\n\n"),
    (b"From here\n>From there\n", b"From here\n>From there\n"),
    (b"no line end", b"no line end\n"),
    (b"one\r\ntwo\rthree\n", b"one\ntwo\nthree\n"),
    (b" x" * 1250, b" x" * 499 + b"\n" + b" x" * 499 + b"\n" + b" x" * 252 + b"\n"),
    ("é".encode() * 600, "é".encode() * 499 + b"\n" + "é".encode() * 101 + b"\n"),
    (b"x" * (MOST_OCTETS // 2) + b"\n" + b"." * 100 + b"\n", None),
], ids=["lines of dots", "UTF-8", "empty lines around it", "lines that begin with From",
        "no line end", "all kinds of line ends", "a long line", "a long line of UTF-8",
        "a long text"])
def test_a_text_arrives_as_it_was(server, send, text, delivered):
    assert send(text)[0]
    mail, = server.box.take()
    if delivered is None:
        assert mail.body.replace(b"\n", b"") == text.replace(b"\n", b"")
    else:
        assert mail.body == delivered


@pytest.mark.parametrize("recipients, addresses, shown", [
    (["a@example.org"], ["a@example.org"], "a@example.org"),
    ([" a@example.org"], ["a@example.org"], "a@example.org"),
    (["Anna <a@example.org>"], ["a@example.org"], '"Anna" <a@example.org>'),
    (["a@bücher.example"], ["a@xn--bcher-kva.example"], "a@xn--bcher-kva.example"),
    (["a@example.org", "b@example.org"], ["a@example.org", "b@example.org"],
     "a@example.org, b@example.org"),
], ids=["an address", "an address behind a blank", "an address with a name",
        "an international domain", "two recipients"])
def test_a_mail_reaches(server, send, recipients, addresses, shown):
    assert send(SMTP_TO="\x1e".join(recipients))[0]
    mails = server.box.take(len(addresses))
    assert sorted(mail.field(server.ENVELOPE) for mail in mails) == addresses
    assert {mail.field("To") for mail in mails} == {shown}


def test_every_header_field_is_there_once(server, send):
    assert send()[0]
    mail, = server.box.take()
    assert mail.field("From") == SENDER
    assert mail.field("To") == RECIPIENT
    assert mail.field("Subject") == "Quillfen Notification"
    assert mail.field("MIME-Version") == "1.0"
    assert mail.field("Content-Type") == 'text/plain; charset="us-ascii"'
    assert mail.field("Return-Path") == f"<{SENDER}>"
    assert re.fullmatch(r"<\S+@example\.org>", mail.field("Message-ID"))
    date = mail.field("Date")
    assert re.search(r" [+-]\d{4}$", date)
    assert parsedate_to_datetime(date).tzinfo
    assert "content-transfer-encoding" not in [name.lower() for name in mail.names()]


def test_two_mails_differ_in_their_message_id(server, send):
    assert send()[0] and send()[0]
    first, second = server.box.take(2)
    assert first.field("Message-ID") != second.field("Message-ID")
