# SPDX-License-Identifier: GPL-3.0-or-later
"""A small Debian of its own in a folder."""

import pathlib
import shutil
import subprocess

_RELEASE = "bookworm"
_USER = 1000


def _run(*command, timeout=600, **more):
    done = subprocess.run(command, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True,
                          timeout=timeout, check=False, **more)
    assert done.returncode == 0, f"{command}: {done.stdout[-3000:]}"
    return done.stdout


def _mirror() -> str:
    """Where this machine has its own Debian from."""
    targets = _run("apt-get", "indextargets", "--format", "$(RELEASE) $(REPO_URI)",
                   "Created-By: Packages")
    for line in targets.splitlines():
        release, _, uri = line.partition(" ")
        if release == _RELEASE:
            return uri
    raise AssertionError(f"apt knows no source of {_RELEASE}:\n{targets}")


class FreshRoot:
    """Debian as its installer leaves it, less all that is not needed to install a package. Gone
    at the end."""

    def __init__(self, folder: pathlib.Path):
        self.folder = folder
        self.home = folder / "home/user"

    def __enter__(self) -> "FreshRoot":
        self.folder.chmod(0o755)  # its user has to get in
        _run("debootstrap", "--variant=minbase", _RELEASE, self.folder, _mirror())
        _run("mount", "-t", "proc", "proc", self.folder / "proc")
        # No service is started for being installed.
        never = self.folder / "usr/sbin/policy-rc.d"
        never.write_text("#!/bin/sh\nexit 101\n", encoding="utf-8")
        never.chmod(0o755)
        self.run("useradd", "--uid", str(_USER), "--create-home", "user")
        return self

    def __exit__(self, *_):
        _run("umount", self.folder / "proc")
        shutil.rmtree(self.folder)

    def run(self, *command) -> str:
        """As its administrator, until it ends well."""
        return _run("chroot", self.folder, "env", "DEBIAN_FRONTEND=noninteractive", *command)

    def install(self, package: pathlib.Path):
        shutil.copy(package, self.folder / "package.deb")
        self.run("apt-get", "install", "--yes", "--no-install-recommends", "/package.deb")

    def start(self, *command) -> subprocess.Popen:
        """As its user, with no network but a loopback that is down; output is one stream."""
        return subprocess.Popen(
            ["unshare", "--net", "chroot", f"--userspec={_USER}:{_USER}", self.folder,
             "env", "-i", "PATH=/usr/bin:/bin", "HOME=/home/user", "LC_ALL=C.UTF-8", *command],
            stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True)
