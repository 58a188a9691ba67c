#!/bin/bash
# The word sizes of the instrument's processor: cross-builds for 32-bit ARM, runs unit tests under emulation and compares
# both sides of the seam. tests/arm.sh [BUILD FOLDER], after the release build, which makes words and pictures.
cd "$(dirname "${BASH_SOURCE[0]}")/.." || exit 2
build=${1-build/arm}

# Long statistics of the receiver model: much arithmetic, the same on every machine.
left_out=(Core.NarrowVideoFilterSmoothsNoiseToItsLogAverage Core.NoiseDensityFollowsNoiseFigureOverAllBandwidths
    Receiver.QuasiPeakWeighsImpulsesByTheirRate Receiver.SteadyCarrierReadsTheSameInAllDetectors
    Autoset.FindsTheStrongestSignalWhereverItStands Autoset.TheSpanFollowsTheWidthOfTheSignal
    Autoset.WhileItRunsAllElseWaits)
export KVA720_PROPERTY_CALLS=5000

tools/arm_sysroot.sh || exit
if [[ ! -f $build/build.ninja ]]; then
    cmake --preset arm -B "$build" >"$build.log" 2>&1 || { tail -n 20 "$build.log" >&2; exit 2; }
fi
ninja -C "$build" kva720 kva720-web unit_tests board_tests || exit

# Every call of the seam's headers that the virtual side defines, the board's defines too.
Seam_Calls() {
    arm-linux-gnueabihf-nm -C --defined-only "$build/libkva720_platform_$1.a" 2>/dev/null |
        sed -n 's/^[0-9a-f]* T \(platform::[A-Z][A-Za-z_0-9]*(.*\)$/\1/p' | sort
}
declared=$(cat platform/*.h)
missing=$(comm -23 <(Seam_Calls virtual) <(Seam_Calls board) | while read -r call; do
    name=${call#platform::}
    grep -qw "${name%%(*}" <<<"$declared" && echo "$call"
done)
if [[ -n $missing ]]; then
    echo "the board's side of the seam lacks:"
    echo "$missing"
    exit 1
fi

unset KVA720_RECORDINGS  # minutes of the same arithmetic
emulator=(qemu-arm -L build/arm-sysroot)
shards=$(nproc)
workers=() status=0
for ((shard = 0; shard < shards; shard++)); do
    GTEST_TOTAL_SHARDS=$shards GTEST_SHARD_INDEX=$shard GTEST_BRIEF=1 \
        "${emulator[@]}" "$build/bin/unit_tests" --gtest_filter="-$(IFS=:; echo "${left_out[*]}")" &
    workers+=($!)
done
for shard in "${workers[@]}"; do
    wait "$shard" || status=1
done
GTEST_BRIEF=1 "${emulator[@]}" "$build/bin/board_tests" || status=1
exit "$status"
