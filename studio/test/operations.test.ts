import { describe, expect, it } from "vitest";
import { alignOperations, distributeOperations, freePair, turnOperations } from "../src/state/operations";
import { block, port } from "./make";

describe("aligning", () => {
    const blocks = [block("a", 0, 0), block("b", 50, 30, { width: 80 })];
    it("moves those only that do not stand there", () => {
        expect(alignOperations(blocks, "top")).toEqual([{ op: "move", blocks: ["b"], dx: 0, dy: -30 }]);
        expect(alignOperations(blocks, "right")).toEqual([{ op: "move", blocks: ["a"], dx: 90, dy: 0 }]);
    });
    it("of one block does nothing", () => expect(alignOperations([block("a", 3, 4)], "left")).toEqual([]));
    it("takes a turned block by the room that it takes", () => {
        const turned = block("t", 0, 0, { width: 60, height: 20, rotation: 90 });
        expect(alignOperations([turned, block("b", 0, 100)], "left")).toEqual([{ op: "move", blocks: ["t"], dx: -20, dy: 0 }]);
    });
});

describe("distributing", () => {
    it("makes equal gaps and leaves the outer ones", () => {
        const blocks = [block("a", 0, 0), block("c", 200, 0), block("b", 50, 0)];
        expect(distributeOperations(blocks, "x")).toEqual([{ op: "move", blocks: ["b"], dx: 50, dy: 0 }]);
    });
    it("of two blocks does nothing", () => expect(distributeOperations([block("a", 0, 0), block("b", 9, 9)], "y")).toEqual([]));
});

it("turning stays within one turn", () => {
    expect(turnOperations([block("a", 0, 0, { rotation: 270 })], 90)).toEqual([{ op: "geometry", block: "a", rotation: 0 }]);
    expect(turnOperations([block("a", 0, 0)], -90)).toEqual([{ op: "geometry", block: "a", rotation: 270 }]);
});

describe("two blocks to connect", () => {
    it("meet at their first free ports", () => {
        const first = block("a", 0, 0, { outputs: [port(0, "right", true), port(1, "right")] });
        const second = block("b", 90, 0, { inputs: [port(-1, "top"), port(0, "left", true), port(1, "left")] });
        expect(freePair(first, second)).toEqual({ from: { block: "a", port: 1 }, to: { block: "b", port: 1 } });
    });
    it("branch from an output that feeds something already", () => {
        const first = block("a", 0, 0, { outputs: [port(0, "right", true)] });
        expect(freePair(first, block("b", 90, 0))?.from.port).toBe(0);
    });
    it("cannot where every input is taken", () => {
        expect(freePair(block("a", 0, 0), block("b", 90, 0, { inputs: [port(0, "left", true)] }))).toBeNull();
    });
});
