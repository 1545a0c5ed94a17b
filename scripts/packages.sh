# SPDX-License-Identifier: GPL-3.0-or-later
# shellcheck shell=sh disable=SC2034
#
# The Debian packages that this project uses, and how they get onto a machine. Sourced by the
# scripts beside it.

# To build the program and run it; the last one lets GTK's panels draw its icon, an SVG.
build_packages="
  cmake ninja-build g++ pkg-config qt6-base-dev libmnl-dev librsvg2-common"

# To test it: compilers and checkers, then the desktops and tools of the system tests.
test_packages="
  clang libclang-rt-14-dev clang-format libsystemd-dev
  dbus iproute2 python3-gi python3-pytest
  xvfb openbox x11-utils x11-xserver-utils xdotool imagemagick tesseract-ocr tesseract-ocr-eng
  mate-panel mate-indicator-applet ayatana-indicator-application xfce4-panel xfce4-session xfconf
  adwaita-icon-theme fonts-dejavu-core librsvg2-bin"

# Installs those of the named packages that are missing; touches nothing when none is.
install_missing() {
  missing=
  for package in "$@"; do
    status=$(dpkg-query -W -f='${db:Status-Status}' "$package" 2>/dev/null) || status=
    [ "$status" = installed ] || missing="$missing $package"
  done
  [ -n "$missing" ] || return 0
  echo "Installing:$missing"
  as_root=
  [ "$(id -u)" -eq 0 ] || as_root=sudo
  $as_root apt-get update
  # shellcheck disable=SC2086
  $as_root env DEBIAN_FRONTEND=noninteractive \
    apt-get install --yes --no-install-recommends $missing
}
