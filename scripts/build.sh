#!/usr/bin/env bash
# Configures once and builds with ninja (ccache when present). Usage: scripts/build.sh [TARGET...]
set -euo pipefail
cd "$(dirname "$0")/.."
if [ ! -f build/build.ninja ]; then
    cmake -S . -B build -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo
fi
ninja -C build "$@"
