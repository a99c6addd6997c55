#!/usr/bin/env bash
# Configures once and builds with ninja (ccache when present). Usage: scripts/build.sh [TARGET...]
# OVRIN_BUILD_DIR picks another build directory; OVRIN_CMAKE_ARGS adds configure options.
set -euo pipefail
cd "$(dirname "$0")/.."
dir=${OVRIN_BUILD_DIR:-build}
# Paths relative to the checkout in ccache's key: a checkout elsewhere (CI's) reuses the cache.
export CCACHE_BASEDIR=${CCACHE_BASEDIR:-$PWD} CCACHE_NOHASHDIR=${CCACHE_NOHASHDIR:-1}
if [ ! -f "$dir/build.ninja" ]; then
    # shellcheck disable=SC2086 # the options are words
    cmake -S . -B "$dir" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo ${OVRIN_CMAKE_ARGS:-}
fi
ninja -C "$dir" "$@"
