#!/usr/bin/env bash
# Installs what is missing, builds, starts the headless services the tests need
# (X server, D-Bus, AT-SPI, keyring, audio, tray), runs every test and stops exactly
# what it started.
#   ./test.sh              the whole suite, end-to-end tests and packaging included, then
#                          a short run of every fuzz target (clang, in build-fuzz/)
#   ./test.sh --sanitize   unit, integration and server tests built with AddressSanitizer
#                          and UndefinedBehaviorSanitizer, in build-sanitize/
set -euo pipefail
cd "$(dirname "$0")"
top=$PWD

labels=
case "${1:-}" in
"") ;;
--sanitize)
    export OVRIN_BUILD_DIR=build-sanitize
    export OVRIN_CMAKE_ARGS="-DOVRIN_SANITIZE=ON -DOVRIN_BUILD_BENCH=OFF"
    labels='^(unit|integration|server)$'
    # Leaks in the desktop libraries Qt loads (fontconfig, GLib, D-Bus, Mesa) are theirs;
    # tests/CMakeLists.txt turns the leak check off for the programs that render Qt Quick.
    export ASAN_OPTIONS=detect_leaks=1
    export LSAN_OPTIONS=suppressions=$top/tests/sanitizers/lsan.supp:print_suppressions=0
    export UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1
    ;;
*)
    echo "usage: ./test.sh [--sanitize]" >&2
    exit 2
    ;;
esac
build=$top/${OVRIN_BUILD_DIR:-build}

scripts/install-deps.sh
scripts/build.sh

source scripts/ci_env.sh
# Keep the services' logs only when something failed.
trap 'rc=$?; ci_stop; [ $rc -ne 0 ] || rm -rf "$CI_ROOT"; exit $rc' EXIT
ci_start

ctest --test-dir "$build" --output-on-failure --timeout 300 -j "$(nproc)" ${labels:+-L "$labels"}
# Every reader of outside input, fed a couple of thousand mutated inputs each.
if [ -z "$labels" ]; then tests/fuzz/run.sh 2000; fi
