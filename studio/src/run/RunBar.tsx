// Starts, pauses, steps and stops a run, and says how far it is.
import { useStudio } from "../state/store";
import { Icon } from "../shell/Icon";

const speeds = [
    { speed: 0, name: "as fast as it goes" },
    { speed: 0.1, name: "a tenth of real time" },
    { speed: 1, name: "real time" },
    { speed: 10, name: "ten times real time" },
];

export function RunBar() {
    const phase = useStudio((s) => s.phase);
    const time = useStudio((s) => s.time);
    const step = useStudio((s) => s.step);
    const run = useStudio((s) => s.run);
    const view = useStudio((s) => s.view);
    const runSettings = useStudio((s) => s.runSettings);
    const speed = useStudio((s) => s.speed);
    const { startRun, pauseRun, resumeRun, stepRun, stopRun, setRunSetting, setSpeed } = useStudio.getState();
    const active = phase === "running" || phase === "paused";
    const share = run && run.steps > 0 ? Math.min(1, step / run.steps) : 0;
    return (
        <div className="run-bar" role="toolbar" aria-label="run">
            {phase === "running" ? (
                <button type="button" className="primary" aria-label="pause" title="Pause (F5)" onClick={() => void pauseRun()}><Icon name="pause" /></button>
            ) : phase === "paused" ? (
                <button type="button" className="primary" aria-label="resume" title="Resume (F5)" onClick={() => void resumeRun()}><Icon name="play" /></button>
            ) : (
                <button type="button" className="primary" aria-label="run" title="Run (F5)" onClick={() => void startRun()}><Icon name="play" /></button>
            )}
            <button type="button" aria-label="single step" title="Single step (F10)" disabled={phase === "running"} onClick={() => void stepRun()}><Icon name="step" /></button>
            <button type="button" aria-label="stop" title="Stop (Shift+F5)" disabled={!active} onClick={() => void stopRun()}><Icon name="stop" /></button>
            <label className="run-until" title="when this run ends; the model keeps its own time">
                until
                <input type="number" aria-label="end of the run in seconds" step="any" placeholder={String(view?.settings.tf ?? "")}
                    value={runSettings.tf ?? ""}
                    onChange={(e) => setRunSetting("tf", e.target.value === "" ? undefined : Number(e.target.value))} />
                s
            </label>
            <select aria-label="speed of the run" value={speed} onChange={(e) => setSpeed(Number(e.target.value))}>
                {speeds.map((each) => <option key={each.speed} value={each.speed}>{each.name}</option>)}
            </select>
            {phase !== "none" ? (
                <span className={`run-phase ${phase}`}>
                    <progress aria-label="progress of the run" max={1} value={share} />
                    <output>{phase}, t = {Number(time.toPrecision(6))} s</output>
                </span>
            ) : null}
        </div>
    );
}
