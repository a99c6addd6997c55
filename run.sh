#!/usr/bin/env bash
# Builds what is missing and starts Ovrin.
set -euo pipefail
cd "$(dirname "$0")"

if [ -z "${DISPLAY:-}" ] && [ -z "${WAYLAND_DISPLAY:-}" ]; then
    echo "run.sh: no graphical session here (DISPLAY is not set). Run it from your desktop's terminal." >&2
    exit 1
fi

scripts/install-deps.sh --no-test
scripts/build.sh ovrin

exec build/bin/ovrin "$@"
