# SPDX-License-Identifier: GPL-3.0-or-later
# shellcheck shell=sh disable=SC2034
#
# The Debian packages that this project uses, and how they get onto a machine. Sourced by the
# scripts beside it.

# To build the program and run it. To run, it wants: whom to trust on the web; what draws its icon,
# an SVG, in GTK's panels and in its own windows; what shows windows and copies under Wayland; and
# what opens web pages and files.
build_packages="
  cmake ninja-build g++ pkg-config qt6-base-dev qt6-l10n-tools libmnl-dev libdbus-1-dev
  libcurl4-openssl-dev libssl-dev ca-certificates librsvg2-common libqt6svg6 qt6-wayland
  wl-clipboard xdg-utils"

# To test it: compilers and checkers, then the desktops and tools of the system tests, and what
# their sound and mail servers need.
test_packages="
  clang libclang-rt-14-dev clang-format libsystemd-dev
  dbus iproute2 python3-gi python3-pytest
  xvfb openbox x11-utils x11-xserver-utils xdotool xclip imagemagick tesseract-ocr tesseract-ocr-eng
  mate-panel mate-indicator-applet ayatana-indicator-application xfce4-panel xfce4-session xfconf
  trayer
  sway foot wtype waybar grim at-spi2-core libfaketime
  adwaita-icon-theme fonts-dejavu-core librsvg2-bin
  pulseaudio-utils pipewire-bin
  libltdl7 liborc-0.4-0 libsoxr0 libspeexdsp1 libtdb1 libwireplumber-0.4-0 libwrap0
  openssl uidmap libdb5.3 libgnutls-dane0 libicu72 libidn12 libnsl2 libpcre2-8-0 libsasl2-2
  libsasl2-modules"

# Mail servers for the system tests, and the tool that makes the file of their users. Installed,
# they would exclude each other and take the place of this machine's own mail server.
mail_server_packages="exim4-daemon-light postfix sasl2-bin"

# Sound servers, of which the same is true.
sound_server_packages="pulseaudio pipewire-pulse wireplumber"

# To make the Debian package and look it over, and to try it in a root of its own.
package_packages="
  appstream build-essential debhelper desktop-file-utils dpkg-dev librsvg2-bin lintian debootstrap"

as_root() {
  if [ "$(id -u)" -eq 0 ]; then
    "$@"
  elif command -v sudo >/dev/null; then
    sudo "$@"
  else
    echo "There is no sudo here. As root, please: $*" >&2
    return 1
  fi
}

# Installs those of the named packages that are missing; touches nothing when none is.
install_missing() {
  missing=
  for package in "$@"; do
    status=$(dpkg-query -W -f='${db:Status-Status}' "$package" 2>/dev/null) || status=
    [ "$status" = installed ] || missing="$missing $package"
  done
  [ -n "$missing" ] || return 0
  echo "Installing:$missing"
  as_root apt-get update
  # shellcheck disable=SC2086
  as_root env DEBIAN_FRONTEND=noninteractive \
    apt-get install --yes --no-install-recommends $missing
}

# Gets a package into the current folder.
download() {
  apt-get -o APT::Sandbox::User=root download "$1"
}

# Unpacks the named packages, each into a folder of its name in the folder $1, without installing
# them; touches nothing that is there already.
unpack_missing() {
  folder=$1
  shift
  for package in "$@"; do
    [ ! -d "$folder/$package" ] || continue
    echo "Unpacking: $package"
    rm -rf "$folder/$package.new"
    mkdir -p "$folder/$package.new"
    # Where the list of packages is older than the archive, what it names may be gone.
    (cd "$folder/$package.new" || exit
      download "$package" || { as_root apt-get update; download "$package"; }
      dpkg-deb --extract "$package"_*.deb .)
    mv "$folder/$package.new" "$folder/$package"
  done
}
