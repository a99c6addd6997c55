#!/usr/bin/env bash
# Builds the libFuzzer targets with clang (ASan + UBSan) and runs each one for a number of
# inputs, starting from its seed corpus. Exits non-zero when any target finds a crash, a hang,
# a leak or undefined behaviour; the input is kept under <build dir>/fuzz/findings/<target>/.
# Usage: tests/fuzz/run.sh [runs-per-target, default 2000] [build dir, default build-fuzz]
set -euo pipefail

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd)
runs=${1:-2000}
build=${2:-build-fuzz}
[[ $build = /* ]] || build=$root/$build
# As scripts/build.sh: ccache keys relative to the checkout.
export CCACHE_BASEDIR=${CCACHE_BASEDIR:-$root} CCACHE_NOHASHDIR=${CCACHE_NOHASHDIR:-1}
targets=(fuzz_settings fuzz_shortcut fuzz_answer_stream fuzz_backend_records fuzz_correction
         fuzz_server_requests fuzz_wav_audio)

if ! grep -Eqs '^OVRIN_FUZZ:[A-Z]+=ON' "$build/CMakeCache.txt"; then
  if [ -f "$build/CMakeCache.txt" ] && ! grep -qs '^CMAKE_CXX_COMPILER:.*clang' "$build/CMakeCache.txt"; then
    echo "fuzz: $build is not a clang build; give a build directory of its own" >&2
    exit 2
  fi
  CC=clang-14 CXX=clang++-14 cmake -S "$root" -B "$build" -G Ninja -DOVRIN_FUZZ=ON \
    -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
fi
# Only the fuzz targets and the libraries they link: never the whole tree in this directory.
ninja --quiet -C "$build" fuzz_targets

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
findings=$build/fuzz/findings
failed=()
for target in "${targets[@]}"; do
  # A copy of the corpus: new inputs libFuzzer keeps must not land in the repository.
  cp -r "$root/tests/fuzz/corpus/$target" "$work/$target"
  mkdir -p "$findings/$target"
  log=$work/$target.log
  if (cd "$work" && "$build/fuzz/$target" -runs="$runs" -timeout=10 -rss_limit_mb=2048 \
        -artifact_prefix="$findings/$target/" "$work/$target" >"$log" 2>&1); then
    printf '%-22s %s\n' "$target" "$(grep -Eo 'DONE[[:space:]]+cov: [0-9]+ ft: [0-9]+ corp: [0-9]+' "$log" |
                                      tr -s ' \t' ' ' | tail -1)"
  else
    failed+=("$target")
    echo "$target: FAILED" >&2
    grep -E '^(==[0-9]+==ERROR|SUMMARY|.*runtime error|artifact_prefix|Test unit written)' "$log" >&2 ||
      tail -n 30 "$log" >&2
  fi
done

if [ ${#failed[@]} -gt 0 ]; then
  echo "fuzz: findings in ${failed[*]}; inputs are in $findings" >&2
  exit 1
fi
