# Configuring and building. Sourced by ./run and ./test after packages.sh.

# What the cache knows of one checkout serves another.
export CCACHE_BASEDIR=$PWD CCACHE_NOHASHDIR=1

# Runs a command in a process group of its own, so that a stop signal ends all of it at once; bash itself would wait
# for it first.
Interruptible() {
    trap 'trap - INT TERM; kill -- "-$running" 2>/dev/null; wait "$running"; exit 130' INT TERM
    set -m
    (set +m; "$@") </dev/null &
    running=$!
    set +m
    local status=0
    wait "$running" || status=$?
    trap - INT TERM
    return "$status"
}

# ninja without its words when nothing is to do.
Ninja() {
    ninja "$@" 2>&1 | sed -u '/Re-checking globbed directories/d; /ninja: no work to do/d; /ninja: Entering/d' >&2
    return "${PIPESTATUS[0]}"
}

# Build PRESET [TARGET...]: quiet when nothing is to do, else with progress on standard error.
Build() {
    local preset=$1 folder=build/$1 log=build/$1.log
    shift
    mkdir -p build || Give_Up "can't make the folder $PWD/build"
    if [[ ! -f $folder/build.ninja ]]; then
        echo "configuring the $preset build" >&2
        if ! Interruptible cmake --preset "$preset" >"$log" 2>&1; then
            tail -n 20 "$log" >&2
            Give_Up "the $preset build can't be configured (see $PWD/$log)"
        fi
    fi
    Interruptible Ninja -C "$folder" "$@" || Give_Up "the $preset build failed"
}
