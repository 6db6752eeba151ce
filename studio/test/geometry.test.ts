import { describe, expect, it } from "vitest";
import { arrowOf, boundsOf, distanceToLine, middleOf, unionOf } from "../src/canvas/geometry";
import { movedRoute, orthogonal, pushedRoute, simplified } from "../src/canvas/route";
import type { Points } from "../src/server/protocol";
import { block } from "./make";

const isOrthogonal = (points: Points) =>
    points.every((p, i) => {
        const q = points[i + 1];
        return !q || Math.abs(p[0] - q[0]) < 1e-9 || Math.abs(p[1] - q[1]) < 1e-9;
    });

describe("boxes", () => {
    it("of a block that is turned by a quarter stand about the same middle", () => {
        expect(boundsOf(block("a", 10, 20, { width: 60, height: 40, rotation: 90 }))).toEqual({ x: 20, y: 10, width: 40, height: 60 });
    });
    it("of a block that is turned half round are as before", () => {
        expect(boundsOf(block("a", 10, 20, { width: 60, height: 40, rotation: 180 }))).toEqual({ x: 10, y: 20, width: 60, height: 40 });
    });
    it("around nothing are none", () => expect(unionOf([])).toBeNull());
});

describe("lines", () => {
    it("are as far away as their nearest piece", () => {
        expect(distanceToLine([5, 3], [[0, 0], [10, 0], [10, 10]])).toBe(3);
        expect(distanceToLine([14, 13], [[0, 0], [10, 0], [10, 10]])).toBe(5);
    });
    it("have their middle on the longest piece", () => expect(middleOf([[0, 0], [4, 0], [4, 20]])).toEqual([4, 10]));
    it("end in an arrow whose tip is the last point", () => {
        const { shaft, tip } = arrowOf([[0, 0], [20, 0]]);
        expect(tip.startsWith("M20 0L12.5 ")).toBe(true);
        expect(shaft.at(-1)).toEqual([16, 0]);
    });
    it("without length have no arrow", () => expect(arrowOf([[1, 1], [1, 1]]).tip).toBe(""));
});

describe("a wire whose ends move", () => {
    const bent: Points = [[0, 0], [20, 0], [20, 50], [60, 50]];
    it("goes along when both do", () => {
        expect(movedRoute(bent, { x: 5, y: 7 }, { x: 5, y: 7 })).toEqual([[5, 7], [25, 7], [25, 57], [65, 57]]);
    });
    it("keeps level and upright pieces when one does", () => {
        const route = movedRoute(bent, { x: 0, y: 0 }, { x: 30, y: -15 });
        expect(route[0]).toEqual([0, 0]);
        expect(route.at(-1)).toEqual([90, 35]);
        expect(isOrthogonal(route)).toBe(true);
    });
    it("goes round when its end comes to stand before its start", () => {
        const route = orthogonal([100, 0], [0, 40]);
        expect(isOrthogonal(route)).toBe(true);
        expect((route[1] as number[])[0]).toBeGreaterThan(100);
        expect((route.at(-2) as number[])[0]).toBeLessThan(0);
    });
});

describe("a piece that is pushed", () => {
    const bent: Points = [[0, 0], [20, 0], [20, 50], [60, 50]];
    it("takes its neighbours' ends along", () => {
        expect(pushedRoute(bent, 1, { x: 10, y: 99 })).toEqual([[0, 0], [30, 0], [30, 50], [60, 50]]);
    });
    it("at a port leaves the port where it is", () => {
        const route = pushedRoute([[0, 0], [100, 0]], 0, { x: 0, y: 30 });
        expect(route[0]).toEqual([0, 0]);
        expect(route.at(-1)).toEqual([100, 0]);
        expect(route.some(([, y]) => y === 30)).toBe(true);
        expect(isOrthogonal(route)).toBe(true);
    });
    it("that comes to lie in a line with its neighbours is no piece of its own", () => {
        expect(simplified([[0, 0], [10, 0], [10, 0], [20, 0]])).toEqual([[0, 0], [20, 0]]);
    });
});
