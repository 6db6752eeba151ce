#!/bin/sh
# Lines and branches of core to coder that the suite reaches. A template counts once, however many types it is made for.
#   tools/coverage.sh            the table
#   tools/coverage.sh --missing  and the lines and branches that nothing reaches
set -eu
cd "$(dirname "$0")/.."
for tool in clang++ llvm-profdata llvm-cov; do
    command -v "$tool" > /dev/null || { echo "coverage: install clang and llvm" >&2; exit 1; }
done
build=build/coverage
missing=no
[ "${1:-}" != --missing ] || missing=yes
cmake --preset coverage > /dev/null
cmake --build "$build" -j "${JOBS:-$(nproc)}"

rm -f "$build"/raw/*
# one file for each program, into which all its processes count
LLVM_PROFILE_FILE=$PWD/$build/raw/%m.profraw
export LLVM_PROFILE_FILE
# whole programs: a process for each of a few thousand tests would mostly write counters
for program in core framework model exec blocks files coder diagnose host properties fuzz; do
    program=$build/tests/$program/test_$program
    [ ! -x "$program" ] || "$program" --gtest_brief=1
done
ctest --test-dir "$build" --output-on-failure -R '^(host\.command|host\.vectors|examples)' -j "${JOBS:-$(nproc)}"

llvm-profdata merge --sparse -o "$build/all.profdata" "$build"/raw/*.profraw
set -- "$build/libblocks.so" -instr-profile="$build/all.profdata"
llvm-cov report "$@" --show-branch-summary --show-region-summary=false --show-instantiation-summary=false \
    core framework model exec blocks files coder
[ "$missing" = yes ] || exit 0
llvm-cov show "$@" --show-branches=count --show-instantiations=false core framework model exec blocks files coder |
    awk '/^\/.*:$/ { file = $0; next }
         / *[0-9]+\| *0\|/ { print file, $0 }
         /Branch \(.*(True: 0,|False: 0\])/ { print file, $0 }' | sed "s|^$PWD/||"
