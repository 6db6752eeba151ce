// What a gesture or a key does: operations made of what is selected.
import type { BlockClass, Handle, Operation, PortRef } from "../server/protocol";
import { ServerError } from "../server/rpc";
import { boundsOf, unionOf, type Box } from "../canvas/geometry";
import { alignOperations, distributeOperations, freePair, turnOperations, type Edge } from "./operations";
import type { QuickInsert } from "./shell";
import { useStudio } from "./store";

const get = () => useStudio.getState();
export const grid = 5;
export const snapped = (v: number) => Math.round(v / grid) * grid;

/// The middle of what is in sight, in canvas units; the canvas puts its own in.
export const sight: { middle: () => { x: number; y: number }; pointer: { x: number; y: number } | null } = {
    middle: () => ({ x: 0, y: 0 }),
    pointer: null,
};

const selectedBlocks = () => {
    const { selectedBlocks: ids, blockById } = get();
    return ids.map((id) => blockById.get(id)).filter((b) => b !== undefined);
};

// a place that no block covers, from the wanted one downwards
function freePlace(x: number, y: number, width: number, height: number) {
    const boxes = (get().view?.blocks ?? []).map(boundsOf);
    const taken = (at: number) => boxes.some((b) => Math.abs(b.x + b.width / 2 - (x + width / 2)) < (b.width + width) / 2 &&
        Math.abs(b.y + b.height / 2 - (at + height / 2)) < (b.height + height) / 2 + 12);
    let at = y;
    while (taken(at)) at += grid * 4;
    return { x, y: at };
}

/// Puts a block of a class at a place, or in the middle of what is in sight; wires it to what the place names.
export async function insertBlock(of: BlockClass, place: QuickInsert | null): Promise<void> {
    const { view, edit } = get();
    if (!view) return;
    const { width, height } = of.picture, middle = place ?? sight.middle();
    const wanted = { x: snapped(middle.x - (place?.from ? 0 : width / 2)), y: snapped(middle.y - height / 2) };
    const { x, y } = place ? wanted : freePlace(wanted.x, wanted.y, width, height);
    const made = { class: of.class, level: view.level, x, y };
    const operations: Operation[] = place?.wire
        ? [{ op: "insert_on_wire", wire: place.wire, ...made }]
        : [{ op: "add_block", ...made }];
    if (place?.from) operations.push({ op: "connect", from: place.from, to: { block: "$0", port: 0 } });
    if (place?.to) operations.push({ op: "connect", from: { block: "$0", port: 0 }, to: place.to });
    const answer = await edit(operations);
    const created = answer?.created[0];
    if (created !== undefined) get().selectOnly([created]);
}

/// Wires two ports. Where the input has a wire already, the person is asked whether it goes.
export async function connect(from: PortRef, to: PortRef): Promise<void> {
    const { server, edit, blockById, say, fail } = get();
    if (!server) return;
    const input = blockById.get(to.block)?.inputs.find((port) => port.index === to.port);
    if (!input?.linked) {
        await edit([{ op: "connect", from, to }]);
        return;
    }
    try {
        const answer = await server.call("edit", { operations: [{ op: "connect", from, to }] });
        get().takeEdit(answer);
    } catch (error) {
        if (!(error instanceof ServerError)) return fail(error);
        say("error", error.message, {
            title: "replace the wire",
            run: () => void edit([{ op: "connect", from, to, replace: true }]),
        });
    }
}

/// Wires the two selected blocks, the first to the second, at their first free ports.
export async function connectSelected(): Promise<void> {
    const [first, second, ...more] = selectedBlocks();
    if (!first || !second || more.length > 0) return get().say("note", "Select two blocks: the first gives, the second takes.");
    const pair = freePair(first, second);
    if (!pair) return get().say("note", `${second.name} has no free input, or ${first.name} no output.`);
    await connect(pair.from, pair.to);
}

export async function removeSelected(join: boolean): Promise<void> {
    const { selectedBlocks: blocks, selectedWires: wires, selectedComments: comments, edit } = get();
    if (blocks.length + wires.length + comments.length === 0) return;
    await edit([{
        op: "remove",
        ...(blocks.length > 0 ? { blocks } : {}),
        ...(wires.length > 0 ? { wires } : {}),
        ...(comments.length > 0 ? { comments } : {}),
        // one block out of a chain: its neighbours join
        ...(join && blocks.length === 1 ? { join } : {}),
    }]);
}

