# SPDX-License-Identifier: GPL-3.0-or-later
"""Mails about changes: from the kernel to the mailbox, and what the log tells of their way."""

from collections import Counter
from dataclasses import dataclass, field
from pathlib import Path

import pytest

from harness import mail_transcript
from harness.lookup_service import LookupService, answer, page
from harness.machine import machine_name
from harness.mail_certificates import Authority
from harness.mail_exim import Exim
from harness.mail_server import CLEAR, GREYLISTED, IMPLICIT, NOBODY, PASSWORD, STARTTLS, USER
from harness.mail_transcript import (CONNECTED, ENDED, LOGGED_IN, LOGIN_REFUSED, LOST, SECURE, SENT,
                                     TLS_FROM_THE_START, UPGRADING, USUAL_STAGES)
from harness.process import Process
from harness.reader import Reader, duration
from harness.transcript import Transcript, without_dates
from harness.waiting import stays, until

BEFORE, AFTER = "192.0.2.7", "198.51.100.4"
STARTED = f"The current (first) internal IP address is:{BEFORE}"
SLOW_SERVER = Path(mail_transcript.__file__).with_name("mail_slow_server.py")
MANY = 200
ALLOWED_GROWTH = 1536  # KiB that may stay after MANY mails, whose notifiers do; else it is more


@pytest.fixture
def say(version):
    return Transcript(version)


@pytest.fixture(autouse=True)
def settings(home, network):
    """Two networks, of which the first is there, and all that a mail needs but its recipient."""
    network.cable("lan", f"{BEFORE}/24")
    network.cable("wlan", f"{AFTER}/24")
    network.ip("route add default dev lan")
    home.set({"Initial Refresh": 86400, "LastIPAddress": BEFORE,
              "ExternalAddressService": "http://127.0.0.1:1/", "SendEmailNotifications": True,
              "MailServer": "localhost", "Port": str(STARTTLS), "Authentication": 1,
              "Username": USER, "UserPassword": PASSWORD})


@pytest.fixture
def authority(tmp_path):
    return Authority(tmp_path)


@pytest.fixture
def server(network, authority):
    started = Exim(network, authority)
    yield started
    started.close()


@pytest.fixture
def trusting(start, authority):
    """Starts the program where the authority of the mail server's certificate is trusted."""
    return lambda *surroundings: start(*surroundings,
                                       more={"SSL_CERT_FILE": str(authority.authority)})


@pytest.fixture
def slow_server(network, tmp_path, authority):
    """slow_server(pause): a mail server with so many seconds before each reply; its mails."""
    processes = []

    def started(pause):
        mails = tmp_path / "mails"
        mails.mkdir()
        process = Process([*network.enter(), "/usr/bin/python3", SLOW_SERVER, str(STARTTLS),
                           str(pause), authority.certificate, authority.key, mails],
                          {"PATH": "/usr/bin:/bin"}, tmp_path / "slow-server.txt")
        processes.append(process)
        until(lambda: "ready" in process.text(), lambda: f"a mail server: {process.text()}")
        return mails
    yield started
    for process in processes:
        process.kill()


@pytest.fixture
def lookup_service(network, home):
    """What tells the external address; nobody is kept waiting by it."""
    service = LookupService(network)
    service.release()
    home.set({"ExternalAddressService": service.url})
    yield service
    service.close()


def change_address(network):
    network.ip("link set lan down")


def change_back(network):
    network.ip("link set lan up", "route add default dev lan")


def opening(say, external="-.-.-.-"):
    """From the start marker on, with BEFORE and AFTER there and no change of theirs."""
    return say.opening(BEFORE, AFTER, last=BEFORE, external=external)


def change(say, recipients, server="localhost"):
    """A refresh that finds AFTER alone, and sends a mail about it to each of recipients."""
    *lines, refreshed = say.refresh(AFTER, last=BEFORE)
    return [*lines, *mail_transcript.orders(recipients, local_text(), server), refreshed]


