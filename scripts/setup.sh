#!/usr/bin/env bash
# Installs what building and testing need on a Debian machine. Packages that
# are there already are left alone, so a second run costs nothing.
#   scripts/setup.sh [PACKAGE...]     the packages named are installed as well
set -euo pipefail

packages=(g++ cmake ninja-build libgtest-dev libgmock-dev libbenchmark-dev python3)
# The TIFF driver reads and writes through libtiff; its tests and benchmark use tiffcp.
packages+=(libtiff-dev libtiff-tools)
# The GUI toolkit links Xlib and loads the client side font library at run
# time (its headers give the types); its tests and screenshots need a private
# X server, XTest, xwd and convert, and a font for fontconfig to find.
packages+=(pkg-config libx11-dev libxft-dev libfontconfig-dev libxtst-dev xvfb x11-apps imagemagick fonts-dejavu-core)
# Workflows are packed into archives by GNU tar ("gtar" when there is one).
packages+=(tar)
# Master and slave talk through ssh; the tests run their own sshd.
packages+=(openssh-server openssh-client)
packages+=("$@")
missing=()
for p in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
done
if [ ${#missing[@]} -gt 0 ]; then
  echo "Installing: ${missing[*]}"
  sudo_cmd=""
  [ "$(id -u)" -eq 0 ] || sudo_cmd="sudo"
  $sudo_cmd apt-get update
  DEBIAN_FRONTEND=noninteractive $sudo_cmd apt-get install -y --no-install-recommends "${missing[@]}"
fi
# sshd started by root (the synchronisation tests start their own) needs its
# privilege separation directory, which only the system's service start makes.
if [ "$(id -u)" -eq 0 ] && [ ! -d /run/sshd ]; then
  mkdir -p /run/sshd && chmod 0755 /run/sshd
fi
