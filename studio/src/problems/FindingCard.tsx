// One finding: the sentence what, the sentence how to mend it, and the mend itself where it is an edit.
import type { Finding } from "../server/protocol";
import { useStudio } from "../state/store";

export function FindingCard({ finding }: { finding: Finding }) {
    const applyMend = useStudio((s) => s.applyMend);
    const jumpTo = useStudio((s) => s.jumpTo);
    const show = useStudio((s) => s.show);
    return (
        <article className={`finding ${finding.severity}`}>
            <p>
                <span className="severity">{finding.severity}</span>{" "}
                <button type="button" className="code" title="what this code means" onClick={() => show({ kind: "describe", code: finding.code })}>
                    {finding.code}
                </button>{" "}
                {finding.block !== null || finding.wire !== null ? (
                    <button type="button" className="where" onClick={() => jumpTo(finding)}>{finding.path}</button>
                ) : <span className="where">{finding.path}</span>}
            </p>
            <p className="what">{finding.what}</p>
            <p className="mend">{finding.mend}</p>
            {finding.mends?.map(({ title, mend }) => (
                <button key={mend} type="button" className="apply" onClick={() => void applyMend(mend)}>{title}</button>
            ))}
        </article>
    );
}
