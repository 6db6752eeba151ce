// The level that is looked at, and the way there and back.
import type { Block, Handle, View, Wire } from "../server/protocol";
import type { Slice } from "./store";

export interface Place {
    x: number;
    y: number;
}

export interface LevelSlice {
    view: View | null;
    blockById: ReadonlyMap<Handle, Block>;
    wireById: ReadonlyMap<Handle, Wire>;
    /// Where blocks are while a hand moves them and until the server has drawn them there.
    moved: ReadonlyMap<Handle, Place>;
    back: Handle[];
    forward: Handle[];
    /// Rises when the canvas shall show everything, or the block in `focus`.
    fitCount: number;
    focus: Handle | null;
    goTo(level: Handle, block?: Handle | null): Promise<void>;
    goBack(): void;
    goForward(): void;
    goUp(): void;
    goInto(block: Handle): void;
    /// Asks for what differs; `whole` asks for everything.
    refresh(whole?: boolean): Promise<void>;
    setMoved(moved: ReadonlyMap<Handle, Place>): void;
    fit(): void;
}

const byId = <T extends { id: Handle }>(list: T[]): ReadonlyMap<Handle, T> => new Map(list.map((each) => [each.id, each]));

/// The earlier view with what a partial answer changes in it. What stays equal stays the same object, so that it is
/// not drawn again.
export function mergeView(old: View, news: View): View {
    if (!news.partial) return news;
    const merge = <T extends { id: Handle }>(before: T[], after: T[], removed: Handle[]): T[] => {
        const gone = new Set(removed);
        const fresh = new Map(after.map((each) => [each.id, each]));
        const kept = before.filter((each) => !gone.has(each.id)).map((each) => {
            const now = fresh.get(each.id);
            fresh.delete(each.id);
            return now ?? each;
        });
        return [...kept, ...fresh.values()];
    };
    return {
        ...news,
        pictures: { ...old.pictures, ...news.pictures },
        blocks: merge(old.blocks, news.blocks, news.removed?.blocks ?? []),
        wires: merge(old.wires, news.wires, news.removed?.wires ?? []),
    };
}

export const levelSlice: Slice<LevelSlice> = (set, get) => {
    let asking: Promise<void> | null = null;
    let again = false;

    const take = (view: View) => {
        const { selectedBlocks, selectedWires, selectedComments } = get();
        const blockById = byId(view.blocks), wireById = byId(view.wires), comments = new Set(view.comments.map((c) => c.id));
        set({
            view,
            blockById,
            wireById,
            moved: get().dragging ? get().moved : new Map(),
            selectedBlocks: selectedBlocks.filter((id) => blockById.has(id)),
            selectedWires: selectedWires.filter((id) => wireById.has(id)),
            selectedComments: selectedComments.filter((id) => comments.has(id)),
        });
    };

    const show = async (level: Handle, block: Handle | null): Promise<boolean> => {
        const view = await get().ask("view", { level });
        if (!view) return false;
        set({ dragging: false });
        take(view);
        set({ selectedBlocks: block === null ? [] : [block], selectedWires: [], selectedComments: [] });
        set({ focus: block, fitCount: get().fitCount + 1 });
        return true;
    };

    const refreshOnce = async (whole: boolean) => {
        const { view, server } = get();
        if (!view || !server) return;
        try {
            const news = await server.call("view", { level: view.level, ...(whole ? {} : { since: view.revision }) });
            const now = get().view;
            if (now && now.level === news.level) take(mergeView(now, news));
        } catch (error) {
            // the level itself may have been removed
            if (view.level !== "0") await show(view.breadcrumb.at(-2)?.level ?? "0", null);
            else get().fail(error);
        }
    };

    return {
        view: null,
        blockById: new Map(),
        wireById: new Map(),
        moved: new Map(),
        back: [],
        forward: [],
        fitCount: 0,
        focus: null,

        async goTo(level, block = null) {
            const here = get().view?.level;
            if (here === level) {
                set({ focus: block, fitCount: get().fitCount + 1 });
                if (block !== null) get().selectOnly([block]);
                return;
            }
            if ((await show(level, block)) && here !== undefined) set({ back: [...get().back, here], forward: [] });
        },
        goBack() {
            const { back, forward, view } = get();
            const level = back.at(-1);
            if (level === undefined || !view) return;
            set({ back: back.slice(0, -1), forward: [...forward, view.level] });
            void show(level, null);
        },
        goForward() {
            const { back, forward, view } = get();
            const level = forward.at(-1);
            if (level === undefined || !view) return;
            set({ forward: forward.slice(0, -1), back: [...back, view.level] });
            void show(level, null);
        },
        goUp() {
            const { view } = get();
            const above = view?.breadcrumb.at(-2);
            // the subsystem that was left is the one selected
            if (above && view) void get().goTo(above.level, view.level);
        },
        goInto(block) {
            const inside = get().blockById.get(block)?.inside;
            if (inside) void get().goTo(inside);
        },

        async refresh(whole = false) {
            // one question at a time; what comes meanwhile is one more
            if (asking) {
                again = true;
                return asking;
            }
            asking = (async () => {
                do {
                    again = false;
                    await refreshOnce(whole);
                } while (again);
            })().finally(() => (asking = null));
            return asking;
        },
        setMoved: (moved) => set({ moved }),
        fit: () => set({ focus: null, fitCount: get().fitCount + 1 }),
    };
};
