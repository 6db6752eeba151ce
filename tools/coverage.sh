#!/bin/sh
# Lines and branches of core to coder that the suite reaches. A template counts once, however many types it is made for.
#   tools/coverage.sh            the table
#   tools/coverage.sh --files    with a row for each file
#   tools/coverage.sh --missing  and the lines and branches that nothing reaches
set -eu
cd "$(dirname "$0")/.."
for tool in clang++ llvm-profdata llvm-cov; do
    command -v "$tool" > /dev/null || { echo "coverage: install clang and llvm" >&2; exit 1; }
done
build=build/coverage
cmake --preset coverage > /dev/null
cmake --build "$build" -j "${JOBS:-$(nproc)}"

rm -rf "$build/raw"
# one file for each program, into which all its processes count
LLVM_PROFILE_FILE=$PWD/$build/raw/%m.profraw
export LLVM_PROFILE_FILE
objects=
failed=
# whole programs: a process for each of a few thousand tests would mostly write counters
for folder in core framework model exec blocks files coder properties fuzz diagnose host; do
    program=$build/tests/$folder/test_$folder
    [ -x "$program" ] || continue
    "$program" --gtest_brief=1 || failed="$failed $folder"
    case $folder in
        diagnose | host) ;;  # they reach the library as hosts do: what they count is in libblocks.so
        *) objects="$objects -object $program" ;;
    esac
done
export ZARN_PATIENCE=5  # the build is not optimized
ctest --test-dir "$build" --output-on-failure -R '^(host\.command|host\.vectors|examples)' -j "${JOBS:-$(nproc)}" ||
    failed="$failed command"

llvm-profdata merge --sparse -o "$build/all.profdata" "$build"/raw/*.profraw
# shellcheck disable=SC2086  # one word for each part
llvm-cov show "$build/libblocks.so" $objects -instr-profile="$build/all.profdata" -compilation-dir="$PWD/$build" \
    --show-branches=count --show-instantiations=false > "$build/lines.txt"
/usr/bin/python3 -B tools/coverage_table.py "$@" core framework model exec blocks files coder < "$build/lines.txt"

# times that a test allows are meant for optimized builds, so a failure does not withhold the table
[ -z "$failed" ] || { echo "coverage: tests failed in:$failed" >&2; exit 1; }
