// What is selected, in the order in which it was.
import type { Handle } from "../server/protocol";
import type { Slice } from "./store";

export interface SelectionSlice {
    selectedBlocks: Handle[];
    selectedWires: Handle[];
    selectedComments: Handle[];
    dragging: boolean;
    selectOnly(blocks: Handle[], wires?: Handle[], comments?: Handle[]): void;
    /// Adds to, or takes from, what is selected.
    changeSelection(kind: "blocks" | "wires" | "comments", changes: { id: Handle; selected: boolean }[]): void;
    selectAll(): void;
    clearSelection(): void;
    setDragging(dragging: boolean): void;
}

function changed(list: Handle[], changes: { id: Handle; selected: boolean }[]): Handle[] {
    const gone = new Set(changes.filter((c) => !c.selected).map((c) => c.id));
    const kept = list.filter((id) => !gone.has(id));
    const have = new Set(kept);
    return [...kept, ...changes.filter((c) => c.selected && !have.has(c.id)).map((c) => c.id)];
}

export const selectionSlice: Slice<SelectionSlice> = (set, get) => ({
    selectedBlocks: [],
    selectedWires: [],
    selectedComments: [],
    dragging: false,
    selectOnly: (selectedBlocks, selectedWires = [], selectedComments = []) =>
        set({ selectedBlocks, selectedWires, selectedComments }),
    changeSelection(kind, changes) {
        if (kind === "blocks") set({ selectedBlocks: changed(get().selectedBlocks, changes) });
        else if (kind === "wires") set({ selectedWires: changed(get().selectedWires, changes) });
        else set({ selectedComments: changed(get().selectedComments, changes) });
    },
    selectAll() {
        const { view } = get();
        if (view) get().selectOnly(view.blocks.map((b) => b.id), view.wires.map((w) => w.id), view.comments.map((c) => c.id));
    },
    clearSelection: () => set({ selectedBlocks: [], selectedWires: [], selectedComments: [] }),
    setDragging: (dragging) => set({ dragging }),
});
