import { describe, expect, it } from "vitest";
import { blockAt, Boxes, fullUpTo, plainBelow, sightOf } from "../src/canvas/visible";
import { block, view, wire } from "./make";

const none: ReadonlySet<string> = new Set();
const area = { x: 0, y: 0, width: 100, height: 100 };

describe("what is in sight", () => {
    const boxes = new Boxes(view(
        [block("near", 10, 10), block("far", 900, 10), block("lost", 900, 900)],
        [wire("near", "far", [[50, 30], [900, 30]])],
    ));
    it("leaves out what is elsewhere", () => expect(sightOf(boxes, area, 1, none).blocks.map((b) => b.id)).not.toContain("lost"));
    it("brings the far end of a wire along, which could not be drawn without it", () => {
        const sight = sightOf(boxes, area, 1, none);
        expect(sight.wires.map((w) => w.id)).toEqual(["near:0>far:0"]);
        expect(sight.blocks.map((b) => b.id)).toEqual(["near", "far"]);
    });
    it("keeps what a hand holds", () => expect(sightOf(boxes, area, 1, new Set(["lost"])).blocks.map((b) => b.id)).toContain("lost"));
});

describe("very many blocks far away", () => {
    const many = view(Array.from({ length: fullUpTo + 1 }, (_, i) => block(`${i}`, i % 50, i % 40)));
    const boxes = new Boxes(many);
    it("are plain boxes", () => {
        expect(sightOf(boxes, area, plainBelow / 2, none)).toEqual({ plain: true, blocks: [], wires: [] });
        expect(sightOf(boxes, area, plainBelow / 2, new Set(["7"])).blocks.map((b) => b.id)).toEqual(["7"]);
    });
    it("are drawn in full from near", () => expect(sightOf(boxes, area, 1, none).blocks.length).toBe(fullUpTo + 1));
    it("can be hit, the topmost first", () => {
        expect(blockAt(boxes, 10, 10)?.id).toBe(many.blocks.filter((b) => b.x <= 10 && b.y <= 10).at(-1)?.id);
        expect(blockAt(boxes, -5, -5)).toBeNull();
    });
});
