#!/usr/bin/env bash
# Installs every Debian package the build, the tests and the demo need. Run as root.
set -euo pipefail
export DEBIAN_FRONTEND=noninteractive
packages=(
  build-essential cmake ninja-build pkg-config clang-format clang libclang-rt-14-dev
  qt6-base-dev qt6-svg-dev qt6-tools-dev qt6-tools-dev-tools qt6-l10n-tools
  qt6-translations-l10n
  libcurl4-openssl-dev libxml2-dev libplist-dev libsecret-1-dev libsmbclient-dev
  libcpp-httplib-dev libblkid-dev libgtest-dev libgmock-dev
  fonts-liberation2
  samba smbclient gnome-keyring dbus dbus-x11 libsecret-tools
  e2fsprogs util-linux mount xvfb xauth at-spi2-core python3-pyatspi
  rsync rclone time bc
)
apt-get update -q
apt-get install -y -q "${packages[@]}"
# The disk-mount fallback for processes that may not mount is tested against the real daemon;
# its recommended desktop packages are not needed for that.
apt-get install -y -q --no-install-recommends udisks2
