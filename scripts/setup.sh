#!/usr/bin/env bash
# Installs every Debian package Tarpo Viewer needs to build, run and test.
# Idempotent: returns at once when everything is present. Needs root (or sudo).
set -euo pipefail

PACKAGES=(
    build-essential cmake ninja-build pkg-config git
    qtbase5-dev qttools5-dev qttools5-dev-tools libqt5svg5-dev
    libaravis-dev aravis-tools libusb-1.0-0-dev libglib2.0-dev
    libopencv-imgproc-dev libopencv-core-dev
    libavformat-dev libavcodec-dev libavutil-dev libswscale-dev ffmpeg
    libtiff-dev libtiff-tools
    libboost-thread-dev libboost-system-dev libboost-date-time-dev
    liblog4cpp5-dev
    xvfb xauth x11-utils imagemagick xdotool
    help2man lintian desktop-file-utils appstream dpkg-dev fakeroot
    iproute2 util-linux
)

missing=()
for p in "${PACKAGES[@]}"; do
    if ! dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed"; then
        missing+=("$p")
    fi
done
[ ${#missing[@]} -eq 0 ] && exit 0

SUDO=""
if [ "$(id -u)" -ne 0 ]; then SUDO="sudo"; fi
echo "setup: installing ${missing[*]}"
export DEBIAN_FRONTEND=noninteractive
$SUDO apt-get update -qq
$SUDO apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