def local_text(before=BEFORE, after=AFTER):
    return mail_transcript.LOCAL_CHANGE.format(machine=machine_name(), before=before, after=after)


def wait_for(log, expected):
    """The last run's lines become exactly expected."""
    until(lambda: len(log.last_run()) >= len(expected),
          lambda: "the whole log; so far:\n" + "\n".join(log.last_run()), within=20)
    assert log.last_run() == expected


def assert_delivered(box, recipients, text):
    mails = box.take(len(recipients))
    assert sorted(mail.field("To") for mail in mails) == recipients
    for mail in mails:
        assert mail.field("From") == mail.field("To")
        assert mail.field("Subject") == "Quillfen Notification"
        assert mail.body.decode() == f"{text}\n"


def test_a_local_change_reaches_both_recipients(home, network, server, trusting, say):
    home.set({"Email": "a@example.org, b@example.org"})
    program = trusting()
    wait_for(home.log, opening(say))
    change_address(network)
    assert_delivered(server.box, ["a@example.org", "b@example.org"], local_text())
    lines = [*opening(say), *change(say, ["a@example.org", " b@example.org"])]
    home.log.wait_for_line(ENDED, count=2)
    # The two are under way at the same time: which of them says what is not told.
    assert home.log.last_run()[:len(lines)] == lines
    assert Counter(home.log.last_run()[len(lines):]) == Counter(2 * USUAL_STAGES)
    assert program.stop() == 0
    assert home.log.last_run()[-1] == "stop"
    assert PASSWORD not in program.console()


def test_an_external_change_reaches_both_recipients(home, server, trusting, say, lookup_service):
    lookup_service.answers(answer(page("203.0.113.9")))
    home.set({"Email": "a@example.org, b@example.org", "LastExternalIPAddress": "203.0.113.1",
              "EmailChangesToExternalIPAddress": True})
    text = mail_transcript.EXTERNAL_CHANGE.format(machine=machine_name(), before="203.0.113.1",
                                                  after="203.0.113.9")
    trusting()
    assert_delivered(server.box, ["a@example.org", "b@example.org"], text)
    home.log.wait_for_line(ENDED, count=2)
    *poll, next_check = say.poll("203.0.113.9", "203.0.113.1")
    orders = mail_transcript.orders(["a@example.org", " b@example.org"], text, "localhost")
    poll += [*orders, next_check]
    lines = without_dates(home.log.last_run())
    first = lines.index(poll[0])
    assert lines[first:first + len(poll)] == poll
    stages = Counter(2 * USUAL_STAGES)
    assert Counter(line for line in lines if line in stages) == stages
    until(lambda: home.settings()["LastExternalIPAddress"] == "203.0.113.9", "the address stored")


def test_the_first_address_ever_is_told_without_a_former_one(home, server, trusting):
    home.set({"Email": "a@example.org", "LastIPAddress": None})
    trusting()
    text = mail_transcript.FIRST_ADDRESS.format(machine=machine_name(), after=BEFORE)
    assert_delivered(server.box, ["a@example.org"], text)
    home.log.wait_for_line(ENDED)
    lines = home.log.last_run()
    orders = mail_transcript.orders(["a@example.org"], text, "localhost", said=False)
    first = lines.index(orders[0])
    assert lines[first:first + len(orders)] == orders
    assert text not in lines


def test_empty_recipients_are_passed_over_in_silence(home, network, server, trusting, say):
    home.set({"Email": ",a@example.org,"})
    trusting()
    wait_for(home.log, opening(say))
    change_address(network)
    wait_for(home.log, [*opening(say), *change(say, ["a@example.org"]), *USUAL_STAGES])
    assert_delivered(server.box, ["a@example.org"], local_text())


