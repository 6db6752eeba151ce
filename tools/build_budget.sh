#!/bin/sh
# Measures a clean Release build of the library and the command, without the compiler cache: seconds, the largest
# compiler process, and the size of the stripped library.
set -eu
dir=$(mktemp -d)
trap 'rm -rf "$dir"' EXIT
cmake --preset release -B "$dir/build" -DBLOCKS_TESTS=OFF -DBLOCKS_BENCH=OFF > /dev/null
export CCACHE_DISABLE=1
/usr/bin/python3 - "$dir/build" <<'PY'
import resource, subprocess, sys, time
begin = time.monotonic()
subprocess.run(["cmake", "--build", sys.argv[1], "-j"], check=True, stdout=subprocess.DEVNULL)
usage = resource.getrusage(resource.RUSAGE_CHILDREN)
print(f"clean Release build: {time.monotonic() - begin:.0f} s, {usage.ru_utime + usage.ru_stime:.0f} s of processor time")
print(f"largest compiler process: {usage.ru_maxrss / 1048576:.2f} GB")
PY
strip -o "$dir/stripped" "$dir"/build/libblocks.so.*.*.*
echo "libblocks.so stripped: $(($(stat -c %s "$dir/stripped") / 1024)) KiB"
