#!/bin/sh
# Runs all benchmarks of a Release build and writes their tables to bench/results.md.
#   tools/bench.sh BUILD [--quick]
set -eu
build=$1
quick=${2:-}
out=bench/results.md
{
    echo "# Benchmark results"
    echo
    echo "$(date -u '+%Y-%m-%d'), $(sed -n 's/^model name[^:]*: //p' /proc/cpuinfo | head -n 1), $(nproc) cores, $(c++ --version | head -n 1)."
    echo "Figures are ratios within one run on one machine: compare rows, not pages. Load average at the start: $(cut -d' ' -f1 /proc/loadavg)."
    echo
} > "$out"
# shellcheck disable=SC2086
"$build/bench/bench_ways" $quick --out "$out"
table() { # HEADING PROGRAM...: a program that prints a table
    echo
    echo "## $1"
    echo
    shift
    "$@"
}
figures() { # HEADING PROGRAM...: a program that prints plain text
    echo
    echo "## $1"
    echo
    shift
    echo '```'
    "$@" 2> /dev/null || echo "(status $?)"
    echo '```'
}
{
    # shellcheck disable=SC2086
    table "Threads, 40 zones of 2,000 blocks" "$build/bench/bench_threads" $quick
    # shellcheck disable=SC2086
    [ ! -x "$build/bench/bench_lanes" ] || "$build/bench/bench_lanes" $quick
    [ ! -x "$build/bench/bench_recording" ] || table "Recording and files" "$build/bench/bench_recording" $quick
    # shellcheck disable=SC2086
    [ ! -x "$build/bench/bench_native" ] || table "Machine code made for the model" "$build/bench/bench_native" $quick
    [ ! -x "$build/zarn" ] || table "The exported motor beside the one by hand" bench/exported.py "$build/zarn"
    # shellcheck disable=SC2086
    [ ! -x "$build/zarn" ] || table "The command" bench/command.py "$build" $quick
    [ ! -d "$build/python/zarn" ] || table "In Python" env PYTHONPATH="$build/python" bench/python.py
    ! command -v valgrind > /dev/null || table "Instructions, by callgrind" tools/instructions.sh "$build"
    # shellcheck disable=SC2086
    figures "Growth of each pass, chains of five blocks" "$build/bench/bench_passes" $quick
    figures "Objects next to bare virtual calls" "$build/bench/bench_step_loop"
    [ ! -x "$build/bench/bench_parts" ] ||
        figures "Parts: passes over 8,000 blocks, steps of 256 blocks of a family, conversions of 1,024 values" \
            "$build/bench/bench_parts" --benchmark_min_time=0.1
    echo
    echo "## Build"
    echo
    echo "Measured by \`tools/build_budget.sh\`; see bench/README.md."
} | tee -a "$out"
