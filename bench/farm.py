"""Writes the chain farm as a model file: farm.py CHAINS STEPS > FILE. A chain is eight blocks."""

import json
import sys

FIRST_ID = 1_000_000_000_000_000
STEP_S = 1e-3


def farm(chains, steps):
    blocks, links = [], []

    def add(kind, name, inputs=0, **parameters):
        number = FIRST_ID + len(blocks)
        blocks.append({kind: {"name": name, "id": number, "parent": 0, "inportCount": inputs, "outportCount": 1, **parameters}})
        return number

    def link(source, target, port=0):
        links.append({"srcId": source, "dstId": target, "srcPort": 0, "dstPort": port})

    for i in range(chains):
        frequency, phase = 2 * 3.141592653589793 * (0.5 + 0.01 * (i % 100)), 0.1 * (i % 63)
        wave = add("sinewave", f"s{i}", amplitude="1.0", frequency=repr(frequency), phase=repr(phase))
        factor = add("constant", f"c{i}", expression=repr(0.8 + 0.002 * (i % 200)))
        product = add("multiply", f"m{i}", 2)
        offset = add("constant", f"d{i}", expression=repr(-0.3 + 0.005 * (i % 120)))
        total = add("add", f"a{i}", 2)
        delay = add("memory", f"z{i}", 1)
        table = add("lut1d", f"l{i}", 1, bp1="[-1, -0.4, 0, 0.5, 1.2]", out="[-0.8, -0.5, 0.1, 0.4, 1.0]")
        result = add("add", f"o{i}", 2)
        link(wave, product), link(factor, product, 1)
        link(product, total), link(offset, total, 1)
        link(total, delay), link(delay, table)
        link(table, result), link(wave, result, 1)
    return {"blocks": blocks, "links": links, "model": {"ti": 0.0, "tf": (steps - 0.5) * STEP_S, "ts": STEP_S}}


if __name__ == "__main__":
    if len(sys.argv) != 3:
        sys.exit(__doc__)
    json.dump(farm(int(sys.argv[1]), int(sys.argv[2])), sys.stdout)
