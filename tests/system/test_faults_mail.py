# SPDX-License-Identifier: GPL-3.0-or-later
"""A mail server that dies in mid-session: the log tells how far it came, and the next mail goes."""

import itertools

import pytest

from harness import mail_transcript
from harness.machine import machine_name
from harness.mail_certificates import Authority
from harness.mail_dying_server import DyingMailServer
from harness.mail_server import PASSWORD, STARTTLS, USER
from harness.mail_transcript import (CONNECTED, ENDED, LOGGED_IN, LOST, SECURE, SENT,
                                     UPGRADING, USUAL_STAGES)
from harness.log_tail import LogTail
from harness.orders import Orders
from harness.transcript import Transcript
from harness.vital_signs import open_apart_from_settings, vital_signs
from harness.waiting import until

FIRST, SECOND = "192.0.2.7", "198.51.100.4"
CABLES = {FIRST: "lan", SECOND: "wlan"}
STARTED = f"The current (first) internal IP address is:{FIRST}"
RECIPIENT = "a@example.org"
ALLOWED_GROWTH = 512  # KiB in all these sessions


@pytest.fixture
def authority(tmp_path):
    return Authority(tmp_path)


@pytest.fixture
def server(network, authority):
    started = DyingMailServer(network, authority)
    yield started
    started.close()


@pytest.fixture
def orders(network):
    given = Orders(network)
    yield given
    given.close()


@pytest.fixture(autouse=True)
def settings(home, network):
    network.cable("lan", f"{FIRST}/24")
    network.cable("wlan", f"{SECOND}/24")
    network.ip("route add default dev lan")
    home.set({"Initial Refresh": 86400, "LastIPAddress": FIRST,
              "ExternalAddressService": "http://127.0.0.1:1/", "SendEmailNotifications": True,
              "MailServer": "127.0.0.1", "Port": str(STARTTLS), "Authentication": 1,
              "Username": USER, "UserPassword": PASSWORD, "Email": RECIPIENT})


# What the log tells of a session by the time that the server says this, beside what it told
# before.
STAGES = {"banner": [CONNECTED], "EHLO": [], "STARTTLS": [UPGRADING], "handshake": [],
          "EHLO again": [], "AUTH": [SECURE], "MAIL": [LOGGED_IN], "RCPT": [], "DATA": [], ".": [],
          "QUIT": [SENT]}
HOWS = [(how, by_reset) for how in ("before", "within", "behind") for by_reset in (False, True)]


def told(point, how, by_reset):
    """All that the log may tell of a session in which the server dies like this."""
    points = list(STAGES)
    until_point = points[:points.index(point) + 1]
    until_next = points[:points.index(point) + 2]
    told_of = [until_next if how == "behind" else until_point]
    if by_reset:  # which can overtake what was said last
        told_of += [until_point, until_point[1:] if point == "banner" else until_point]
    stages = [[stage for each in known for stage in STAGES[each]] for known in told_of]
    return [[*known, *([] if SENT in known else [LOST]), ENDED] for known in stages]


def test_a_server_that_dies_in_mid_session(home, orders, server, authority, start, version):
    say = Transcript(version)
    program = start(more={"SSL_CERT_FILE": str(authority.authority)})
    home.log.wait_for_line(STARTED)
    tail = LogTail(home.log.path)
    while tail.take() != STARTED:
        pass
    addresses = [FIRST, SECOND]

    def lines_of_a_mail():
        """Another first address, and what is logged of its mail's session."""
        addresses.reverse()
        first, last = addresses
        orders.give(f"route replace default dev {CABLES[first]}")
        text = mail_transcript.LOCAL_CHANGE.format(machine=machine_name(), before=last, after=first)
        *refresh, refreshed = say.refresh(first, last, last=last)
        ordered = mail_transcript.orders([RECIPIENT], text, "127.0.0.1")
        for line in [*refresh, *ordered, refreshed]:
            assert tail.take() == line
        session = [tail.take()]
        while session[-1] != ENDED:
            session.append(tail.take())
        return session

    assert lines_of_a_mail() == USUAL_STAGES  # what TLS needs once is there from here on
    open_before = open_apart_from_settings(program.pid)
    before = vital_signs(program.pid)
    for point, (how, by_reset) in itertools.product(STAGES, HOWS):
        server.dies(point, how, by_reset)
        assert lines_of_a_mail() in told(point, how, by_reset), f"{how} {point}, reset: {by_reset}"
    server.dies(None, None)
    assert lines_of_a_mail() == USUAL_STAGES
    until(lambda: open_apart_from_settings(program.pid) <= open_before, "all sockets closed")
    assert vital_signs(program.pid).private_dirty - before.private_dirty <= ALLOWED_GROWTH
    assert program.stop() == 0
    tail.close()
