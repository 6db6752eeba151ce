// A wire: what it carries, its label, and a probe.
import type { Wire } from "../server/protocol";
import { findingsOf } from "../state/findings";
import { useStudio } from "../state/store";
import { FindingCard } from "../problems/FindingCard";
import { spokenWire } from "../canvas/WireEdge";
import { Field } from "./Field";

export function WireForm({ wire }: { wire: Wire }) {
    const edit = useStudio((s) => s.edit);
    const editable = useStudio((s) => s.view?.editable === true);
    const toggleProbe = useStudio((s) => s.toggleProbe);
    const probed = useStudio((s) => wire.from !== null && s.probes.has(`${wire.from.block}:${wire.from.port}`));
    const findings = useStudio((s) => s.findings);
    const mine = findings?.findings.filter((each) => each.wire === wire.id) ?? [];
    return (
        <form onSubmit={(e) => e.preventDefault()}>
            <header><h2>Wire</h2><p className="class">{wire.type || "type not known yet"}</p></header>
            <p className="summary">{spokenWire(wire)}</p>
            {mine.map((each, i) => <FindingCard key={i} finding={each} />)}
            {wire.to && mine.length === 0 ? findingsOf(findings, wire.to.block).filter((f) => f.severity === "error").slice(0, 1)
                .map((each, i) => <FindingCard key={i} finding={each} />) : null}
            <div className="parameter">
                <label htmlFor="wire-label">label</label>
                <Field id="wire-label" label="label" value={wire.label} disabled={!editable}
                    onKeep={(text) => void edit([{ op: "label", wire: wire.id, text }])} />
            </div>
            <div className="row">
                <button type="button" aria-pressed={probed} onClick={() => toggleProbe(wire.id)}>{probed ? "Take the probe away" : "Probe it"}</button>
                {wire.bends.length > 0 && editable ? (
                    <button type="button" onClick={() => void edit([{ op: "bends", wire: wire.id, points: [] }])}>Straighten</button>
                ) : null}
            </div>
        </form>
    );
}
