#!/bin/sh
# Ten thousand motors whose parts spread; options go on to zarn sweep. See robustness.md.
cd "$(dirname "$0")" || exit 1
exec "${ZARN:-zarn}" sweep motor.json -w workspace.py --random 10000 --seed 1 \
    --vary 'R~normal(1,0.05)' --vary 'L~normal(0.05,0.005)' --vary 'K~normal(0.1,0.004)' \
    --vary 'J~lognormal(-6.2146,0.1)' --vary 'b~lognormal(-7.6,0.25)' "$@"
