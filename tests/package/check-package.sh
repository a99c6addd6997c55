#!/usr/bin/env bash
# Installs the build into a scratch root twice — with `cmake --install` and from the .deb
# that CPack makes — and checks that a desktop would find everything where it looks, that
# the package's dependencies resolve on this system, and that both programs start from
# their installed paths.
# Usage: check-package.sh BUILD_DIR
set -euo pipefail
build=$1
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
fail() { echo "check-package: $*" >&2; exit 1; }

expect_files() { # ROOT: the files a desktop looks for, under ROOT/usr
  local root=$1 f
  for f in bin/ovrin bin/ovrin-server \
           share/applications/com.ovrin.app.desktop \
           share/icons/hicolor/scalable/apps/com.ovrin.app.svg \
           share/metainfo/com.ovrin.app.metainfo.xml \
           lib/systemd/user/ovrin-server.service; do
    [ -e "$root/usr/$f" ] || fail "missing /usr/$f"
  done
  grep -qx 'MimeType=x-scheme-handler/ovrin;' "$root/usr/share/applications/com.ovrin.app.desktop" ||
    fail "the desktop entry does not handle ovrin:// links"
  grep -qx 'ExecStart=/usr/bin/ovrin-server' "$root/usr/lib/systemd/user/ovrin-server.service" ||
    fail "the user service does not start /usr/bin/ovrin-server"
}

run_installed() { # ROOT: both programs answer from the installed paths
  local root=$1
  HOME=$work/home XDG_CONFIG_HOME=$work/config "$root/usr/bin/ovrin" --help | grep -q '^Usage:' ||
    fail "ovrin --help from $root"
  HOME=$work/home XDG_CONFIG_HOME=$work/config XDG_DATA_HOME=$work/data \
    timeout 60 "$root/usr/bin/ovrin-server" --check | grep -q '^Transcription:' ||
    fail "ovrin-server --check from $root"
}

DESTDIR=$work/installed cmake --install "$build" --prefix /usr >/dev/null
expect_files "$work/installed"
desktop-file-validate "$work/installed/usr/share/applications/com.ovrin.app.desktop"
appstreamcli validate --no-net --pedantic \
  "$work/installed/usr/share/metainfo/com.ovrin.app.metainfo.xml" >/dev/null ||
  fail "the metainfo does not validate"
run_installed "$work/installed"

(cd "$work" && cpack --config "$build/CPackConfig.cmake" -B "$work/deb" >/dev/null)
deb=$(ls "$work"/deb/ovrin_*.deb)
depends=$(dpkg-deb -f "$deb" Depends)
for p in libqt6quick6 qml6-module-qtquick-controls libqt6multimedia6 pocketsphinx-en-us; do
  [[ $depends == *"$p"* ]] || fail "Depends lacks $p: $depends"
done
apt-get install -s --no-install-recommends "$deb" 2>&1 | grep -q '^Inst ovrin ' ||
  fail "the package's dependencies do not resolve here"
dpkg-deb -x "$deb" "$work/unpacked"
expect_files "$work/unpacked"
run_installed "$work/unpacked"
echo "check-package: $(basename "$deb") installs and runs"
