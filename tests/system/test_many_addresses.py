# SPDX-License-Identifier: GPL-3.0-or-later
"""A machine with ten thousand addresses, and the same machine without them again."""

from harness.waiting import until

COUNT = 10_000
ADDRESSES = [f"10.1.{number // 250}.{number % 250 + 1}" for number in range(COUNT)]
ALLOWED_GROWTH = 1024  # KiB that may stay; while the list stands it is several times that


def test_ten_thousand_addresses(home, network, bus, status_area, start, version):
    home.set({"Initial Refresh": 86400})
    network.cable("lan", "192.0.2.7/24")
    program = start(bus)
    home.log.wait_for_line("The current (first) internal IP address is:192.0.2.7")
    before = program.private_dirty()

    network.cable("wide")
    network.ip("link set lan down")
    home.log.wait_for_line(f"Quillfen {version} refreshed. (-.-.-.-)")
    network.ip(*(f"address add {address}/16 dev wide" for address in ADDRESSES))
    status_area.wait_for_title(ADDRESSES[0])
    home.log.wait_for_line(f"[{COUNT}] {ADDRESSES[-1]}", deadline=60)
    lines = home.log.lines()
    last = len(lines) - 1 - lines[::-1].index(f"[{COUNT}] {ADDRESSES[-1]}")
    assert lines[last - COUNT + 1:last + 1] == [
        f"[{number}] {address}" for number, address in enumerate(ADDRESSES, 1)]

    assert program.private_dirty() - before > ALLOWED_GROWTH  # there is something to give back

    network.ip("link del wide")
    home.log.wait_for_line(f"Quillfen {version} refreshed. (-.-.-.-)", deadline=60, count=2)
    network.ip("link set lan up")
    home.log.wait_for_line("(First) Internal IP address changed from:-.-.-.- to:192.0.2.7")
    status_area.wait_for_title("192.0.2.7")
    until(lambda: program.private_dirty() - before <= ALLOWED_GROWTH,
          lambda: f"memory back: {before} KiB before, {program.private_dirty()} KiB now")
    assert program.stop() == 0
