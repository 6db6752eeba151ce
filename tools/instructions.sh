#!/bin/sh
# Instructions by callgrind, a figure that does not depend on the machine or its mood: of a block and step, and of each
# pass.
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

# Passes: what each costs with everything that it calls, for ten times the model. Names as callgrind spells functions.
passes() { # CHAINS
    out=$(mktemp)
    valgrind --tool=callgrind --callgrind-out-file="$out" "$build/bench/bench_passes" --alone "$1" > /dev/null 2>&1
    callgrind_annotate --inclusive=yes --threshold=100 "$out" | sed 's/,//g' |
        awk -v names="$names" '{ for (i = 1; i <= n; ++i) if (index($0, name[i] "(")) { if ($1 > cost[i]) cost[i] = $1 } }
             BEGIN { n = split(names, name, " ") }
             END { for (i = 1; i <= n; ++i) print name[i], cost[i] }'
    rm -f "$out"
}
names="tessel::json::load"
for pass in validate build_enable_map build_python_struct reroute_due_to_goto calculate_tiers clear_link_flags \
    create_links check_links calculate_types calculate_zones reroute_due_to_cast sort_by_zone build_exec \
    group_by_subsystem; do
    names="$names tessel::MetaModel::$pass"
done
names="$names tessel::ExecModel::run"
few=$(mktemp); many=$(mktemp)
passes 1000 > "$few"; passes 10000 > "$many"
echo
echo "| pass, chains of five blocks | instructions a block, 1,000 chains | 10,000 chains | times per tenfold |"
echo "|---|---|---|---|"
join "$few" "$many" | awk '$2 > 0 {sub(/.*::/, "", $1); printf "| %s | %.1f | %.1f | %.2f |\n", $1, $2/5000, $3/50000, $3/$2}'
rm -f "$few" "$many"
