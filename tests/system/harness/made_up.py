# SPDX-License-Identifier: GPL-3.0-or-later
"""Values for calls on the bus, made up at random: of a given type, or of any."""

from gi.repository import GLib

NUMBERS = {"y": (0, 0xFF), "n": (-0x8000, 0x7FFF), "q": (0, 0xFFFF),
           "i": (-0x80000000, 0x7FFFFFFF), "u": (0, 0xFFFFFFFF),
           "x": (-0x8000000000000000, 0x7FFFFFFFFFFFFFFF), "t": (0, 0xFFFFFFFFFFFFFFFF)}
STRINGS = ["", "a", "_", "%@%d%s%n", "\n\r\t\x1b[2J\x07", "\u202e\u2028\ufeff\ufffd", "é" * 300,
           "😀\u0301", "</node>&<", "clicked", "opened", "closed", "hovered", "activation-token",
           "label", "visible", "children-display", "/", "org.kde.StatusNotifierItem",
           "com.canonical.dbusmenu", "com.corvane.Quillfen.Status", "file:///etc/passwd", "-1"]
PATHS = ["/", "/a", "/org/freedesktop/DBus", "/" + "x" * 200, "/com/corvane/Quillfen"]
SIMPLE = "ybnqiuxtdsogv"
DEEPEST = 50  # the bus lets 64 levels through


class MadeUp:
    """Makes values. forbidden: a number that is never among them."""

    def __init__(self, random, forbidden=()):
        self._random = random
        self._forbidden = forbidden
        self.numbers = [0, 1]  # 32 bits each, that mean something to whom it is for
        self.strings = list(STRINGS)

    def arguments(self, signature):
        """The arguments of a call."""
        return self.value(f"({signature})")

    def wrong_arguments(self, signature):
        """The arguments of a call whose method wants others."""
        other = signature
        while other == signature:
            other = "".join(self.type() for _ in range(self._random.randrange(5)))
        return self.arguments(other)

    def type(self, depth=0):
        """Any single complete type."""
        kind = self._random.randrange(10 if depth < 4 else 6)
        if kind == 6:
            return "a" + self.type(depth + 1)
        if kind == 7:
            return "a{" + self._random.choice("syio") + self.type(depth + 1) + "}"
        if kind == 8:
            members = self._random.randrange(1, 4)
            return "(" + "".join(self.type(depth + 1) for _ in range(members)) + ")"
        return self._random.choice(SIMPLE)

    def value(self, wanted, depth=0):
        """A variant of the type wanted."""
        if wanted == "v":
            return GLib.Variant("v", self._inside(depth))
        if wanted[0] == "a":
            length = self._length(depth)
            children = [self.value(wanted[1:], depth + 1) for _ in range(length)]
            return array(wanted[1:], children)
        if wanted[0] == "(":
            return GLib.Variant.new_tuple(*[self.value(part, depth + 1)
                                            for part in parts(wanted[1:-1])])
        if wanted[0] == "{":
            key, value = parts(wanted[1:-1])
            return GLib.Variant.new_dict_entry(self.value(key, depth), self.value(value, depth + 1))
        return GLib.Variant(wanted, self._simple(wanted))

    def huge(self, signature):
        """The arguments of a call, with as much in each as a message can well carry."""
        return GLib.Variant.new_tuple(*[self._huge(part) for part in parts(signature)])

    def _huge(self, wanted):
        if wanted == "s":
            return GLib.Variant("s", self._random.choice("x<é😀") * 1_000_000)
        if wanted == "v":
            return self._nested()
        if wanted[0] == "a":
            return array(wanted[1:], [self.value(wanted[1:], 5)] * 20_000)
        return self.value(wanted)

    def _nested(self):
        """A variant in a variant in a variant."""
        value = GLib.Variant("s", "deep")
        for _ in range(DEEPEST):
            value = GLib.Variant("v", value)
        return value

    def _inside(self, depth):
        if self._random.randrange(40) == 0:
            return self._nested()
        return self.value(self.type(min(depth, 4)), depth + 1)

    def _length(self, depth):
        if self._random.randrange(200) == 0 and depth < 2:
            return 2000
        return self._random.randrange(4 if depth < 4 else 2)

    def _simple(self, wanted):
        if wanted in NUMBERS:
            return self._number(*NUMBERS[wanted])
        if wanted == "b":
            return self._random.random() < 0.5
        if wanted == "d":
            return self._random.choice([0.0, -0.0, 1e308, -1e-308, float("inf"), float("nan")])
        if wanted == "o":
            return self._random.choice(PATHS)
        if wanted == "g":
            return self.type()
        if self._random.randrange(300) == 0:
            return "x" * self._random.randrange(200_000)
        return self._random.choice(self.strings)

    def _number(self, least, most):
        while True:
            known = [number for number in self.numbers if least <= number <= most]
            number = self._random.choice([least, most, self._random.randint(least, most), *known])
            if number not in self._forbidden:
                return number


def array(element, children):
    """An array of what may be nothing."""
    return GLib.Variant.new_array(GLib.VariantType.new(element), children)


def parts(signature):
    """The single complete types that signature is made of."""
    found = []
    while signature:
        end = end_of_type(signature)
        found.append(signature[:end])
        signature = signature[end:]
    return found


def end_of_type(signature):
    """Where the first single complete type of signature ends."""
    if signature[0] == "a":
        return 1 + end_of_type(signature[1:])
    if signature[0] not in "({":
        return 1
    depth = 0
    for at, letter in enumerate(signature):
        depth += (letter in "({") - (letter in ")}")
        if depth == 0:
            return at + 1
    raise ValueError(signature)