export async function copySelected(): Promise<boolean> {
    const { selectedBlocks: blocks, ask } = get();
    if (blocks.length === 0) return false;
    const copy = await ask("copy", { blocks });
    if (!copy) return false;
    await navigator.clipboard.writeText(copy.text);
    return true;
}

export async function cutSelected(): Promise<void> {
    if (await copySelected()) await removeSelected(false);
}

async function pasteFragment(fragment: unknown, at: { x: number; y: number }): Promise<void> {
    const { view, edit } = get();
    if (!view) return;
    const answer = await edit([{ op: "paste", fragment, level: view.level, x: snapped(at.x), y: snapped(at.y) }]);
    if (answer) get().selectOnly(answer.created.filter((id) => get().blockById.has(id)));
}

export async function pasteText(text: string): Promise<void> {
    let fragment: unknown;
    try {
        fragment = JSON.parse(text);
    } catch {
        return get().say("note", "The clipboard holds no blocks.");
    }
    await pasteFragment(fragment, sight.pointer ?? sight.middle());
}

export async function duplicateSelected(): Promise<void> {
    const box = selectionBox();
    const { selectedBlocks: blocks, ask } = get();
    if (!box) return;
    const copy = await ask("copy", { blocks });
    if (copy) await pasteFragment(copy.fragment, { x: box.x + 30, y: box.y + 30 });
}

export const selectionBox = (): Box | null => unionOf(selectedBlocks().map(boundsOf));

export async function moveSelected(dx: number, dy: number): Promise<void> {
    const { selectedBlocks: blocks, selectedComments, view, edit } = get();
    const operations: Operation[] = blocks.length > 0 ? [{ op: "move", blocks, dx, dy }] : [];
    for (const comment of view?.comments ?? [])
        if (selectedComments.includes(comment.id))
            operations.push({ op: "geometry", block: comment.id, x: comment.x + dx, y: comment.y + dy });
    await edit(operations);
}

export async function turnSelected(by: number): Promise<void> {
    await get().edit(turnOperations(selectedBlocks(), by));
}

export async function alignSelected(edge: Edge): Promise<void> {
    await get().edit(alignOperations(selectedBlocks(), edge));
}

export async function distributeSelected(axis: "x" | "y"): Promise<void> {
    await get().edit(distributeOperations(selectedBlocks(), axis));
}

export async function groupSelected(): Promise<void> {
    const { selectedBlocks: blocks, edit } = get();
    if (blocks.length === 0) return;
    const answer = await edit([{ op: "group", blocks }]);
    const made = answer?.created.find((id) => get().blockById.has(id));
    if (made !== undefined) {
        get().selectOnly([made]);
        get().setRenaming(made);
    }
}

export async function ungroupSelected(): Promise<void> {
    const { selectedBlocks: blocks, blockById, edit } = get();
    await edit(blocks.filter((id) => blockById.get(id)?.inside).map((block) => ({ op: "ungroup", block })));
}

export async function addComment(): Promise<void> {
    const { view, edit } = get();
    if (!view) return;
    const at = sight.pointer ?? sight.middle();
    const answer = await edit([{
        op: "comment", level: view.level, text: "", x: snapped(at.x), y: snapped(at.y), width: 160, height: 60,
    }]);
    const made = answer?.created[0];
    if (made !== undefined) get().setRenaming(made);
}

/// Selects the block that is nearest in a direction.
export function selectNeighbour(dx: number, dy: number): void {
    const { view, selectedBlocks: ids, blockById, selectOnly } = get();
    if (!view) return;
    const here = ids.length > 0 ? blockById.get(ids.at(-1) as Handle) : undefined;
    if (!here) {
        const first = [...view.blocks].sort((a, b) => a.x + a.y - b.x - b.y)[0];
        if (first) selectOnly([first.id]);
        return;
    }
    let best: Handle | null = null, least = Infinity;
    const cx = here.x + here.width / 2, cy = here.y + here.height / 2;
    for (const block of view.blocks) {
        const x = block.x + block.width / 2 - cx, y = block.y + block.height / 2 - cy;
        const ahead = x * dx + y * dy, aside = Math.abs(x * dy) + Math.abs(y * dx);
        if (block.id === here.id || ahead <= 1) continue;
        const cost = ahead + 2 * aside;
        if (cost < least) [best, least] = [block.id, cost];
    }
    if (best !== null) selectOnly([best]);
}
