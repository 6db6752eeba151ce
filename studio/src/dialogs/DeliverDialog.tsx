// Code and pictures of the model, with the notes on what differs.
import { useState } from "react";
import type { Delivered } from "../server/protocol";
import { download } from "../shell/download";
import { useStudio } from "../state/store";
import { Frame } from "./Frame";

const formNames: Record<string, string> = { c: "C", py: "Python", fmu: "FMU" };
const nameOf = (form: string) => formNames[form] ?? form;

export function DeliverDialog() {
    const hello = useStudio((s) => s.hello);
    const view = useStudio((s) => s.view);
    const { ask, show } = useStudio.getState();
    const stem = (hello?.file ?? "model").replace(/^.*\//, "").replace(/\.json$/, "");
    const [folder, setFolder] = useState(`${stem}-code`);
    const [done, setDone] = useState<Delivered | null>(null);
    const [busy, setBusy] = useState(false);
    const deliver = async (method: "generate" | "export", form: string) => {
        setBusy(true);
        setDone(null);
        setDone(await ask(method, { form, folder }));
        setBusy(false);
    };
    const picture = async (level: string | null) => {
        const answer = await ask("picture", level === null ? {} : { level });
        if (answer) download(`${stem}.svg`, new Blob([answer.svg], { type: "image/svg+xml" }));
    };
    const buttons = (method: "generate" | "export", forms: string[] | undefined) =>
        forms?.map((form) => (
            <button key={form} type="button" disabled={busy || folder === ""} onClick={() => void deliver(method, form)}>
                {method === "generate" ? "Generate" : "Export"} {nameOf(form)}
            </button>
        ));
    const { generate, export: exports } = hello?.features ?? {};
    return (
        <Frame title="Deliver">
            <section aria-label="code">
                <h2>Code</h2>
                <label className="parameter">
                    into the folder
                    <input value={folder} onChange={(e) => setFolder(e.target.value)} />
                </label>
                <div className="buttons">{buttons("generate", generate ?? ["c", "py"])}{buttons("export", exports)}</div>
                {done ? (
                    <div className="delivered" role="status">
                        <p>{done.files.length} files are written:</p>
                        <ul className="executed">{done.files.map((file) => <li key={file}><code>{file}</code></li>)}</ul>
                        {done.notes.length > 0 ? <><h2>What differs from a run</h2><ul className="executed">{done.notes.map((note) => <li key={note}>{note}</li>)}</ul></> : null}
                    </div>
                ) : null}
            </section>
            <section aria-label="picture">
                <h2>Picture</h2>
                <div className="buttons">
                    <button type="button" onClick={() => void picture(view?.level ?? "0")}>This level as SVG</button>
                    <button type="button" onClick={() => void picture(null)}>All levels as SVG</button>
                </div>
            </section>
            <footer className="row"><button type="button" onClick={() => show(null)}>Close</button></footer>
        </Frame>
    );
}
