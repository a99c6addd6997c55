#!/usr/bin/env bash
# The running application: cold start to tray ready (the launch log's "Launched."), then
# CPU (% of one core) and resident memory while it idles. Prints figures only.
# Runs on the current desktop, or in a headless session of its own when there is none.
# Usage: bench/app_idle.sh [idle seconds, default 60]   (build first: scripts/build.sh)
set -euo pipefail
cd "$(dirname "$0")/.."
idle=${1:-60}
app=${OVRIN_BUILD_DIR:-build}/bin/ovrin
[ -x "$app" ] || { echo "build it first: scripts/build.sh"; exit 1; }

# Only a session started here is stopped and removed here.
own_session=
if [ -z "${DISPLAY:-}" ]; then
    unset CI_ROOT
    source scripts/ci_env.sh
    ci_start >/dev/null
    own_session=1
    trap 'ci_stop >/dev/null 2>&1; rm -rf "$CI_ROOT"' EXIT
fi

work=$(mktemp -d)
export XDG_CONFIG_HOME=$work/config XDG_DATA_HOME=$work/data XDG_STATE_HOME=$work/state
start=$(date +%s%N)
OVRIN_LAUNCHER=run.sh "$app" 2>"$work/log" &
pid=$!
cleanup_app() { kill "$pid" 2>/dev/null; wait "$pid" 2>/dev/null; rm -rf "$work"; }
trap 'cleanup_app; [ -n "$own_session" ] && { ci_stop >/dev/null 2>&1; rm -rf "$CI_ROOT"; }' EXIT
until grep -q 'Launched\.' "$work/log" 2>/dev/null; do
    kill -0 "$pid" 2>/dev/null || { echo "ovrin exited:"; cat "$work/log"; exit 1; }
    [ $(( ($(date +%s%N) - start) / 1000000000 )) -lt 30 ] || { echo "no launch in 30 s"; exit 1; }
    sleep 0.005
done
ready_ms=$(( ($(date +%s%N) - start) / 1000000 ))

ticks() { awk '{print $14 + $15}' "/proc/$pid/stat"; }
sleep 5 # let the first backend check and the window settle
t0=$(ticks)
sleep "$idle"
t1=$(ticks)
hz=$(getconf CLK_TCK)
cpu=$(awk -v d=$((t1 - t0)) -v hz="$hz" -v s="$idle" 'BEGIN { printf "%.2f", 100 * d / hz / s }')
rss=$(awk '/^VmRSS/ { printf "%.0f", $2 / 1024 }' "/proc/$pid/status")

printf '%-40s %10s\n' "cold start to tray ready" "${ready_ms} ms"
printf '%-40s %10s\n' "idle CPU over ${idle} s" "${cpu} %"
printf '%-40s %10s\n' "idle resident memory" "${rss} MB"
