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
if command -v valgrind > /dev/null; then
    {
        echo
        echo "## Instructions per block and step, by callgrind"
        echo
        tools/instructions.sh "$build"
    } | tee -a "$out"
fi
{
    echo
    echo "## Cost of each pass, chains of five blocks"
    echo
    echo '```'
    "$build/bench/bench_passes"
    echo '```'
    echo
    echo "## Objects next to bare virtual calls"
    echo
    echo '```'
    "$build/bench/bench_step_loop"
    echo '```'
} | tee -a "$out"
