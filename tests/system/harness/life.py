# SPDX-License-Identifier: GPL-3.0-or-later
"""A machine's life as its activity log is to tell of it: what happens, and each line that follows.

One event after the other: the next happens when the lines of the one before are there. So every
event has lines of its own, and these are known to the letter. Only the stages of mails under way,
and the clearing of the external address every five minutes, come when they come.
"""

from collections import Counter

from . import mail_transcript
from .machine import machine_name
from .transcript import COPYING, LOADING, without_dates
from .waiting import until

LAN, WLAN = "192.0.2.7", "198.51.100.4"  # the first address of either cable
SUBNETS = {"lan": "192.0.2", "wlan": "198.51.100"}
FAILED = "-.-.-.-"
CLEARING = 'Clearing external IP address. (Allows accessing "checkip.dyndns.org" again.)'


class Machine:
    """Two cables, one of which has the default route, and the addresses on them."""

    def __init__(self, network, orders):
        self._orders = orders
        self._addresses = {"lan": [LAN], "wlan": [WLAN]}
        self._route = "lan"
        network.cable("lan", f"{LAN}/24")
        network.cable("wlan", f"{WLAN}/24")
        network.ip("route add default dev lan")

    def addresses(self):
        """All of them, the first one first."""
        other = {"lan": "wlan", "wlan": "lan"}[self._route]
        return [*self._addresses[self._route], *self._addresses[other]]

    def move_route(self):
        """Another first address."""
        self._route = {"lan": "wlan", "wlan": "lan"}[self._route]
        self._orders.give(f"route replace default dev {self._route}")

    def change_others(self, random):
        """One address more or less, but the same first one."""
        cable = random.choice(["lan", "wlan"])
        first, *more = self._addresses[cable]
        if len(more) == 4 or more and random.random() < 0.5:
            address = random.choice(more)
            self._addresses[cable].remove(address)
            self._orders.give(f"address del {address}/24 dev {cable}")
        else:
            free = [address for number in range(20, 250)
                    if (address := f"{SUBNETS[cable]}.{number}") not in more]
            self._addresses[cable].append(random.choice(free))
            self._orders.give(f"address add {self._addresses[cable][-1]}/24 dev {cable}")


class Life:
    """What the program lives through, and what its log is to say."""

    def __init__(self, home, machine, tail, say, service):
        self._home = home
        self._machine = machine
        self._tail = tail
        self._say = say
        self._service = service
        self._name = machine_name()
        self._kept = None        # the external address that the program knows without asking
        self._answer = FAILED    # what the service would say
        self._first = LAN        # the address stored as the last one
        self._external = "0.0.0.0"
        self.settings = {}       # as the program is to have them
        self.stages = Counter()  # the lines of mails under way
        self.mails = []          # the (recipient, text) of all that were to be sent

    def begins_with(self, settings):
        """Stores the settings that the program is to start with."""
        self.settings = settings
        self._home.set(settings)

    def told(self, lines):
        """Takes the lines that lines gives, one after the other, and no others."""
        actual = self._take()  # first: what lines gives may depend on a clearing before it
        for wanted in lines:
            actual = actual or self._take()
            assert without_dates([actual]) == [wanted], f"line {self._tail.count} of the log"
            actual = None

    def rest(self):
        """Waits until all mails so far have come to their end."""
        until(self._mails_are_over, lambda: f"the end of {len(self.mails)} mails, of whose "
              f"stages there were {dict(self.stages)}", within=60)

    def opening(self):
        """The lines of a start."""
        yield from ["start", "Starting up..."]
        yield from self._setting_up()
        yield from self.refresh()
        yield from self._asking()
        yield f"The current external IP address is:{self._kept or self._answer}"
        yield f"The current (first) internal IP address is:{self._first}"

    def changed_first(self):
        self._machine.move_route()
        return self.refresh()

    def changed_others(self, random):
        self._machine.change_others(random)
        return self.refresh()

    def saved(self, values, post):
        """Another process stores values and says so."""
        self.settings.update(values)
        self._home.set(values)
        post()
        return self._setting_up()

    def saved_by_window(self, values, operate):
        """The user stores values in the window, which operate() does, up to its being closed."""
        self.settings.update(values)
        operate()
        return self._setting_up()

    def opened_menu(self, item):
        item.open_menu()
        return self._opening_menu()

    def service_says(self, address):
        """From now on, the lookup service answers so: by page, or with what is of no use."""
        self._answer = address
        self._service(address)

    def first(self):
        """The first address."""
        return self._first

    def title(self):
        """What the status item is to say."""
        if self.settings["TitleIconOnly"]:
            return None
        name = f":{self._name}" if self.settings["IncludeMachineName"] else ""
        return self._first + name

    def stored(self):
        """The settings as the file is to have them now."""
        return {**self.settings, "LastIPAddress": self._first,
                **({} if self._external == "0.0.0.0"
                   else {"LastExternalIPAddress": self._external})}

    def _setting_up(self):
        if self.settings["EmailChangesToExternalIPAddress"]:
            yield from self._poll()
        yield from self.refresh()

    def refresh(self):
        """The lines of one refresh, with a mail where the first address is another one."""
        addresses = self._machine.addresses()
        last, self._first = self._first, addresses[0]
        *lines, refreshed = self._say.refresh(*addresses, last=last)
        yield from lines
        if last != self._first:
            yield from self._alert(mail_transcript.LOCAL_CHANGE, last, self._first)
        yield refreshed

    def _poll(self):
        yield "Checking external IP"
        yield from self._asking()
        current, last = self._kept or self._answer, self._external
        yield f"Current external IP address: {current}"
        yield f"Last external IP address: {last}"
        if current != last:
            yield f"External IP address changed from:{last} to:{current}"
            yield from self._alert(mail_transcript.EXTERNAL_CHANGE, last, current)
            self._external = current
        minutes = self.settings["MinutesInterval"]
        yield f"Next external IP address check in: {minutes} minutes (at *)"

    def _asking(self):
        if self._kept:
            yield COPYING
        else:
            yield LOADING
            self._kept = self._answer if self._answer != FAILED else None

    def _opening_menu(self):
        if self.settings["IncludeExternalIP"]:
            yield from self._asking()
            yield f"External IP address:{self._kept or self._answer} (no name)"
        yield from self.refresh()

    def _alert(self, form, before, after):
        if not self.settings["SendEmailNotifications"]:
            return
        text = form.format(machine=self._name, before=before, after=after)
        recipients = self.settings["Email"].split(",")
        self.mails += [(recipient.strip(), text) for recipient in recipients]
        yield from mail_transcript.orders(recipients, text, self.settings["MailServer"])

    def _take(self):
        """The next line but those that come when they come."""
        while self._comes_by_itself(line := self._tail.take()):
            pass
        return line

    def _mails_are_over(self):
        while self._tail.waiting():
            line = self._tail.take()
            assert self._comes_by_itself(line), f"nothing has happened, but the log says {line!r}"
        return self.stages[mail_transcript.ENDED] == len(self.mails)

    def _comes_by_itself(self, line):
        if line in mail_transcript.USUAL_STAGES:
            self.stages[line] += 1
        elif line == CLEARING:
            self._kept = None
        else:
            return False
        return True