@pytest.mark.parametrize("changed, tried", [
    ({"SendEmailNotifications": False}, False), ({"MailServer": ""}, True), ({"Email": ""}, True),
    ({"Email": None}, True), ({"Email": ["a@example.org"]}, True),
], ids=["switched off", "no server", "no recipient", "recipients that are nothing",
        "recipients that are no text"])
def test_no_mail_is_composed(home, network, server, trusting, say, changed, tried):
    home.set({"Email": "a@example.org", **changed})
    program = trusting()
    wait_for(home.log, opening(say))
    change_address(network)
    *lines, refreshed = say.refresh(AFTER, last=BEFORE)
    lines = [*opening(say), *lines, *(["Sending email alerts"] if tried else []), refreshed]
    wait_for(home.log, lines)
    assert program.stop() == 0
    assert home.log.last_run() == [*lines, "stop"]
    assert server.box.count() == 0


def test_recipients_that_are_no_text_are_complained_of(home, network, trusting, say):
    home.set({"Email": 7})
    program = trusting()
    wait_for(home.log, opening(say))
    assert "Email" not in program.console()
    change_address(network)
    until(lambda: "Email" in program.console(), "a complaint about the setting on the console")


@dataclass
class Stages:
    """What the log tells of one session."""
    name: str
    settings: dict
    logged: list = field(default_factory=list)
    delivered: bool = False
    recipient: str = "a@example.org"


@pytest.mark.parametrize("row", [
    Stages("STARTTLS, PLAIN", {}, USUAL_STAGES, delivered=True),
    Stages("STARTTLS, LOGIN", {"Authentication": 2}, USUAL_STAGES, delivered=True),
    Stages("TLS from the start", {"Port": str(IMPLICIT)},
           [CONNECTED, TLS_FROM_THE_START, SECURE, LOGGED_IN, SENT, ENDED], delivered=True),
    Stages("no TLS, no login", {"useSSL": False, "Port": str(CLEAR), "Authentication": 0},
           [CONNECTED, SENT, ENDED], delivered=True),
    Stages("no TLS, PLAIN", {"useSSL": False, "Port": str(CLEAR)},
           [CONNECTED, LOGGED_IN, SENT, ENDED], delivered=True),
    Stages("a wrong password", {"UserPassword": "wrong"},
           [CONNECTED, UPGRADING, SECURE, LOGIN_REFUSED, ENDED]),
    Stages("no login where the server wants one", {"Authentication": 0},
           [CONNECTED, UPGRADING, SECURE, "Message not sent: 550 5.7.0 Log in first", ENDED]),
    Stages("greylisting", {},
           [CONNECTED, UPGRADING, SECURE, LOGGED_IN,
            "Message not sent: 451 4.7.1 Greylisted, come again", ENDED], recipient=GREYLISTED),
    Stages("a recipient that the server does not know", {},
           [CONNECTED, UPGRADING, SECURE, LOGGED_IN,
            "Message not sent: 550 5.1.1 Nobody here has that name", ENDED], recipient=NOBODY),
    Stages("nobody listens", {"Port": "1"}, [LOST, ENDED]),
], ids=lambda row: row.name)
def test_the_log_follows_a_session(home, network, server, trusting, say, row):
    home.set({"Email": row.recipient, **row.settings})
    program = trusting()
    wait_for(home.log, opening(say))
    change_address(network)
    wait_for(home.log, [*opening(say), *change(say, [row.recipient]), *row.logged])
    assert program.stop() == 0
    if row.delivered:
        assert_delivered(server.box, [row.recipient], local_text())
    assert server.box.count() == 0


def test_a_server_without_tls_gets_no_mail(home, network, server, trusting, say):
    home.set({"Email": "a@example.org", "Port": str(CLEAR)})
    program = trusting()
    wait_for(home.log, opening(say))
    change_address(network)
    home.log.wait_for_line(ENDED)
    *lines, refused, ended = home.log.last_run()
    assert lines == [*opening(say), *change(say, ["a@example.org"]), CONNECTED, UPGRADING]
    assert refused.startswith("Message not sent: 250-")  # the last that the server has said
    assert ended == ENDED
    assert "offers no STARTTLS" in program.console()
    until(server.sessions, "the session in the server's log")
    assert server.sessions()[-1] == Counter(EHLO=1, QUIT=1)
    assert server.box.count() == 0


