#!/bin/sh
# Every way of running every example, other processors included: all must give the same bits.
#   tools/verify.sh BUILD [OPTION...]      options go to zarn verify
# VERIFY_TARGETS chooses the processors. A compiler or an emulator that is not there is told as skipped.
set -eu
build=$1
shift
targets=${VERIFY_TARGETS:-aarch64,riscv64,s390x,armhf,cortex-m7,cortex-m3}
status=0
for workspace in examples/*/workspace.py; do
    folder=$(dirname "$workspace")
    model=$folder/$(basename "$folder").json
    echo "== $model"
    "$build/zarn" verify "$model" -w "$workspace" --targets "$targets" "$@" || status=1
done
exit "$status"
