// Everything that a key does, once: the keys themselves, the page that `?` shows, and the buttons' hints come from it.
import {
    addComment, alignSelected, connectSelected, copySelected, cutSelected, duplicateSelected, grid, groupSelected,
    moveSelected, removeSelected, selectNeighbour, sight, turnSelected, ungroupSelected,
} from "../state/actions";
import { layoutLevel } from "../layout/layout";
import { useStudio } from "../state/store";

export interface Command {
    keys: string[];
    does: string;
    group: "draw" | "look" | "run" | "file";
    run: () => unknown;
}

const get = () => useStudio.getState();
const first = <T,>(list: T[]): T | undefined => list[0];

const oneSelected = () => first(get().selectedBlocks) ?? first(get().selectedComments);

function rename() {
    const id = oneSelected();
    if (id !== undefined) get().setRenaming(id);
}

function enter() {
    const id = first(get().selectedBlocks);
    if (id === undefined) return;
    if (get().blockById.get(id)?.inside) return get().goInto(id);
    document.querySelector<HTMLElement>(".inspector .parameter input, .inspector .parameter select")?.focus();
}

function typeClass() {
    if (get().view?.editable) get().setQuick(sight.pointer ?? sight.middle());
}

function probe() {
    for (const wire of get().selectedWires) get().toggleProbe(wire);
}

function startOrPause() {
    const { phase, pauseRun, resumeRun, startRun } = get();
    return phase === "running" ? pauseRun() : phase === "paused" ? resumeRun() : startRun();
}

export const commands: Command[] = [
    { keys: ["a", "Insert"], does: "type a class and put its block here", group: "draw", run: typeClass },
    { keys: ["c"], does: "connect the two selected blocks, the first to the second", group: "draw", run: connectSelected },
    { keys: ["Shift+c"], does: "choose both ends of a new wire", group: "draw", run: () => get().show({ kind: "connect" }) },
    { keys: ["Delete", "Backspace"], does: "delete; the neighbours of a single block join", group: "draw", run: () => removeSelected(true) },
    { keys: ["Shift+Delete"], does: "delete without joining", group: "draw", run: () => removeSelected(false) },
    { keys: ["F2"], does: "rename, or write the comment", group: "draw", run: rename },
    { keys: ["r"], does: "turn to the right", group: "draw", run: () => turnSelected(90) },
    { keys: ["Shift+r"], does: "turn to the left", group: "draw", run: () => turnSelected(-90) },
    { keys: ["ArrowLeft"], does: "move what is selected", group: "draw", run: () => moveSelected(-grid, 0) },
    { keys: ["ArrowRight"], does: "move what is selected", group: "draw", run: () => moveSelected(grid, 0) },
    { keys: ["ArrowUp"], does: "move what is selected", group: "draw", run: () => moveSelected(0, -grid) },
    { keys: ["ArrowDown"], does: "move what is selected", group: "draw", run: () => moveSelected(0, grid) },
    { keys: ["Shift+ArrowLeft"], does: "move it far", group: "draw", run: () => moveSelected(-grid * 10, 0) },
    { keys: ["Shift+ArrowRight"], does: "move it far", group: "draw", run: () => moveSelected(grid * 10, 0) },
    { keys: ["Shift+ArrowUp"], does: "move it far", group: "draw", run: () => moveSelected(0, -grid * 10) },
    { keys: ["Shift+ArrowDown"], does: "move it far", group: "draw", run: () => moveSelected(0, grid * 10) },
    { keys: ["Ctrl+c"], does: "copy", group: "draw", run: copySelected },
    { keys: ["Ctrl+x"], does: "cut", group: "draw", run: cutSelected },
    { keys: ["Ctrl+d"], does: "duplicate", group: "draw", run: duplicateSelected },
    { keys: ["Ctrl+g"], does: "group into a subsystem", group: "draw", run: groupSelected },
    { keys: ["Ctrl+Shift+g"], does: "ungroup", group: "draw", run: ungroupSelected },
    { keys: ["Ctrl+a"], does: "select all", group: "draw", run: () => get().selectAll() },
    { keys: ["m"], does: "write a comment here", group: "draw", run: addComment },
    { keys: ["l"], does: "lay out the level, or the selected blocks", group: "draw", run: layoutLevel },
    { keys: ["Shift+a"], does: "align the middles", group: "draw", run: () => alignSelected("middle") },
    { keys: ["Ctrl+z"], does: "undo", group: "draw", run: () => get().undo() },
    { keys: ["Ctrl+y", "Ctrl+Shift+z"], does: "redo", group: "draw", run: () => get().redo() },
    { keys: ["Enter"], does: "go inside, or to the first parameter", group: "look", run: enter },
    { keys: ["u", "Alt+ArrowUp"], does: "go up", group: "look", run: () => get().goUp() },
    { keys: ["Alt+ArrowLeft"], does: "go back", group: "look", run: () => get().goBack() },
    { keys: ["Alt+ArrowRight"], does: "go forward", group: "look", run: () => get().goForward() },
    { keys: ["Ctrl+ArrowLeft"], does: "select the neighbour", group: "look", run: () => selectNeighbour(-1, 0) },
    { keys: ["Ctrl+ArrowRight"], does: "select the neighbour", group: "look", run: () => selectNeighbour(1, 0) },
    { keys: ["Ctrl+ArrowUp"], does: "select the neighbour", group: "look", run: () => selectNeighbour(0, -1) },
    { keys: ["Ctrl+ArrowDown"], does: "select the neighbour", group: "look", run: () => selectNeighbour(0, 1) },
    { keys: ["f"], does: "show all of the level", group: "look", run: () => get().fit() },
    { keys: ["/", "Ctrl+f"], does: "search for a block", group: "look", run: () => get().show({ kind: "search" }) },
    { keys: ["Escape"], does: "select nothing", group: "look", run: () => get().clearSelection() },
    { keys: ["?"], does: "show the keys", group: "look", run: () => get().show({ kind: "keys" }) },
    { keys: ["p"], does: "probe the selected wire", group: "run", run: probe },
    { keys: ["F5"], does: "run, pause, go on", group: "run", run: startOrPause },
    { keys: ["Shift+F5"], does: "stop the run", group: "run", run: () => get().stopRun() },
    { keys: ["F10"], does: "one step", group: "run", run: () => get().stepRun() },
    { keys: ["Ctrl+s"], does: "save", group: "file", run: () => get().save() },
    { keys: ["Ctrl+o"], does: "open a model of the folder", group: "file", run: () => get().show({ kind: "files" }) },
    { keys: ["Ctrl+e"], does: "generate and export", group: "file", run: () => get().show({ kind: "deliver" }) },
];

/// How a pressed key is written above. A sign that needs Shift on some keyboards is written without it.
export function nameOfKey(event: { key: string; ctrlKey: boolean; metaKey: boolean; altKey: boolean; shiftKey: boolean }): string {
    const letter = event.key.length === 1 && event.key.toLowerCase() !== event.key.toUpperCase();
    const sign = event.key.length === 1 && !letter;
    return [
        event.ctrlKey || event.metaKey ? "Ctrl+" : "",
        event.altKey ? "Alt+" : "",
        event.shiftKey && !sign ? "Shift+" : "",
        letter ? event.key.toLowerCase() : event.key,
    ].join("");
}

export const commandOfKey = new Map(commands.flatMap((command) => command.keys.map((key) => [key, command] as const)));
