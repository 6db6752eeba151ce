import { fireEvent, render, screen, waitFor, within } from "@testing-library/react";
import { beforeEach, describe, expect, it } from "vitest";
import { App } from "../src/App";
import { useStudio } from "../src/state/store";
import { FakeServer } from "./fakeServer";

const fresh = useStudio.getInitialState();
const get = useStudio.getState;

beforeEach(() => useStudio.setState(fresh, true));

async function opened(answers: ConstructorParameters<typeof FakeServer>[0] = {}) {
    const server = new FakeServer(answers);
    await get().start(server);
    render(<App />);
    return server;
}

const done = { revision: 9, created: [], changed: { levels: [], blocks: [] }, modified: true, undo: "edit", redo: null };

describe("the page", () => {
    it("has a palette with every class of the server, in its families", async () => {
        await opened();
        const palette = screen.getByRole("navigation", { name: "palette of blocks" });
        for (const family of get().classes?.families ?? []) expect(within(palette).getByRole("region", { name: family })).toBeTruthy();
        expect(within(palette).getAllByRole("button").length).toBe(get().classes?.classes.length);
    });
    it("says that nothing is executed, and names what would be before it asks", async () => {
        await opened({ evaluate: { evaluates: false, scripts: ["workspace.py"], count: 1, expressions: [
            { block: "1", path: "mainsys.ref", key: "finalValue", text: "<b>w_ref</b>" }] } });
        fireEvent.click(screen.getByRole("button", { name: "Evaluate expressions..." }));
        expect(await screen.findByText("workspace.py")).toBeTruthy();
        expect(screen.getByText("<b>w_ref</b>").tagName).toBe("CODE");
    });
    it("shows a form of the selected block, and sends what is written in it", async () => {
        const server = await opened({ edit: done });
        const block = [...get().blockById.values()].find((b) => b.class === "step");
        get().selectOnly([block?.id as string]);
        const field = await screen.findByLabelText("finalValue");
        fireEvent.change(field, { target: { value: "2.0 * w_ref" } });
        fireEvent.keyDown(field, { key: "Enter" });
        await waitFor(() => expect(server.asked.find((a) => a.method === "edit")?.params).toEqual({
            operations: [{ op: "set_parameter", block: block?.id, key: "finalValue", value: "2.0 * w_ref" }],
        }));
    });
    it("lists problems with a mend that one click applies", async () => {
        const server = await opened({ apply_mend: done });
        server.tell("findings", { revision: 9, checked: 9, evaluated: false, counts: { error: 1, warning: 0, note: 0 }, findings: [{
            code: "Z201", severity: "error", path: "mainsys.ref", block: "1", wire: null, level: "0", what: "no source",
            mend: "wire it", mends: [{ title: "wire it to u", mend: "4" }] }] });
        fireEvent.click(await screen.findByRole("button", { name: "1 error" }));
        fireEvent.click(await screen.findByRole("button", { name: "wire it to u" }));
        await waitFor(() => expect(server.asked.at(-1)?.method === "apply_mend" || server.methods().includes("apply_mend")).toBe(true));
    });
    it("shows its keys for a question mark, but not while a person writes", async () => {
        await opened();
        fireEvent.keyDown(screen.getByRole("searchbox", { name: "search in the palette" }), { key: "?", bubbles: true });
        expect(get().dialog).toBeNull();
        fireEvent.keyDown(window, { key: "?" });
        expect(get().dialog).toEqual({ kind: "keys" });
        fireEvent.keyDown(window, { key: "Escape" });
        expect(get().dialog).toBeNull();
    });
    it("deletes a single block so that its neighbours join", async () => {
        const server = await opened({ edit: done });
        const id = [...get().blockById.keys()][0] as string;
        get().selectOnly([id]);
        fireEvent.keyDown(window, { key: "Delete" });
        await waitFor(() => expect(server.asked.find((a) => a.method === "edit")?.params).toEqual({
            operations: [{ op: "remove", blocks: [id], join: true }] }));
    });
    it("is told of a folder without an open model by a list of its files", async () => {
        const server = new FakeServer({ files: { files: [{ file: "a.json", size: 1200 }], complete: true } });
        const { hello } = (await import("./recorded/motor.json")).default;
        await get().start(Object.assign(server, {
            call: async (method: never, params: never) =>
                method === ("hello" as never) ? { ...hello, file: null } : FakeServer.prototype.call.call(server, method, params),
        }) as FakeServer);
        render(<App />);
        expect(await screen.findByText("a.json")).toBeTruthy();
    });
});
