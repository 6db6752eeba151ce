// The frame around the diagram: theme, panels, dialogs, and what is told to the person.
import type { Handle, PortRef } from "../server/protocol";
import { sentenceOf } from "./session";
import { Unreachable } from "../server/rpc";
import type { Slice } from "./store";

export type Theme = "light" | "dark";
export type BottomTab = "problems" | "plots" | "console";

export interface Message {
    id: number;
    kind: "done" | "note" | "error";
    text: string;
    mend: string;
    action?: { title: string; run: () => void };
}

export type Dialog =
    | { kind: "keys" }
    | { kind: "search" }
    | { kind: "files" }
    | { kind: "evaluate"; then?: () => void }
    | { kind: "deliver" }
    | { kind: "workspace" }
    | { kind: "connect" }
    | { kind: "describe"; code: string }
    | { kind: "conflict"; why: string; blocks: string[] };

/// Where a class is being typed: in canvas units, with what the new block shall be wired to.
export interface QuickInsert {
    x: number;
    y: number;
    from?: PortRef;
    to?: PortRef;
    wire?: Handle;
}

export interface ShellSlice {
    theme: Theme;
    dialog: Dialog | null;
    quick: QuickInsert | null;
    renaming: Handle | null;
    bottom: BottomTab | null;
    palette: boolean;
    inspector: boolean;
    messages: Message[];
    console: string;
    /// Rises when values beside expressions may have changed.
    valuesRevision: number;
    setTheme(theme: Theme): void;
    show(dialog: Dialog | null): void;
    setQuick(quick: QuickInsert | null): void;
    setRenaming(block: Handle | null): void;
    setBottom(tab: BottomTab | null): void;
    togglePalette(): void;
    toggleInspector(): void;
    say(kind: Message["kind"], text: string, action?: Message["action"]): void;
    fail(error: unknown): void;
    dismiss(id: number): void;
    takeConsole(text: string): void;
}

const themeKey = "zarn.theme";
const mostConsole = 200_000;
const shownFor = { done: 2500, note: 8000, error: 12_000 };

function firstTheme(): Theme {
    const kept = localStorage.getItem(themeKey);
    if (kept === "light" || kept === "dark") return kept;
    return window.matchMedia?.("(prefers-color-scheme: dark)").matches ? "dark" : "light";
}

export const shellSlice: Slice<ShellSlice> = (set, get) => {
    let nextMessage = 1;
    const push = (message: Omit<Message, "id">) => {
        const id = nextMessage++;
        // the same sentence twice is one message
        const others = get().messages.filter((each) => each.text !== message.text);
        set({ messages: [...others, { ...message, id }].slice(-4) });
        if (!message.action) setTimeout(() => get().dismiss(id), shownFor[message.kind]);
    };
    return {
        theme: firstTheme(),
        dialog: null,
        quick: null,
        renaming: null,
        bottom: null,
        palette: true,
        inspector: true,
        messages: [],
        console: "",
        valuesRevision: 0,
        setTheme(theme) {
            localStorage.setItem(themeKey, theme);
            set({ theme });
        },
        show: (dialog) => set({ dialog }),
        setQuick: (quick) => set({ quick }),
        setRenaming: (renaming) => set({ renaming }),
        setBottom: (bottom) => set({ bottom }),
        togglePalette: () => set({ palette: !get().palette }),
        toggleInspector: () => set({ inspector: !get().inspector }),
        say: (kind, text, action) => push({ kind, text, mend: "", ...(action ? { action } : {}) }),
        fail(error) {
            if (error instanceof Unreachable) set({ fatal: error.message });
            push({ kind: "error", ...sentenceOf(error) });
        },
        dismiss: (id) => set({ messages: get().messages.filter((each) => each.id !== id) }),
        takeConsole(text) {
            set({ console: (get().console + text).slice(-mostConsole) });
        },
    };
};
