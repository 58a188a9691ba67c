#!/bin/bash
# Builds every fuzz target, runs it on its kept inputs in fuzz/inputs/NAME and then on a bounded number of others made from
# them, the same in each run. tests/fuzz.sh [RUNS] [SECONDS AT MOST A TARGET]
cd "$(dirname "${BASH_SOURCE[0]}")/.." || exit 2
source tools/packages.sh
source tools/build.sh
runs=${1-20000}
seconds=${2-15}
build=build/fuzz

Build fuzz fuzz_targets
ninja -C "$build" -t cleandead >/dev/null
crashes=$build/crashes
mkdir -p "$crashes" || Give_Up "can't make the folder $PWD/$crashes"

# A sanitizer needs its shadow's addresses free, which strong address randomisation doesn't promise.
fixed=()
setarch "$(uname -m)" -R true 2>/dev/null && fixed=(setarch "$(uname -m)" -R)

# Fuzz TARGET ARGUMENT...: a crashing input stays in the folder of crashes.
Fuzz() {
    local target=$1
    shift
    "${fixed[@]}" "$target" -seed=1 -timeout=10 -rss_limit_mb=1024 -artifact_prefix="$crashes/$(basename "$target")-" \
        "$@" </dev/null >>"$log" 2>&1
}

failed=0
shopt -s nullglob
for target in "$build"/bin/fuzz_*; do
    name=$(basename "$target")
    kept=fuzz/inputs/${name#fuzz_}
    found=$build/found/$name
    log=$build/$name.log
    : >"$log"
    rm -rf "$found"
    mkdir -p "$found"
    inputs=("$kept"/*)
    if [[ ${#inputs[@]} == 0 ]]; then
        echo "$name: FAILED, there are no inputs in $kept"
        failed=1
    elif ! Fuzz "$target" "${inputs[@]}"; then
        echo "$name: FAILED on a kept input: $(sed -n 's/^Running: //p' "$log" | tail -n 1) (see $log)"
        grep -m 3 -E 'ERROR: |SUMMARY: |runtime error: ' "$log"
        failed=1
    elif ! Fuzz "$target" -runs="$runs" -max_total_time="$seconds" "$found" "$kept"; then
        echo "$name: FAILED, input: $(sed -n 's/.*Test unit written to //p' "$log" | tail -n 1) (see $log)"
        grep -m 3 -E 'ERROR: |SUMMARY: |runtime error: ' "$log"
        failed=1
    else
        echo "$name: ${#inputs[@]} kept inputs, then$(sed -n 's/^Done\( .*\)/\1/p' "$log" | tail -n 1)"
    fi
done
exit "$failed"
