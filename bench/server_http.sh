#!/usr/bin/env bash
# Throughput and latency of ovrin-server over HTTP: wrk on /health and on an authenticated
# /history list, and the time to the first line of an offline answer. Prints figures only.
# Usage: bench/server_http.sh [path/to/ovrin-server]   (build it first: scripts/build.sh)
set -euo pipefail
cd "$(dirname "$0")/.."
server=${1:-build/bin/ovrin-server}
for tool in wrk curl; do
    command -v "$tool" >/dev/null || { echo "$tool is missing (scripts/install-deps.sh)"; exit 1; }
done

work=$(mktemp -d)
XDG_CONFIG_HOME=$work/config "$server" --port 0 --data "$work/data" >"$work/log" 2>&1 &
pid=$!
trap 'kill $pid 2>/dev/null; wait $pid 2>/dev/null; rm -rf "$work"' EXIT
for _ in $(seq 100); do
    port=$(grep -o '127.0.0.1:[0-9]*' "$work/log" | cut -d: -f2 || true)
    [ -n "$port" ] && break
    sleep 0.1
done
[ -n "${port:-}" ] || { echo "the server did not start:"; cat "$work/log"; exit 1; }
base=http://127.0.0.1:$port

token=$(curl -sf "$base/auth/register" -H 'Content-Type: application/json' \
    -d '{"email":"bench@example.com","password":"bench password","name":"Bench"}' |
    sed -n 's/.*"token":"\([^"]*\)".*/\1/p')
auth="Authorization: Bearer $token"
for i in $(seq 200); do
    curl -sf "$base/history" -H "$auth" -H 'Content-Type: application/json' \
        -d "{\"kind\":\"dictation\",\"text\":\"Dictated sentence number $i for the benchmark.\"}" \
        >/dev/null
done

echo "== /health, 2 threads, 50 connections, 10 s"
wrk -t2 -c50 -d10s --latency "$base/health" | sed -n '/Latency/,/Transfer/p'
echo "== /history (200 entries, signed in), 2 threads, 50 connections, 10 s"
wrk -t2 -c50 -d10s --latency -H "$auth" "$base/history" | sed -n '/Latency/,/Transfer/p'

echo "== time to the first answer line of an offline question (50 runs)"
for i in $(seq 50); do
    curl -s -o /dev/null -w '%{time_starttransfer}\n' "$base/ask" -H "$auth" \
        -H 'Content-Type: application/json' \
        -d '{"question":"What time is it?","now":"2026-11-22T09:00:00+01:00"}'
done | sort -n | awk '{ t[NR] = $1 * 1000 } END {
    printf "median %.2f ms, p90 %.2f ms, max %.2f ms\n", t[int(NR / 2) + 1], t[int(NR * 0.9)], t[NR] }'
