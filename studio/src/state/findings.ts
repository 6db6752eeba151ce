// What the checks say.
import type { Finding, Findings, Handle } from "../server/protocol";
import type { Slice } from "./store";

export interface FindingsSlice {
    findings: Findings | null;
    /// The worst that is said of what lies inside, by the path of a subsystem.
    insideProblems: ReadonlyMap<string, "error" | "warning">;
    readFindings(): Promise<void>;
    takeFindings(findings: Findings): void;
    jumpTo(finding: Finding): void;
}

function insideOf(findings: Finding[]): ReadonlyMap<string, "error" | "warning"> {
    const inside = new Map<string, "error" | "warning">();
    for (const { path, severity } of findings) {
        if (path === null || severity === "note") continue;
        // each subsystem on the way down to the block
        for (let cut = path.lastIndexOf("."); cut > 0; cut = path.lastIndexOf(".", cut - 1)) {
            const above = path.slice(0, cut);
            if (inside.get(above) !== "error") inside.set(above, severity);
        }
    }
    return inside;
}

export const findingsSlice: Slice<FindingsSlice> = (set, get) => ({
    findings: null,
    insideProblems: new Map(),
    async readFindings() {
        const findings = await get().ask("findings");
        if (findings) get().takeFindings(findings);
    },
    takeFindings(findings) {
        const before = get().findings;
        if (before && findings.checked < before.checked) return;
        set({ findings, insideProblems: insideOf(findings.findings) });
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
