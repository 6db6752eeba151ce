import { describe, expect, it } from "vitest";
import { commands, commandOfKey, nameOfKey } from "../src/keyboard/commands";
import { matchingClasses } from "../src/palette/match";
import type { BlockClass } from "../src/server/protocol";
import { diagramSheet, shade } from "../src/theme/shade";

const press = (key: string, more: Partial<Record<"ctrlKey" | "metaKey" | "altKey" | "shiftKey", boolean>> = {}) =>
    nameOfKey({ key, ctrlKey: false, metaKey: false, altKey: false, shiftKey: false, ...more });

describe("keys", () => {
    it("do one thing each", () => expect(commandOfKey.size).toBe(commands.flatMap((c) => c.keys).length));
    it("are named as they are written down", () => {
        expect(press("?", { shiftKey: true })).toBe("?");
        expect(press("C", { shiftKey: true })).toBe("Shift+c");
        expect(press("z", { metaKey: true })).toBe("Ctrl+z");
        expect(press("ArrowLeft", { altKey: true })).toBe("Alt+ArrowLeft");
    });
});

describe("the search for a class", () => {
    const of = (name: string, everyday: string[] = [], summary = ""): BlockClass => ({
        class: name, everyday, summary, family: "mathematics", inputs: 1, outputs: 1, picture: { width: 1, height: 1, pieces: [] },
    });
    const classes = [of("add", ["sum"]), of("subtract", [], "adds what is turned round"), of("to_workspace"), of("poly1st", ["gain"])];
    const names = (text: string) => matchingClasses(classes, text).map((c) => c.class);
    it("knows what people call it", () => expect(names("gain")).toEqual(["poly1st"]));
    it("puts the name itself before a word of the description", () => expect(names("add")).toEqual(["add", "subtract"]));
    it("passes over blanks and lines", () => expect(names("to work")).toEqual(["to_workspace"]));
    it("finds all for no text, and none for nonsense", () => {
        expect(names("").length).toBe(4);
        expect(names("zzz")).toEqual([]);
    });
});

describe("dark colours", () => {
    const light = (color: string) => Number(/(\d+)%\)$/.exec(color)?.[1]);
    it("turn light and dark round", () => {
        expect(light(shade("#ffffff"))).toBeLessThan(15);
        expect(light(shade("#000000"))).toBeGreaterThan(90);
        expect(light(shade("#fff"))).toBe(light(shade("#ffffff")));
    });
    it("keep the hue of a tint", () => expect(shade("#d9ebff")).toMatch(/^hsl\(21\d /));
    it("are those of the server's style sheet, which holds for the diagram alone", () => {
        const sheet = diagramSheet(".wire { stroke: #1e293b; }", true);
        expect(sheet).not.toContain("#1e293b");
        expect(sheet.startsWith(".diagram {")).toBe(true);
        expect(diagramSheet(".wire { stroke: #1e293b; }", false)).toContain("#1e293b");
    });
});
