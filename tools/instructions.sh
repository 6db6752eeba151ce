#!/bin/sh
# Instructions per block and step by callgrind: a figure that does not depend on the machine's mood.
#   tools/instructions.sh BUILD
set -eu
count() { # MODEL WAY STEPS
    valgrind --tool=callgrind --callgrind-out-file=/dev/null "$build/bench/bench_ways" --alone "$1" "$2" "$3" 2>&1 |
        sed -n 's/.*Collected *: *//p'
}
build=$1
echo "| model | way | instructions per block and step |"
echo "|---|---|---|"
for model in M1:18:2000:12000 M2:800:50:250; do
    name=${model%%:*}; rest=${model#*:}; blocks=${rest%%:*}; rest=${rest#*:}; few=${rest%%:*}; many=${rest#*:}
    for way in c objects plan; do
        a=$(count "$name" "$way" "$few"); b=$(count "$name" "$way" "$many")
        echo "$a $b $few $many $blocks" | awk -v n="$name" -v w="$way" '{printf "| %s | %s | %.1f |\n", n, w, ($2-$1)/(($4-$3)*$5)}'
    done
done
