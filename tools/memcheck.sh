#!/bin/sh
# Short runs of the command under valgrind's memcheck: reads and writes out of bounds, values never set, and memory that
# nobody can free any more.
#   tools/memcheck.sh [BUILD]        by default build/release
set -eu
cd "$(dirname "$0")/.."
build=${1:-build/release}
command -v valgrind > /dev/null || { echo "memcheck: install valgrind" >&2; exit 1; }
[ -x "$build/zarn" ] || { echo "memcheck: no command in $build; build it first" >&2; exit 1; }
dir=$(mktemp -d)
trap 'rm -rf "$dir"' EXIT

check() {
    echo "zarn $*"
    valgrind --quiet --error-exitcode=99 --leak-check=full --show-leak-kinds=definite --errors-for-leak-kinds=definite \
        --suppressions=tools/valgrind-python.supp "$build/zarn" "$@" > "$dir/out" 2> "$dir/errors" || {
        status=$?
        cat "$dir/errors" >&2
        echo "memcheck: zarn $* ended with $status" >&2
        exit 1
    }
}

motor=examples/motor/motor.json
check run --no-python tests/data/vectors/nested/nested_700009.json
check run "$motor" -w examples/motor/workspace.py --set tf=0.05 --probe-all -o "$dir/motor.csv"
check check "$motor" -w examples/motor/workspace.py
check explain "$motor" -w examples/motor/workspace.py
check inspect --json "$motor" -w examples/motor/workspace.py
check draw "$motor" -w examples/motor/workspace.py -o "$dir/motor.svg"
check generate c "$motor" "$dir/c" -w examples/motor/workspace.py
check generate py "$motor" "$dir/py" -w examples/motor/workspace.py
echo "memcheck: no errors"
