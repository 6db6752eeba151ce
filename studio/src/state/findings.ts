// What the checks say.
import type { Finding, Findings, Handle } from "../server/protocol";
import type { Slice } from "./store";

export interface FindingsSlice {
    findings: Findings | null;
    readFindings(): Promise<void>;
    takeFindings(findings: Findings): void;
    jumpTo(finding: Finding): void;
}

export const findingsSlice: Slice<FindingsSlice> = (set, get) => ({
    findings: null,
    async readFindings() {
        const findings = await get().ask("findings");
        if (findings) get().takeFindings(findings);
    },
    takeFindings(findings) {
        const before = get().findings;
        if (before && findings.checked < before.checked) return;
        set({ findings });
        const { view } = get();
        // types, problems and late marks are those of the check
        if (view && ((view.checked ?? -1) < findings.checked || before?.evaluated !== findings.evaluated)) void get().refresh();
    },
    jumpTo(finding) {
        const { wire, level } = finding;
        if (level === null) {
            if (finding.block !== null) void get().goTo("0", finding.block);
            return;
        }
        void get().goTo(level, finding.block).then(() => {
            if (wire !== null && get().wireById.has(wire)) get().selectOnly([], [wire]);
        });
    },
});

/// The findings of one block, the worst first.
export function findingsOf(findings: Findings | null, block: Handle): Finding[] {
    const rank = { error: 0, warning: 1, note: 2 };
    return (findings?.findings ?? [])
        .filter((each) => each.block === block)
        .sort((a, b) => rank[a.severity] - rank[b.severity]);
}
