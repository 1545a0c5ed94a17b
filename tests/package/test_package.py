# SPDX-License-Identifier: GPL-3.0-or-later
"""What somebody gets who installs the package on a fresh Debian."""

import pathlib
import subprocess
import time

import pytest

_ID = "com.corvane.Quillfen"
_FILES = {
    "usr/bin/quillfen",
    f"usr/share/applications/{_ID}.desktop",
    f"usr/share/metainfo/{_ID}.metainfo.xml",
    f"usr/share/dbus-1/services/{_ID}.service",
    f"etc/xdg/autostart/{_ID}.desktop",
    "usr/lib/systemd/user/quillfen-headless.service",
    "usr/share/man/man1/quillfen.1.gz",
    "usr/share/bash-completion/completions/quillfen",
    "usr/share/zsh/vendor-completions/_quillfen",
    "usr/share/fish/vendor_completions.d/quillfen.fish",
    f"usr/share/icons/hicolor/scalable/apps/{_ID}.svg",
    f"usr/share/icons/hicolor/symbolic/apps/{_ID}-symbolic.svg",
    *(f"usr/share/icons/hicolor/{size}x{size}/apps/{_ID}.png"
      for size in (16, 22, 24, 32, 48, 64, 128, 256)),
}
_LOG = pathlib.Path(".local/share/Corvane Software/Quillfen/Quillfen.log")


def _until(happened, what: str, seconds: float = 30):
    deadline = time.monotonic() + seconds
    while not happened():
        assert time.monotonic() < deadline, what
        time.sleep(0.05)


def test_the_package_holds_what_desktops_and_shells_look_for(package):
    listing = subprocess.run(["dpkg-deb", "--fsys-tarfile", package], stdout=subprocess.PIPE,
                             check=True).stdout
    names = subprocess.run(["tar", "--list"], input=listing, stdout=subprocess.PIPE,
                           check=True).stdout.decode().split()
    files = {name.removeprefix("./") for name in names if not name.endswith("/")}
    assert _FILES <= files


def test_program_and_package_are_of_the_same_version(root, package, version):
    assert package.name.split("_")[1] == version
    assert root.run("quillfen", "--version") == f"Quillfen {version}\n"


@pytest.mark.parametrize("arguments", [[], ["--headless"]], ids=["as it is", "headless"])
def test_it_starts_watches_and_ends_in_order(root, arguments):
    log = root.home / _LOG
    log.unlink(missing_ok=True)
    program = root.start("quillfen", *arguments)
    try:
        _until(lambda: log.exists() and "Starting up..." in log.read_text(encoding="utf-8"),
               "it writes no log")
        _until(lambda: "refreshed. (-.-.-.-)" in log.read_text(encoding="utf-8"),
               "it does not watch")
    finally:
        program.terminate()
        output, _ = program.communicate(timeout=30)
    assert program.returncode == 0, output
    assert log.read_text(encoding="utf-8").endswith("] stop\n")


def test_nobody_starts_it_without_being_asked(root):
    """Neither each session, nor systemd for each user."""
    autostart = (root.folder / f"etc/xdg/autostart/{_ID}.desktop").read_text(encoding="utf-8")
    assert "Hidden=true" in autostart.splitlines()
    assert not list((root.folder / "etc/systemd/user").glob("*.wants/quillfen*"))


def test_removed_it_leaves_the_users_data_alone(root):
    files = {root.folder / name.lstrip("/") for name in root.run("dpkg", "-L", "quillfen").split()
             if (root.folder / name.lstrip("/")).is_file()}
    settings = root.home / f".config/{_ID}/settings.json"
    kept = {path: path.read_bytes() for path in (root.home / _LOG, settings)}
    root.run("apt-get", "purge", "--yes", "quillfen")
    assert not [path for path in files if path.exists()]
    assert {path: path.read_bytes() for path in kept} == kept
