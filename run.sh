#!/usr/bin/env bash
# Builds what is missing and starts Ovrin.
set -euo pipefail
cd "$(dirname "$0")"

if [ -z "${DISPLAY:-}" ] && [ -z "${WAYLAND_DISPLAY:-}" ]; then
    echo "run.sh: no graphical session here (DISPLAY is not set). Run it from your desktop's terminal." >&2
    exit 1
fi

scripts/install-deps.sh --no-test
targets=(ovrin)
[ -f server/CMakeLists.txt ] && targets+=(ovrin-server)
scripts/build.sh "${targets[@]}"

# The companion server, unless one already answers on its port.
if [ -x build/bin/ovrin-server ] && ! (exec 3<>/dev/tcp/127.0.0.1/8787) 2>/dev/null; then
    mkdir -p "${XDG_STATE_HOME:-$HOME/.local/state}/Ovrin"
    build/bin/ovrin-server >>"${XDG_STATE_HOME:-$HOME/.local/state}/Ovrin/server.log" 2>&1 &
    echo "run.sh: started ovrin-server (log in ${XDG_STATE_HOME:-$HOME/.local/state}/Ovrin/server.log)"
fi

OVRIN_LAUNCHER=run.sh exec build/bin/ovrin "$@"