def test_a_server_that_is_not_trusted_gets_no_mail(home, network, server, start, say):
    home.set({"Email": "a@example.org"})
    program = start()  # nobody has told it of the authority
    wait_for(home.log, opening(say))
    change_address(network)
    wait_for(home.log, [*opening(say), *change(say, ["a@example.org"]), CONNECTED, UPGRADING, LOST,
                        ENDED])
    assert "cannot be trusted" in program.console()
    until(lambda: server.sessions()[-1:] == [Counter(EHLO=1, STARTTLS=1)],
          lambda: f"the session in the server's log; there are {server.sessions()}")
    assert server.box.count() == 0


@pytest.mark.parametrize("missing", ["Authentication", "Username", "UserPassword"])
def test_a_session_stalls_without(missing, home, network, server, trusting, say):
    home.set({"Email": "a@example.org", missing: None})
    program = trusting()
    wait_for(home.log, opening(say))
    change_address(network)
    lines = [*opening(say), *change(say, ["a@example.org"]), CONNECTED, UPGRADING, SECURE]
    wait_for(home.log, lines)
    stays(lambda: home.log.last_run() == lines, "a session without an order", during=0.5)
    assert program.stop() == 0
    assert home.log.last_run() == [*lines, "stop"]


def test_200_recipients_at_once(home, network, bus, status_area, trusting, slow_server):
    mails = slow_server(0.02)
    home.set({"Email": "first@example.org"})
    program = trusting(bus)
    home.log.wait_for_line(STARTED)
    change_address(network)
    home.log.wait_for_line(ENDED, deadline=30)  # what TLS needs once is there from here on
    status_area.wait_for_title(AFTER)
    before = program.private_dirty()

    recipients = [f"recipient-{number}@example.org" for number in range(MANY)]
    home.set({"Email": ",".join(recipients)})
    reader = Reader(status_area, program)
    change_back(network)
    home.log.wait_for_line(SENT, deadline=30, count=2)
    during = program.private_dirty()
    home.log.wait_for_line(ENDED, deadline=180, count=MANY + 1)
    reader.stop()
    assert home.log.last_run().count(SENT) == MANY + 1
    text = local_text(before=AFTER, after=BEFORE)
    assert len(list(mails.iterdir())) == MANY + 1
    for recipient in recipients:
        assert (mails / recipient).read_bytes().decode().endswith(f"\r\n\r\n{text}\r\n")

    assert reader.count > 100
    assert reader.longest <= 0.05 + reader.noise
    assert during - before > ALLOWED_GROWTH  # there is something to give back
    until(lambda: program.private_dirty() - before <= ALLOWED_GROWTH,
          lambda: f"memory back: {before} KiB before, {during} KiB meanwhile, "
                  f"{program.private_dirty()} KiB now")
    assert program.stop() == 0


@pytest.mark.parametrize("pause, seen", [(3600, CONNECTED), (0.2, SENT)],
                         ids=["that never answers", "that is slow"])
def test_the_program_ends_at_once_beside_a_server(home, network, trusting, slow_server, pause,
                                                  seen):
    slow_server(pause)
    home.set({"Email": ",".join(f"recipient-{number}@example.org" for number in range(20))})
    program = trusting()
    home.log.wait_for_line(STARTED)
    change_address(network)
    home.log.wait_for_line(seen, deadline=30)
    assert home.log.last_run().count(ENDED) < 20
    assert duration(program.stop) <= 1.0
    assert program.exit_code() == 0
    assert home.log.last_run()[-1] == "stop"
    assert home.log.last_run().count("stop") == 1
