import { beforeEach, describe, expect, it } from "vitest";
import type { EditAnswer, View } from "../src/server/protocol";
import { ServerError } from "../src/server/rpc";
import { mergeView } from "../src/state/level";
import { useStudio } from "../src/state/store";
import { FakeServer } from "./fakeServer";
import { block, view, wire } from "./make";

const fresh = useStudio.getInitialState();
const get = useStudio.getState;

beforeEach(() => useStudio.setState(fresh, true));

async function started(answers: ConstructorParameters<typeof FakeServer>[0] = {}) {
    const server = new FakeServer(answers);
    await get().start(server);
    return server;
}

const answerOf = (revision: number, created: string[] = []): EditAnswer => ({
    revision, created, changed: { levels: ["0"], blocks: [] }, modified: true, undo: "move", redo: null,
});

describe("a model that is opened", () => {
    it("shows its root", async () => {
        await started();
        expect(get().view?.blocks.map((b) => b.name)).toContain("controller");
        expect(get().classByName.get("subsystem")).toBe(get().classByName.get("subsys"));
        expect(document.title).toContain("motor.json");
    });
    it("is gone into, up and back", async () => {
        await started();
        const inside = [...get().blockById.values()].find((b) => b.name === "controller")?.inside as string;
        await get().goTo(inside);
        expect(get().view?.path).toBe("mainsys.controller");
        get().goUp();
        await expect.poll(() => get().view?.level).toBe("0");
        expect(get().selectedBlocks).toEqual([inside]);
        expect(get().back).toEqual(["0", inside]);
        get().goBack();
        await expect.poll(() => get().view?.level).toBe(inside);
        get().goForward();
        await expect.poll(() => get().view?.level).toBe("0");
    });
    it("that cannot be reached says so", async () => {
        await started({ hello: () => { throw new Error("nobody there"); } });
        expect(get().fatal).toBe("nobody there");
    });
});

describe("an edit", () => {
    it("is asked of the server, and what differs is asked for then", async () => {
        const server = await started({ edit: answerOf(8, ["9"]) });
        const answer = await get().edit([{ op: "move", blocks: ["1"], dx: 5, dy: 0 }]);
        expect(answer?.created).toEqual(["9"]);
        expect(get().hello?.modified).toBe(true);
        expect(get().undoName).toBe("move");
        expect(server.asked.at(-1)).toMatchObject({ method: "view", params: { since: expect.any(Number) } });
    });
    it("that is refused tells why and how to mend it, and puts blocks back", async () => {
        await started({ edit: () => { throw new ServerError("no such block", 1, { kind: "refused", mend: "look again" }); } });
        get().setMoved(new Map([["1", { x: 1, y: 1 }]]));
        expect(await get().edit([{ op: "move", blocks: ["1"], dx: 5, dy: 0 }])).toBeNull();
        expect(get().messages.at(-1)).toMatchObject({ kind: "error", text: "no such block", mend: "look again" });
        expect(get().moved.size).toBe(0);
    });
    it("on a level of another file is not sent", async () => {
        const server = await started();
        useStudio.setState({ view: { ...(get().view as View), editable: false } });
        await get().edit([{ op: "move", blocks: ["1"], dx: 5, dy: 0 }]);
        expect(server.methods()).not.toContain("edit");
    });
    it("of another front end is taken over", async () => {
        const server = await started();
        const before = server.asked.length;
        server.tell("changed", answerOf(50));
        await expect.poll(() => server.asked.length).toBeGreaterThan(before);
        expect(get().undoName).toBe("move");
    });
});

it("a subsystem tells the worst of what is said of its inside", async () => {
    const server = await started();
    const finding = { code: "Z201", block: null, wire: null, level: null, what: "", mend: "" };
    server.tell("findings", { revision: 1, checked: 1, evaluated: false, counts: { error: 1, warning: 1, note: 0 }, findings: [
        { ...finding, severity: "error", path: "mainsys.a.b.c" }, { ...finding, severity: "warning", path: "mainsys.a.d" },
        { ...finding, severity: "note", path: "mainsys.e.f" }, { ...finding, severity: "error", path: null }] });
    expect(Object.fromEntries(get().insideProblems)).toEqual({ mainsys: "error", "mainsys.a": "error", "mainsys.a.b": "error" });
});

