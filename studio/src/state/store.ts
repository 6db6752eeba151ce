// The one store of the page. Each slice is a file of this folder; a component picks what it needs.
import { create, type StateCreator } from "zustand";
import { editSlice, type EditSlice } from "./edit";
import { findingsSlice, type FindingsSlice } from "./findings";
import { levelSlice, type LevelSlice } from "./level";
import { runSlice, type RunSlice } from "./run";
import { selectionSlice, type SelectionSlice } from "./selection";
import { sessionSlice, type SessionSlice } from "./session";
import { shellSlice, type ShellSlice } from "./shell";

export type Studio = SessionSlice & LevelSlice & SelectionSlice & EditSlice & FindingsSlice & RunSlice & ShellSlice;

/// A slice reads and writes the whole store.
export type Slice<T> = StateCreator<Studio, [], [], T>;

export const useStudio = create<Studio>()((...a) => ({
    ...sessionSlice(...a),
    ...levelSlice(...a),
    ...selectionSlice(...a),
    ...editSlice(...a),
    ...findingsSlice(...a),
    ...runSlice(...a),
    ...shellSlice(...a),
}));
