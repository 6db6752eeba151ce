// Blocks, wires and views for tests, whole in every member.
import type { Block, Points, Port, View, Wire } from "../src/server/protocol";

export const port = (index: number, side: Port["side"], linked = false, more: Partial<Port> = {}): Port => ({
    index, name: `p${index}`, x: side === "left" ? 0 : 40, y: 20, side, linked, ...more,
});

export const block = (id: string, x: number, y: number, more: Partial<Block> = {}): Block => ({
    id, class: "add", name: `block ${id}`, path: `mainsys.${id}`, x, y, width: 40, height: 40, rotation: 0, placed: true,
    picture: "1", inputs: [port(0, "left")], outputs: [port(0, "right")], state: "ok", problem: null, inside: null,
    reference: null, hint: "", ...more,
});

export const wire = (from: string, to: string, points: Points, more: Partial<Wire> = {}): Wire => ({
    id: `${from}:0>${to}:0`, from: { block: from, port: 0 }, to: { block: to, port: 0 }, points, bends: [], label: "",
    type: "flt64", style: "wire", late: false, broken: false, ...more,
});

export const view = (blocks: Block[], wires: Wire[] = [], more: Partial<View> = {}): View => ({
    revision: 1, checked: 1, level: "0", path: "mainsys", title: "m.json", file: "m.json", editable: true,
    breadcrumb: [{ level: "0", name: "mainsys" }], bounds: { x: 0, y: 0, width: 100, height: 100 },
    settings: { ti: 0, tf: 10, ts: 1 }, pictures: { "1": [] }, blocks, wires, joints: [], labels: [], comments: [],
    notes: [], remarks: [], ...more,
});