describe("a partial view", () => {
    it("changes what it names and leaves the rest the same objects", () => {
        const old = view([block("a", 0, 0), block("b", 9, 9), block("c", 5, 5)], [wire("a", "b", [])]);
        const news = view([block("b", 20, 20), block("d", 1, 1)], [], {
            partial: true, revision: 2, pictures: { "2": [] }, removed: { blocks: ["c"], wires: ["a:0>b:0"] },
        });
        const merged = mergeView(old, news);
        expect(merged.blocks.map((b) => b.id)).toEqual(["a", "b", "d"]);
        expect(merged.blocks[0]).toBe(old.blocks[0]);
        expect(merged.blocks[1]?.x).toBe(20);
        expect(merged.wires).toEqual([]);
        expect(Object.keys(merged.pictures)).toEqual(["1", "2"]);
    });
});

describe("a run", () => {
    const start = { run: 3, signals: [{ signal: 0, name: "mainsys.y", type: "flt64", block: "1", port: 0 }], ti: 0, tf: 1, ts: 0.5, steps: 3 };
    it("that needs consent asks for it, and nothing else", async () => {
        await started({ "run.start": () => { throw new ServerError("not agreed", 4, { kind: "consent" }); } });
        await get().startRun();
        expect(get().dialog?.kind).toBe("evaluate");
        expect(get().messages).toEqual([]);
    });
    it("takes samples that come before the answer of its start", async () => {
        const server = await started({ "run.start": start });
        const starting = get().startRun();
        server.tell("run.samples", { run: 3, series: [{ signal: 0, t: [0], v: [1] }], decimated: false });
        await starting;
        server.tell("run.samples", { run: 3, series: [{ signal: 0, t: [0.5], v: ["nan"] }], decimated: false });
        expect(get().run?.recording.of(0)).toEqual({ t: [0, 0.5], v: [1, null] });
        expect(get().bottom).toBe("plots");
    });
    it("that has ended before the answer of its start is not taken for one that goes on", async () => {
        const server = await started({ "run.start": start, "run.data": { signal: 0, t: [0], v: [7], exact: true } });
        const starting = get().startRun();
        server.tell("run.progress", { run: 3, state: "running", step: 1, time: 0, tf: 1 });
        server.tell("run.samples", { run: 3, series: [{ signal: 0, t: [0], v: [1] }], decimated: false });
        server.tell("run.progress", { run: 3, state: "done", step: 3, time: 1, tf: 1 });
        await starting;
        expect(get().phase).toBe("done");
        await expect.poll(() => get().run?.recording.of(0).v).toEqual([7]);
    });
    it("that was stopped stays so, whatever older answer comes late", async () => {
        const state = (phase: "paused" | "stopped") => ({ run: 3, state: phase, step: 1, time: 0.5 });
        const server = await started({ "run.start": start, "run.stop": state("stopped"), "run.step": state("paused"), "run.pause": state("paused") });
        await get().startRun();
        await get().pauseRun();
        const late = get().stepRun();
        await get().stopRun();
        await late;
        server.tell("run.progress", { run: 3, state: "paused", step: 1, time: 0.5, tf: 1 });
        expect(get().phase).toBe("stopped");
    });
    it("keeps the one before it, once, and takes over the whole data at its end", async () => {
        let number = 2;
        const server = await started({
            "run.start": () => ({ ...start, run: ++number }),
            "run.data": { signal: 0, t: [0, 0.5, 1], v: [1, 2, 3], exact: true },
        });
        await get().startRun();
        await get().startRun();
        expect(get().earlier.map((r) => r.run)).toEqual([3]);
        server.tell("run.progress", { run: 4, state: "done", step: 3, time: 1, tf: 1 });
        await expect.poll(() => get().run?.recording.of(0).v).toEqual([1, 2, 3]);
        expect(get().phase).toBe("done");
    });
    it("is given values of sliders, which can be taken back", async () => {
        const server = await started({ "run.start": start });
        get().setTrial("7", "expression", "3.5");
        await get().startRun();
        expect(server.asked.find((a) => a.method === "run.start")?.params).toMatchObject({ parameters: { "7": { expression: "3.5" } } });
        get().setTrial("7", "expression", null);
        expect(get().trials.size).toBe(0);
    });
    it("that fails says why", async () => {
        const server = await started({ "run.start": start });
        await get().startRun();
        server.tell("run.progress", { run: 3, state: "failed", step: 1, time: 0, tf: 1, message: "division by zero" });
        expect(get().messages.at(-1)?.text).toBe("division by zero");
    });
});

describe("saving", () => {
    it("a file that changed on disk asks, and overwrites nothing", async () => {
        await started({ save: () => { throw new ServerError("changed", 3, { kind: "conflict", blocks: ["mainsys.a"] }); } });
        expect(await get().save()).toBe(false);
        expect(get().dialog).toEqual({ kind: "conflict", why: "changed", blocks: ["mainsys.a"] });
    });
});
