// Places blocks in layers, signals running to the right, by the layout engine in its worker.
import type { ELK, ElkNode } from "elkjs/lib/elk-api";
import { boundsOf, unionOf } from "../canvas/geometry";
import type { Block, Operation, Wire } from "../server/protocol";
import { useStudio } from "../state/store";

const nameRoom = 18; // below a block, for its name
const grid = 5;

const options = {
    "elk.algorithm": "layered",
    "elk.direction": "RIGHT",
    "elk.layered.spacing.nodeNodeBetweenLayers": "60",
    "elk.spacing.nodeNode": "26",
    "elk.layered.spacing.edgeNodeBetweenLayers": "20",
    "elk.layered.nodePlacement.strategy": "NETWORK_SIMPLEX",
    "elk.layered.crossingMinimization.semiInteractive": "true",
    "elk.separateConnectedComponents": "true",
};

const portSides = { left: "WEST", right: "EAST", top: "NORTH", bottom: "SOUTH" };

/// The graph of blocks and the wires between them, with ports where they are.
export function graphOf(blocks: Block[], wires: Wire[]): ElkNode {
    const inside = new Set(blocks.map((block) => block.id));
    return {
        id: "level",
        layoutOptions: options,
        children: blocks.map((block) => {
            const bounds = boundsOf(block), dx = block.x - bounds.x, dy = block.y - bounds.y;
            const port = (kind: string) => (p: Block["inputs"][number]) => ({
                id: `${block.id} ${kind} ${p.index}`,
                x: p.x + dx,
                y: p.y + dy,
                width: 0,
                height: 0,
                layoutOptions: { "elk.port.side": portSides[p.side] },
            });
            return {
                id: block.id,
                width: bounds.width,
                height: bounds.height + nameRoom,
                layoutOptions: { "elk.portConstraints": "FIXED_POS" },
                ports: [...block.inputs.map(port("in")), ...block.outputs.map(port("out"))],
            };
        }),
        edges: wires.flatMap((wire) =>
            wire.from && wire.to && inside.has(wire.from.block) && inside.has(wire.to.block) && !wire.broken
                ? [{
                    id: wire.id,
                    sources: [`${wire.from.block} out ${wire.from.port}`],
                    targets: [`${wire.to.block} in ${wire.to.port}`],
                }]
                : [],
        ),
    };
}

/// One edit that puts blocks where the layout has them, from where their left upper corner was, and lets their wires
/// find their way.
export function placeOperations(blocks: Block[], wires: Wire[], placed: ElkNode): Operation[] {
    const corner = unionOf(blocks.map(boundsOf));
    const places = new Map(placed.children?.map((child) => [child.id, child]));
    const found = unionOf([...places.values()].map(({ x = 0, y = 0 }) => ({ x, y, width: 0, height: 0 })));
    if (!corner || !found) return [];
    const moved = new Set<string>();
    const operations = blocks.flatMap((block): Operation[] => {
        const place = places.get(block.id), bounds = boundsOf(block);
        if (!place) return [];
        const x = Math.round(((place.x ?? 0) - found.x) / grid) * grid + corner.x;
        const y = Math.round(((place.y ?? 0) - found.y) / grid) * grid + corner.y;
        if (block.placed && x === bounds.x && y === bounds.y) return [];
        moved.add(block.id);
        return [{ op: "geometry", block: block.id, x: x + block.x - bounds.x, y: y + block.y - bounds.y }];
    });
    const bent = wires.filter((w) => w.bends.length > 0 && ((w.from && moved.has(w.from.block)) || (w.to && moved.has(w.to.block))));
    return [...bent.map((wire): Operation => ({ op: "bends", wire: wire.id, points: [] })), ...operations];
}

let engine: Promise<ELK> | null = null;

/// The engine, loaded when it is first asked for.
function elk(): Promise<ELK> {
    engine ??= (async () => {
        const [{ default: Elk }, { default: address }] = await Promise.all([
            import("elkjs/lib/elk-api"),
            import("elkjs/lib/elk-worker.min.js?url"),
        ]);
        return new Elk({ workerFactory: () => new Worker(address) });
    })();
    return engine;
}

/// Lays out the selected blocks, or the whole level when fewer than two are selected.
export async function layoutLevel(): Promise<void> {
    const { view, selectedBlocks, edit, say, fail } = useStudio.getState();
    if (!view?.editable) return;
    const chosen = new Set(selectedBlocks);
    const blocks = chosen.size > 1 ? view.blocks.filter((block) => chosen.has(block.id)) : view.blocks;
    if (blocks.length === 0) return;
    try {
        const placed = await (await elk()).layout(graphOf(blocks, view.wires));
        const operations = placeOperations(blocks, view.wires, placed);
        if (operations.length === 0) return say("note", "Everything stands where the layout would put it.");
        if (await edit(operations)) useStudio.getState().fit();
    } catch (error) {
        fail(error);
    }
}
