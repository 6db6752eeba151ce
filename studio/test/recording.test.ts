import { describe, expect, it } from "vitest";
import { linesOf, tableOf } from "../src/run/lines";
import { drawable, Recording } from "../src/run/recording";
import type { Run } from "../src/state/run";

describe("samples", () => {
    it("that are no finite numbers break the line", () => {
        expect([1, "nan", "inf", "-inf", true, "18446744073709551615"].map(drawable)).toEqual([1, null, null, null, 1, 2 ** 64]);
    });
    it("in great number are thinned, and keep their extremes and their order", () => {
        const recording = new Recording(), n = Recording.mostPoints + 1;
        const t = Array.from({ length: n }, (_, i) => i), v = t.map((i) => (i === 12_345 ? 99 : i === 23_456 ? -99 : 0));
        recording.append(0, t, v);
        const series = recording.of(0);
        expect(series.t.length).toBeLessThan(n);
        expect(Math.max(...series.v.map(Number))).toBe(99);
        expect(Math.min(...series.v.map(Number))).toBe(-99);
        expect(series.t.every((x, i) => i === 0 || x > (series.t[i - 1] as number))).toBe(true);
    });
});

describe("two runs of a signal", () => {
    const run = (number: number, t: number[]): Run => {
        const recording = new Recording();
        recording.append(0, t, t.map((x) => x * number));
        return {
            run: number, steps: t.length, settings: { ti: 0, tf: 2, ts: 1 }, recording,
            signals: [{ signal: 0, name: "mainsys.y", type: "flt64", block: "1", port: 0 }],
        };
    };
    const before = run(1, [0, 1]), now = run(2, [0, 0.5, 1]);
    it("are drawn over each other, the present one on top", () => {
        const lines = linesOf("mainsys.y", now, [before], true);
        expect(lines.map((line) => line.age)).toEqual([1, 0]);
        expect(tableOf(lines)).toEqual([[0, 0.5, 1], [0, undefined, 1], [0, 1, 2]]);
    });
    it("are one when the earlier is not wanted", () => expect(linesOf("mainsys.y", now, [before], false).length).toBe(1));
});
