#!/bin/sh
# Runs the fuzz targets: tools/fuzz.sh [SECONDS [TARGET...]], by default 600 seconds for each of them.
# New inputs that reach more code are kept in build/fuzz/corpus; an input that fails is left in build/fuzz/failures.
set -eu
cd "$(dirname "$0")/.."
seconds=${1:-600}
[ $# -gt 0 ] && shift
[ $# -gt 0 ] || set -- loader models generators literals names
jobs=${JOBS:-$(nproc)}

cmake --preset fuzz >/dev/null
programs=""
for target in "$@"; do programs="$programs fuzz_$target"; done
# shellcheck disable=SC2086
ninja -C build/fuzz -j "$jobs" $programs

# generated projects need no disk
[ -w /dev/shm ] && export TMPDIR=/dev/shm

status=0
mkdir -p build/fuzz/failures
for target in "$@"; do
    mkdir -p "build/fuzz/corpus/$target"
    log=build/fuzz/$target.log
    if ! "build/fuzz/tests/fuzz/fuzz_$target" -max_total_time="$seconds" -timeout=20 -rss_limit_mb=2048 \
        -print_final_stats=1 -artifact_prefix="build/fuzz/failures/$target-" \
        "build/fuzz/corpus/$target" "tests/fuzz/corpus/$target" >"$log" 2>&1; then
        echo "$target: FAILED, see $log"
        status=1
    fi
    runs=$(sed -n 's/^stat::number_of_executed_units: *//p' "$log")
    edges=$(sed -n 's/.* cov: \([0-9]*\) .*/\1/p' "$log" | tail -n 1)
    echo "$target: ${runs:-?} executions, ${edges:-?} edges covered"
done
exit $status
