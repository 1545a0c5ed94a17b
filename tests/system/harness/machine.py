# SPDX-License-Identifier: GPL-3.0-or-later
"""What this computer says of itself."""

import subprocess


def machine_name():
    """The name that its owner gave it, else the one that it has on the network."""
    try:
        with open("/etc/machine-info", encoding="utf-8") as info:
            for line in info:
                key, _, value = line.strip().partition("=")
                if key == "PRETTY_HOSTNAME" and value.strip("\"'"):
                    return value.strip("\"'")
    except FileNotFoundError:
        pass
    return subprocess.run(["uname", "-n"], check=True, stdout=subprocess.PIPE,
                          text=True).stdout.strip()
