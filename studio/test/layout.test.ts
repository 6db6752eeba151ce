import Elk from "elkjs/lib/elk.bundled.js";
import { describe, expect, it } from "vitest";
import { graphOf, placeOperations } from "../src/layout/layout";
import { block, wire } from "./make";

describe("the layout of a level", () => {
    const blocks = [block("c", 0, 0), block("a", 5, 5), block("b", 10, 10, { placed: false })];
    const wires = [wire("a", "b", []), wire("b", "c", [], { bends: [[1, 2]] })];

    it("runs from left to right along the wires", async () => {
        const placed = await new Elk().layout(graphOf(blocks, wires));
        const x = new Map(placed.children?.map((child) => [child.id, child.x ?? 0]));
        expect(x.get("a")).toBeLessThan(x.get("b") as number);
        expect(x.get("b")).toBeLessThan(x.get("c") as number);
    });
    it("is one edit that begins where the blocks stood and drops bends that no longer fit", async () => {
        const placed = await new Elk().layout(graphOf(blocks, wires));
        const operations = placeOperations(blocks, wires, placed);
        expect(operations[0]).toEqual({ op: "bends", wire: "b:0>c:0", points: [] });
        expect(operations.filter((o) => o.op === "geometry").length).toBeGreaterThanOrEqual(2);
        const places = operations.flatMap((o) => (o.op === "geometry" ? [o] : []));
        for (const { x = 0, y = 0 } of places) expect([x % 5, y % 5]).toEqual([0, 0]);
    });
    it("leaves out wires that lead outside of what is laid out", () => {
        expect(graphOf([blocks[0] as never], wires).edges).toEqual([]);
    });
});
