// Which blocks and wires are worth elements of their own at a place and zoom of the canvas.
import type { Block, Handle, View, Wire } from "../server/protocol";
import { boundsOf, boxOfPoints, overlaps, type Box } from "./geometry";

/// Below this zoom a level with many blocks is painted as plain boxes.
export const plainBelow = 0.4;
/// A level with fewer blocks in sight is drawn in full at every zoom.
export const fullUpTo = 250;

export interface Sight {
    blocks: Block[];
    wires: Wire[];
    /// Whether there is too much to draw in full; then only `blocks` that must be elements are named.
    plain: boolean;
}

/// Boxes of all blocks and wires of a view, made once for it.
export class Boxes {
    readonly blocks: { block: Block; box: Box }[];
    readonly wires: { wire: Wire; box: Box }[];

    constructor(readonly view: View) {
        this.blocks = view.blocks.map((block) => ({ block, box: boundsOf(block) }));
        this.wires = view.wires.filter((w) => w.points.length > 1).map((wire) => ({ wire, box: boxOfPoints(wire.points) }));
    }
}

/// What is in sight of `area`, and what `always` names. Wires bring the blocks at their ends along.
export function sightOf(boxes: Boxes, area: Box, zoom: number, always: ReadonlySet<Handle>): Sight {
    const inSight = boxes.blocks.filter(({ box }) => overlaps(box, area));
    const plain = zoom < plainBelow && inSight.length > fullUpTo;
    if (plain) {
        return {
            plain,
            blocks: always.size === 0 ? [] : boxes.blocks.filter(({ block }) => always.has(block.id)).map((b) => b.block),
            wires: [],
        };
    }
    const shown = new Set(inSight.map(({ block }) => block.id));
    const wires = boxes.wires
        .filter(({ wire, box }) => {
            const touches = overlaps({ ...box, width: box.width + 1, height: box.height + 1 }, area);
            return touches || (wire.from && always.has(wire.from.block)) || (wire.to && always.has(wire.to.block));
        })
        .map(({ wire }) => wire);
    for (const { from, to } of wires) {
        if (from) shown.add(from.block);
        if (to) shown.add(to.block);
    }
    for (const id of always) shown.add(id);
    return { plain, wires, blocks: boxes.blocks.filter(({ block }) => shown.has(block.id)).map((b) => b.block) };
}

/// The topmost block at a point.
export function blockAt(boxes: Boxes, x: number, y: number): Block | null {
    for (let i = boxes.blocks.length - 1; i >= 0; --i) {
        const { block, box } = boxes.blocks[i] as { block: Block; box: Box };
        if (x >= box.x && x <= box.x + box.width && y >= box.y && y <= box.y + box.height) return block;
    }
    return null;
}
