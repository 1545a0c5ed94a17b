# SPDX-License-Identifier: GPL-3.0-or-later
"""The package as scripts/package makes it, and a root of Debian's with nothing but it in it."""

import pathlib
import subprocess

import pytest

from fresh_root import FreshRoot

_TOP = pathlib.Path(__file__).parents[2]


def pytest_addoption(parser):
    parser.addoption("--package-version", required=True)


@pytest.fixture(scope="session")
def version(request) -> str:
    return request.config.getoption("--package-version")


@pytest.fixture(scope="session")
def package() -> pathlib.Path:
    """Made anew; scripts/package fails where lintian or a checker of desktop files does."""
    made = subprocess.run([_TOP / "scripts/package"], stdout=subprocess.PIPE,
                          stderr=subprocess.STDOUT, text=True, timeout=900, check=False)
    assert made.returncode == 0, made.stdout[-5000:]
    [package] = (_TOP / "build/package").glob("quillfen_*.deb")
    return package


@pytest.fixture(scope="session")
def root(package, tmp_path_factory):
    """With the package installed, by apt and so with all that it depends on."""
    with FreshRoot(tmp_path_factory.mktemp("root", numbered=False)) as root:
        root.install(package)
        yield root
