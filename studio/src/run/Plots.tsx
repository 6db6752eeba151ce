// The signals of the run, as plots that grow while it runs.
import { useMemo } from "react";
import { download } from "../shell/download";
import { useStudio } from "../state/store";
import { linesOf } from "./lines";
import { pictureOfPlots, Plot } from "./Plot";

const rowHeight = 190;

function Legend({ names }: { names: string[] }) {
    const hidden = useStudio((s) => s.hidden);
    const toggleSignal = useStudio((s) => s.toggleSignal);
    return (
        <ul className="signals" aria-label="signals">
            {names.map((name, i) => (
                <li key={name}>
                    <label>
                        <input type="checkbox" checked={!hidden.has(name)} onChange={() => toggleSignal(name)} />
                        <span className={`swatch line-${i % 6}`} />
                        {name}
                    </label>
                </li>
            ))}
        </ul>
    );
}

function SaveButtons() {
    const ask = useStudio((s) => s.ask);
    const run = useStudio((s) => s.run);
    const file = useStudio((s) => s.hello?.file ?? "run");
    const stem = file.replace(/^.*\//, "").replace(/\.json$/, "");
    const results = async (form: "csv" | "npz") => {
        const answer = await ask("run.results", { form, ...(run ? { run: run.run } : {}) });
        if (answer?.text !== undefined) download(`${stem}.${form}`, new Blob([answer.text], { type: "text/csv" }));
        if (answer?.base64 !== undefined) {
            const bytes = Uint8Array.from(atob(answer.base64), (c) => c.charCodeAt(0));
            download(`${stem}.${form}`, new Blob([bytes], { type: "application/octet-stream" }));
        }
    };
    const picture = async () => {
        const data = pictureOfPlots();
        if (!data) return;
        const bytes = Uint8Array.from(atob(data.slice(data.indexOf(",") + 1)), (c) => c.charCodeAt(0));
        download(`${stem}.png`, new Blob([bytes], { type: "image/png" }));
    };
    return (
        <div className="save-buttons">
            <button type="button" onClick={() => void results("csv")}>Save CSV</button>
            <button type="button" onClick={() => void results("npz")}>Save NPZ</button>
            <button type="button" onClick={() => void picture()}>Save picture</button>
        </div>
    );
}

export function Plots() {
    const run = useStudio((s) => s.run);
    const earlier = useStudio((s) => s.earlier);
    const overlay = useStudio((s) => s.overlay);
    const setOverlay = useStudio((s) => s.setOverlay);
    const hidden = useStudio((s) => s.hidden);
    const running = useStudio((s) => s.phase === "running");
    const firstBad = useStudio((s) => s.firstBad);
    const goTo = useStudio((s) => s.goTo);
    const names = useMemo(() => [...new Set(run?.signals.map((s) => s.name) ?? [])], [run]);
    const span = useMemo((): [number, number] => [run?.settings.ti ?? 0, run?.settings.tf ?? 1], [run]);
    if (!run || names.length === 0) return <p className="empty">Start a run to see its signals. A wire that is probed is one of them.</p>;
    return (
        <div className="plots">
            <div className="plots-side">
                <Legend names={names} />
                {earlier.length > 0 ? (
                    <label className="overlay">
                        <input type="checkbox" checked={overlay} onChange={(e) => setOverlay(e.target.checked)} /> earlier runs behind
                    </label>
                ) : null}
                {firstBad ? (
                    <button type="button" className="bad-link" onClick={() => void goTo("0", firstBad.block)}>
                        first bad value at t = {firstBad.time} s
                    </button>
                ) : null}
                <SaveButtons />
                <p className="hint">Drag sideways to zoom, double click for all.</p>
            </div>
            <div className="plots-area">
                {names.filter((name) => !hidden.has(name)).map((name) => (
                    <Plot key={name} title={name} lines={linesOf(name, run, earlier, overlay)} names={names} height={rowHeight} span={span}
                        running={running} />
                ))}
            </div>
        </div>
    );
}
