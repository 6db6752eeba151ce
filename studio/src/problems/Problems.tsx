// All that the checks say, the worst first; a click jumps to the place.
import { useMemo } from "react";
import { useStudio } from "../state/store";
import { FindingCard } from "./FindingCard";

const rank = { error: 0, warning: 1, note: 2 };
const mostShown = 300;

export function Problems() {
    const findings = useStudio((s) => s.findings);
    const sorted = useMemo(
        () => [...(findings?.findings ?? [])].sort((a, b) => rank[a.severity] - rank[b.severity]),
        [findings],
    );
    if (!findings) return <p className="empty">The first check is under way.</p>;
    if (sorted.length === 0) return <p className="empty">No problems{findings.evaluated ? "." : ", as far as can be told without evaluating expressions."}</p>;
    return (
        <div className="problems">
            {sorted.slice(0, mostShown).map((each, i) => <FindingCard key={i} finding={each} />)}
            {sorted.length > mostShown ? <p className="empty">and {sorted.length - mostShown} more</p> : null}
        </div>
    );
}
