// Edits: all of them are operations that the server does, and each call is one step of undo.
import type { EditAnswer, Method, Operation } from "../server/protocol";
import { Unreachable, type Answer, type Params } from "../server/rpc";
import { sentenceOf } from "./session";
import type { Slice } from "./store";

export interface EditSlice {
    undoName: string | null;
    redoName: string | null;
    /// A request whose refusal is told to the person; null then.
    ask<M extends Method>(method: M, params?: Params<M>): Promise<Answer<M> | null>;
    edit(operations: Operation[]): Promise<EditAnswer | null>;
    takeEdit(answer: EditAnswer): void;
    undo(): Promise<void>;
    redo(): Promise<void>;
    applyMend(mend: string): Promise<void>;
}

export const editSlice: Slice<EditSlice> = (set, get) => {
    const finish = async (answer: EditAnswer | null): Promise<EditAnswer | null> => {
        if (!answer) {
            set({ moved: new Map() });
            return null;
        }
        get().takeEdit(answer);
        await get().refresh();
        return answer;
    };
    return {
        undoName: null,
        redoName: null,

        async ask(method, params) {
            const { server } = get();
            if (!server) return null;
            try {
                return await server.call(method, params);
            } catch (error) {
                get().fail(error);
                return null;
            }
        },

        async edit(operations) {
            if (operations.length === 0) return null;
            if (get().view?.editable === false) {
                get().say("error", "What a reference brings in is not edited here: open its file.");
                set({ moved: new Map() });
                return null;
            }
            return finish(await get().ask("edit", { operations }));
        },

        takeEdit(answer) {
            const { hello, view } = get();
            if (!hello || answer.revision < hello.revision) return;
            set({
                hello: { ...hello, revision: answer.revision, modified: answer.modified },
                undoName: answer.undo,
                redoName: answer.redo,
                valuesRevision: get().valuesRevision + 1,
            });
            if (view && view.revision < answer.revision) void get().refresh();
        },

        async undo() {
            if (get().undoName !== null) await finish(await get().ask("undo"));
        },
        async redo() {
            if (get().redoName !== null) await finish(await get().ask("redo"));
        },
        async applyMend(mend) {
            await finish(await get().ask("apply_mend", { mend }));
        },
    };
};

export const isUnreachable = (error: unknown) => error instanceof Unreachable;
export { sentenceOf };
