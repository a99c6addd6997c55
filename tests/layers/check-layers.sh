#!/usr/bin/env bash
# Fails when a library of src/ includes, links or imports a layer it may not use.
# The allowed arrows are read from the `layers` block of docs/ARCHITECTURE.md, so the
# map and the check cannot drift apart.
#   tests/layers/check-layers.sh [repository root]
set -euo pipefail
root=${1:-$(cd "$(dirname "$0")/../.." && pwd)}
map=$root/docs/ARCHITECTURE.md

declare -A allowed
while read -r layer uses; do
    allowed[${layer%:}]=" ${layer%:} $uses "
done < <(sed -n '/^```layers$/,/^```$/{/^```/d;p}' "$map")
[ ${#allowed[@]} -gt 0 ] || { echo "no layers block in $map" >&2; exit 2; }

failures=0
complain() {
    echo "$1" >&2
    failures=$((failures + 1))
}

# The layer a path under src/ belongs to: its first folder, or platform/<system>.
layer_of() {
    case $1 in
    platform/*/*) local rest=${1#platform/}; echo "platform/${rest%%/*}" ;;
    *) echo "${1%%/*}" ;;
    esac
}

for dir in "$root"/src/*/ "$root"/src/platform/*/; do
    dir=${dir%/}
    layer=$(layer_of "${dir#"$root"/src/}/")
    [ -n "${allowed[$layer]:-}" ] || { complain "src/$layer is missing from the map in docs/ARCHITECTURE.md"; continue; }
    # Sources of platform/ itself exclude its subfolders, each a layer of its own.
    if [ "$layer" = platform ]; then depth=(-maxdepth 1); else depth=(); fi

    # #include "<layer>/…"
    while IFS=: read -r file line text; do
        used=$(layer_of "$(sed -E 's/.*#include "([^"]+)".*/\1/' <<<"$text")")
        [ -n "${allowed[$used]:-}" ] || continue # a header of this folder, not a layer
        [[ ${allowed[$layer]} == *" $used "* ]] ||
            complain "${file#"$root"/}:$line: $layer may not include $used"
    done < <(find "$dir" "${depth[@]}" \( -name '*.h' -o -name '*.cpp' \) -print0 |
        xargs -0 -r grep -Hn '^#include "[a-z]*/' || true)

    # target_link_libraries(… ovrin_<layer> …)
    cmake=$dir/CMakeLists.txt
    if [ -f "$cmake" ]; then
        for target in $(grep -oE '\bovrin_[a-z_]+\b' "$cmake" | sort -u); do
            used=${target#ovrin_}
            [[ $used == platform_* ]] && used=platform/${used#platform_}
            [ -n "${allowed[$used]:-}" ] || continue # a target that is not a layer
            [[ ${allowed[$layer]} == *" $used "* ]] ||
                complain "${cmake#"$root"/}: $layer may not link ovrin_${target#ovrin_}"
        done
    fi

    # import Ovrin.<Module> in QML: the module of each layer is named after it.
    while IFS=: read -r file line text; do
        module=$(sed -E 's/.*import Ovrin\.([A-Za-z]+).*/\1/' <<<"$text" | tr '[:upper:]' '[:lower:]')
        [ -n "${allowed[$module]:-}" ] || continue
        [[ ${allowed[$layer]} == *" $module "* ]] ||
            complain "${file#"$root"/}:$line: $layer may not import Ovrin.${module^}"
    done < <(find "$dir" -name '*.qml' -print0 | xargs -0 -r grep -Hn '^import Ovrin\.' || true)
done

if [ $failures -gt 0 ]; then
    echo "$failures layering violation(s); docs/ARCHITECTURE.md lists the allowed arrows." >&2
    exit 1
fi
echo "layers: every include, link and import points down"
