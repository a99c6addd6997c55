#!/usr/bin/env bash
# The one list of Debian 12 packages Ovrin needs to build, run and test.
# Idempotent: when everything is present it only runs dpkg-query and exits.
# Usage: scripts/install-deps.sh [--no-test]
set -euo pipefail

build=(
  cmake ninja-build g++ pkg-config ccache clang-format
  qt6-base-dev qt6-declarative-dev qt6-svg-dev
  qcoro-qt6-dev qtkeychain-qt6-dev qt6-multimedia-dev libsndfile1-dev libpulse-dev
  libx11-dev libxi-dev libxtst-dev libxfixes-dev libatspi2.0-dev
  libbenchmark-dev
  libcpp-httplib-dev nlohmann-json3-dev libsqlitecpp-dev libsqlite3-dev libsodium-dev
  libpocketsphinx-dev libsphinxbase-dev libsamplerate0-dev libcurl4-openssl-dev
  libtesseract-dev libleptonica-dev libglib2.0-dev
  libevdev-dev libwayland-dev
)
run=(
  libqt6svg6 qml6-module-qtquick qml6-module-qtqml qml6-module-qtquick-controls
  qml6-module-qtquick-templates qml6-module-qtquick-layouts qml6-module-qtquick-window
  qml6-module-qtqml-workerscript libgl1-mesa-dri
  dbus tzdata
  pocketsphinx-en-us tesseract-ocr-eng
  wl-clipboard grim
)
test=(
  xvfb x11-utils xdotool
  at-spi2-core gnome-keyring
  pulseaudio pulseaudio-utils
  trayer xcompmgr sox flite
  sway xwayland
  python3 python3-gi gir1.2-gtk-3.0
  wrk
  dpkg-dev desktop-file-utils appstream
  clang-14 libclang-rt-14-dev
)

want=("${build[@]}" "${run[@]}")
[ "${1:-}" = "--no-test" ] || want+=("${test[@]}")

missing=()
for p in "${want[@]}"; do
  status=$(dpkg-query -W -f='${db:Status-Status}' "$p" 2>/dev/null || true)
  [ "$status" = installed ] || missing+=("$p")
done
[ ${#missing[@]} -eq 0 ] && exit 0

echo "install-deps: installing ${missing[*]}"
sudo=()
if [ "$(id -u)" -ne 0 ]; then
  command -v sudo >/dev/null || { echo "install-deps: need root or sudo to install packages" >&2; exit 1; }
  sudo=(sudo)
fi
export DEBIAN_FRONTEND=noninteractive
"${sudo[@]}" apt-get update -qq
"${sudo[@]}" apt-get install -y -qq --no-install-recommends "${missing[@]}"
