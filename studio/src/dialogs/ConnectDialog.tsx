// Both ends of a new wire, chosen from lists: the way to wire any two ports without a pointer.
import { useState } from "react";
import type { Block, Port, PortRef } from "../server/protocol";
import { connect } from "../state/actions";
import { useStudio } from "../state/store";
import { Frame } from "./Frame";

const keyOf = (block: Block, port: Port) => `${block.id} ${port.index}`;

function refOf(key: string): PortRef {
    const cut = key.lastIndexOf(" ");
    return { block: key.slice(0, cut), port: Number(key.slice(cut + 1)) };
}

export function ConnectDialog() {
    const view = useStudio((s) => s.view);
    const selected = useStudio((s) => s.selectedBlocks);
    const show = useStudio((s) => s.show);
    const blocks = view?.blocks ?? [];
    const outputs = blocks.flatMap((block) => block.outputs.map((port) => ({ block, port })));
    const inputs = blocks.flatMap((block) => block.inputs.map((port) => ({ block, port })));
    const firstOf = (list: { block: Block; port: Port }[], id: string | undefined) => {
        const found = list.find(({ block, port }) => block.id === id && !port.linked) ?? list.find(({ block }) => block.id === id);
        return found ? keyOf(found.block, found.port) : "";
    };
    const [from, setFrom] = useState(() => firstOf(outputs, selected[0]));
    const [to, setTo] = useState(() => firstOf(inputs, selected[1]));
    const pick = (label: string, value: string, set: (key: string) => void, list: { block: Block; port: Port }[], auto: boolean) => (
        <label className="parameter">
            {label}
            <select value={value} autoFocus={auto} onChange={(e) => set(e.target.value)}
                onKeyDown={(e) => e.key === "Enter" && e.currentTarget.form?.requestSubmit()}>
                <option value="">choose a port</option>
                {list.map(({ block, port }) => (
                    <option key={keyOf(block, port)} value={keyOf(block, port)}>
                        {block.name}, {port.name || `port ${port.index}`}{port.linked ? ", wired" : ""}
                    </option>
                ))}
            </select>
        </label>
    );
    return (
        <Frame title="Connect">
            <form onSubmit={(e) => {
                e.preventDefault();
                if (from === "" || to === "") return;
                show(null);
                void connect(refOf(from), refOf(to));
            }}>
                {pick("from the output", from, setFrom, outputs, true)}
                {pick("to the input", to, setTo, inputs, false)}
                <footer className="row"><button type="submit" className="primary" disabled={from === "" || to === ""}>Connect</button></footer>
            </form>
        </Frame>
    );
}
