// Operations computed from places of blocks. Nothing here asks the server.
import { boundsOf, unionOf } from "../canvas/geometry";
import type { Block, Operation, PortRef } from "../server/protocol";

export type Edge = "left" | "center" | "right" | "top" | "middle" | "bottom";

// by how much a block must move for its edge to stand at a line
function offset(block: Block, edge: Edge, line: { x: number; y: number; width: number; height: number }): [number, number] {
    const b = boundsOf(block);
    switch (edge) {
        case "left": return [line.x - b.x, 0];
        case "center": return [line.x + line.width / 2 - (b.x + b.width / 2), 0];
        case "right": return [line.x + line.width - (b.x + b.width), 0];
        case "top": return [0, line.y - b.y];
        case "middle": return [0, line.y + line.height / 2 - (b.y + b.height / 2)];
        case "bottom": return [0, line.y + line.height - (b.y + b.height)];
    }
}

const moveOf = (block: Block, dx: number, dy: number): Operation[] =>
    dx === 0 && dy === 0 ? [] : [{ op: "move", blocks: [block.id], dx, dy }];

export function alignOperations(blocks: Block[], edge: Edge): Operation[] {
    const all = unionOf(blocks.map(boundsOf));
    if (!all || blocks.length < 2) return [];
    return blocks.flatMap((block) => moveOf(block, ...offset(block, edge, all)));
}

/// Equal gaps between neighbours; the outer ones stay.
export function distributeOperations(blocks: Block[], axis: "x" | "y"): Operation[] {
    if (blocks.length < 3) return [];
    const size = axis === "x" ? "width" : "height";
    const sorted = blocks.map((block) => ({ block, box: boundsOf(block) })).sort((a, b) => a.box[axis] - b.box[axis]);
    const first = sorted[0]?.box, last = sorted.at(-1)?.box;
    if (!first || !last) return [];
    const room = last[axis] + last[size] - first[axis];
    const gap = (room - sorted.reduce((sum, { box }) => sum + box[size], 0)) / (sorted.length - 1);
    let at = first[axis];
    return sorted.flatMap(({ block, box }) => {
        const by = Math.round(at - box[axis]);
        at += box[size] + gap;
        return axis === "x" ? moveOf(block, by, 0) : moveOf(block, 0, by);
    });
}

export function turnOperations(blocks: Block[], by: number): Operation[] {
    return blocks.map((block) => ({ op: "geometry", block: block.id, rotation: (((block.rotation + by) % 360) + 360) % 360 }));
}

/// The first output of one block that feeds nothing yet, or its first, and the first open input of another.
export function freePair(first: Block, second: Block): { from: PortRef; to: PortRef } | null {
    const output = first.outputs.find((port) => !port.linked) ?? first.outputs[0];
    const input = second.inputs.find((port) => !port.linked && !port.broken && port.index >= 0);
    if (!output || !input) return null;
    return { from: { block: first.id, port: output.index }, to: { block: second.id, port: input.index } };
}
