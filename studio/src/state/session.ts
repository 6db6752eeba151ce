// The server, the opened model, what is saved and what may be executed.
import type { BlockClass, Classes, Consent, Hello, SavedState } from "../server/protocol";
import { ServerError, Unreachable, type Server } from "../server/rpc";
import type { Slice } from "./store";

export interface SessionSlice {
    server: Server | null;
    hello: Hello | null;
    classes: Classes | null;
    classByName: ReadonlyMap<string, BlockClass>;
    stylesheet: string;
    live: boolean;
    /// Why the page cannot go on, "" while it can.
    fatal: string;
    disk: SavedState["disk"];
    start(server: Server): Promise<void>;
    open(file: string, create?: boolean): Promise<void>;
    save(overwrite?: boolean): Promise<boolean>;
    saveAs(file: string): Promise<void>;
    revert(): Promise<void>;
    consent(): Promise<Consent | null>;
    allowEvaluation(allow: boolean): Promise<void>;
}

function mapOfClasses(classes: Classes): ReadonlyMap<string, BlockClass> {
    const map = new Map(classes.classes.map((each) => [each.class, each]));
    for (const [alias, name] of Object.entries(classes.aliases ?? {})) {
        const known = map.get(name);
        if (known) map.set(alias, known);
    }
    return map;
}

export const sessionSlice: Slice<SessionSlice> = (set, get) => {
    const takeModel = async (hello: Hello) => {
        set({ hello, disk: "same", view: null, back: [], forward: [], findings: null, undoName: null, redoName: null });
        get().clearSelection();
        document.title = hello.file ? `${hello.file} - zarn studio` : "zarn studio";
        if (hello.recovered)
            get().say("note", `Took over what was drawn and not saved (${hello.recovered.saved}).`, {
                title: "drop it",
                run: () => void get().revert(),
            });
        if (hello.file === null) return;
        await get().goTo("0");
        void get().readFindings();
    };
    return {
        server: null,
        hello: null,
        classes: null,
        classByName: new Map(),
        stylesheet: "",
        live: false,
        fatal: "",
        disk: "same",

        async start(server) {
            set({ server, fatal: "" });
            server.onLive((live) => {
                // what was said while the stream was down is asked for
                if (live && !get().live && get().view) void get().refresh();
                set({ live });
            });
            server.on("changed", (answer) => get().takeEdit(answer));
            server.on("findings", (findings) => get().takeFindings(findings));
            server.on("saved", ({ revision }) => {
                const { hello } = get();
                if (hello && hello.revision <= revision) set({ hello: { ...hello, modified: false } });
            });
            server.on("disk", ({ state, merged }) => {
                set({ disk: state });
                if (merged) get().say("note", "The file changed on disk; both changes were merged.");
            });
            server.on("run.progress", (progress) => get().takeProgress(progress));
            server.on("run.samples", (samples) => get().takeSamples(samples));
            server.on("console", ({ text }) => get().takeConsole(text));
            try {
                const [hello, classes, sheet] = await Promise.all([
                    server.call("hello"),
                    server.call("classes"),
                    server.call("stylesheet"),
                ]);
                set({ classes, classByName: mapOfClasses(classes), stylesheet: sheet.css });
                await takeModel(hello);
            } catch (error) {
                set({ fatal: error instanceof Error ? error.message : String(error) });
            }
        },

        async open(file, create = false) {
            const hello = await get().ask("open", { file, ...(create ? { create } : {}) });
            if (hello) await takeModel(hello);
        },

        async save(overwrite = false) {
            const { server, hello } = get();
            if (!server || !hello) return false;
            try {
                const saved = await server.call("save", overwrite ? { overwrite } : undefined);
                set({ hello: { ...hello, revision: saved.revision, modified: false }, disk: "same" });
                if (saved.merged) await get().refresh();
                get().say("done", saved.merged ? `${saved.file} is saved, merged with its changes on disk` : `${saved.file} is saved`);
                return true;
            } catch (error) {
                if (error instanceof ServerError && error.data.kind === "conflict")
                    set({ dialog: { kind: "conflict", why: error.message, blocks: error.data.blocks ?? [] } });
                else get().fail(error);
                return false;
            }
        },

        async saveAs(file) {
            const saved = await get().ask("save", { file });
            const { hello } = get();
            if (!saved || !hello) return;
            set({ hello: { ...hello, file: saved.file, revision: saved.revision, modified: false }, disk: "same" });
            get().say("done", `${saved.file} is saved`);
            await get().refresh(true);
        },

        async revert() {
            if ((await get().ask("revert")) === null) return;
            set({ disk: "same" });
            const hello = await get().ask("hello");
            if (hello) await takeModel({ ...hello, recovered: null });
        },

        consent: () => get().ask("evaluate"),

        async allowEvaluation(allow) {
            const answer = await get().ask("evaluate", { allow });
            const { hello } = get();
            if (!answer || !hello) return;
            set({ hello: { ...hello, evaluates: answer.evaluates }, valuesRevision: get().valuesRevision + 1 });
            await get().readFindings();
            await get().refresh();
        },
    };
};

export function sentenceOf(error: unknown): { text: string; mend: string } {
    if (error instanceof ServerError) return { text: error.message, mend: error.data.mend ?? "" };
    if (error instanceof Unreachable) return { text: error.message, mend: "" };
    return { text: error instanceof Error ? error.message : String(error), mend: "" };
}
