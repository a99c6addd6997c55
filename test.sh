#!/usr/bin/env bash
# Installs what is missing, builds, starts the headless services the tests need
# (X server, D-Bus, AT-SPI, keyring, audio, tray), runs every test and stops exactly
# what it started.
set -euo pipefail
cd "$(dirname "$0")"
top=$PWD

scripts/install-deps.sh
scripts/build.sh

source scripts/ci_env.sh
# Keep the services' logs only when something failed.
trap 'rc=$?; ci_stop; [ $rc -ne 0 ] || rm -rf "$CI_ROOT"; exit $rc' EXIT
ci_start

ctest --test-dir "$top/build" --output-on-failure --timeout 300 -j "$(nproc)"
