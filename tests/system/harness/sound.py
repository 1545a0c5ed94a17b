# SPDX-License-Identifier: GPL-3.0-or-later
"""Sounds as numbers: what a file holds, what has been recorded, and which tones are in it."""

import cmath
import math
import struct
from array import array

RATE = 48000  # samples a second, of everything here
SILENCE = 33  # 60 dB below full scale


def _big_endian(octets):
    samples = array("h", octets[:len(octets) // 2 * 2])
    samples.byteswap()
    return samples


def read_aiff(path):
    """The samples of an AIFF file, which must be mono, 16 bit, 48 kHz."""
    octets = path.read_bytes()
    form, length, kind = struct.unpack_from(">4sI4s", octets)
    assert (form, length, kind) == (b"FORM", len(octets) - 8, b"AIFF")
    chunks = {}
    place = 12
    while place < len(octets):
        name, length = struct.unpack_from(">4sI", octets, place)
        chunks[name] = octets[place + 8:place + 8 + length]
        place += 8 + length + length % 2
    # The rate is an 80-bit number: its exponent, then its 64 bits from the leading one on.
    channels, frames, bits, exponent, leading = struct.unpack(">hIhHQ", chunks[b"COMM"])
    assert (channels, bits, leading >> (16383 + 63 - exponent)) == (1, 16, RATE)
    samples = _big_endian(chunks[b"SSND"][8:])
    assert len(samples) == frames
    return samples


def read_raw(path):
    """The samples of a recording: mono, 16 bit, big-endian, at 48 kHz."""
    return _big_endian(path.read_bytes())


def peak(samples):
    """The loudest of the samples; full scale is 32767."""
    return max(map(abs, samples), default=0)


def heard_part(samples):
    """The samples from the first to the last that can be heard."""
    heard = [place for place, value in enumerate(samples) if abs(value) > SILENCE]
    return samples[heard[0]:heard[-1] + 1] if heard else samples[:0]


def seconds(samples, begin=0.0, end=None):
    """Those of the samples that come between two times, in seconds."""
    return samples[round(begin * RATE):None if end is None else round(end * RATE)]


def strength(samples, frequency):
    """How much of a tone of that frequency, in Hz, is in the samples."""
    turn = 2 * math.pi * frequency / RATE
    return abs(sum(value * cmath.exp(1j * turn * place) for place, value in enumerate(samples)))
