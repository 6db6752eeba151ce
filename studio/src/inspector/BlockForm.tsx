// A block: name, parameters, ports, place and colour, what its class does, and what the checks say of it.
import { useEffect, useState } from "react";
import type { Block, BlockFacts, Color } from "../server/protocol";
import { findingsOf } from "../state/findings";
import { useStudio } from "../state/store";
import { FindingCard } from "../problems/FindingCard";
import { Field } from "./Field";
import { ParameterField } from "./ParameterField";

function useFacts(block: Block): BlockFacts | null {
    const server = useStudio((s) => s.server);
    const revision = useStudio((s) => s.view?.revision);
    const [facts, setFacts] = useState<BlockFacts | null>(null);
    useEffect(() => {
        let current = true;
        server?.call("block", { block: block.id }).then((answer) => current && setFacts(answer), () => undefined);
        return () => {
            current = false;
        };
    }, [server, block.id, revision]);
    return facts;
}

const byte = (v: number) => Math.round(v * 255).toString(16).padStart(2, "0");
const hexOf = ({ red, green, blue }: Color) => `#${byte(red)}${byte(green)}${byte(blue)}`;
const part = (hex: string, i: number) => Math.round((parseInt(hex.slice(i, i + 2), 16) / 255) * 1000) / 1000;

function Ports({ facts }: { facts: BlockFacts }) {
    const known = useStudio((s) => s.classByName.get(facts.class));
    const edit = useStudio((s) => s.edit);
    if (!known || (known.inputs !== null && known.outputs !== null)) return null;
    const field = (side: "inputs" | "outputs", least: number) => (
        <label>
            {side}
            <input type="number" min={least} max={8} value={facts[side]}
                onChange={(e) => void edit([{ op: "set_ports", block: facts.id, [side]: Number(e.target.value) }])} />
        </label>
    );
    return (
        <div className="row">
            {known.inputs === null ? field("inputs", known.fewest_inputs ?? 0) : null}
            {known.outputs === null ? field("outputs", 0) : null}
        </div>
    );
}

function Looks({ block, facts }: { block: Block; facts: BlockFacts }) {
    const edit = useStudio((s) => s.edit);
    const set = (key: "x" | "y" | "width" | "height" | "rotation") => (
        <label key={key}>
            {key}
            <input type="number" step={key === "rotation" ? 90 : 5} value={Math.round(block[key] * 100) / 100}
                onChange={(e) => e.target.value !== "" && void edit([{ op: "geometry", block: block.id, [key]: Number(e.target.value) }])} />
        </label>
    );
    const { color } = facts;
    return (
        <details>
            <summary>Place and colour</summary>
            <div className="grid">{(["x", "y", "width", "height", "rotation"] as const).map(set)}
                <label>
                    colour
                    <input type="color" value={color ? hexOf(color) : "#ffffff"}
                        onChange={(e) => {
                            const hex = e.target.value;
                            void edit([{ op: "set_color", block: block.id, color: { red: part(hex, 1), green: part(hex, 3), blue: part(hex, 5), alpha: 1 } }]);
                        }} />
                </label>
            </div>
            {color ? <button type="button" onClick={() => void edit([{ op: "set_color", block: block.id, color: null }])}>no colour</button> : null}
        </details>
    );
}

function Explanation({ block }: { block: string }) {
    const server = useStudio((s) => s.server);
    const revision = useStudio((s) => s.valuesRevision);
    const [text, setText] = useState("");
    const [open, setOpen] = useState(false);
    useEffect(() => {
        if (!open) return;
        server?.call("explain", { block }).then(
            (answer) => setText(answer.text),
            (error: unknown) => setText(error instanceof Error ? error.message : ""),
        );
    }, [server, block, open, revision]);
    return (
        <details onToggle={(e) => setOpen(e.currentTarget.open)}>
            <summary>What it computes here</summary>
            <pre>{text}</pre>
        </details>
    );
}

export function BlockForm({ block }: { block: Block }) {
    const facts = useFacts(block);
    const known = useStudio((s) => s.classByName.get(block.class));
    const findings = useStudio((s) => s.findings);
    const editable = useStudio((s) => s.view?.editable === true);
    const edit = useStudio((s) => s.edit);
    const goInto = useStudio((s) => s.goInto);
    const open = useStudio((s) => s.open);
    return (
        <form onSubmit={(e) => e.preventDefault()}>
            <header>
                <Field label="name" value={block.name} disabled={!editable}
                    onKeep={(name) => void edit([{ op: "rename", block: block.id, name }])} />
                <p className="class">{block.class}</p>
            </header>
            {known?.summary ? <p className="summary">{known.summary}</p> : null}
            {findingsOf(findings, block.id).map((each, i) => <FindingCard key={i} finding={each} />)}
            {block.inside ? (
                <div className="row">
                    <button type="button" onClick={() => goInto(block.id)}>Go inside</button>
                    {block.reference ? <button type="button" onClick={() => void open(block.reference ?? "")}>Open {block.reference}</button> : null}
                </div>
            ) : null}
            {facts ? facts.parameters.map((each) => (
                <ParameterField key={each.key} facts={facts} parameter={each} editable={editable} />
            )) : null}
            {facts && editable ? <Ports facts={facts} /> : null}
            {facts && editable ? <Looks block={block} facts={facts} /> : null}
            <Explanation block={block.id} />
            {known?.description ? <details><summary>About {block.class}</summary><pre>{known.description}</pre></details> : null}
        </form>
    );
}
