// The model: its times, its workspace script, what is worth knowing of the level.
import { useStudio } from "../state/store";
import type { Settings } from "../server/protocol";
import { Field } from "./Field";

const times: { key: keyof Settings; meaning: string }[] = [
    { key: "ti", meaning: "time of the first step" },
    { key: "tf", meaning: "time that no step passes" },
    { key: "ts", meaning: "length of a step" },
];

export function ModelForm() {
    const view = useStudio((s) => s.view);
    const hello = useStudio((s) => s.hello);
    const edit = useStudio((s) => s.edit);
    const say = useStudio((s) => s.say);
    const show = useStudio((s) => s.show);
    if (!view || !hello) return null;
    const keep = (key: keyof Settings, text: string) => {
        const value = Number(text);
        if (text.trim() === "" || !Number.isFinite(value)) return say("error", `${key} is a number, in seconds.`);
        void edit([{ op: "set_setting", key, value }]);
    };
    return (
        <form onSubmit={(e) => e.preventDefault()}>
            <header><h2>{view.title}</h2><p className="class">{view.path}</p></header>
            {times.map(({ key, meaning }) => (
                <div key={key} className="parameter">
                    <label htmlFor={`setting-${key}`}>{key}<span className="unit">s</span></label>
                    <Field id={`setting-${key}`} label={key} value={String(view.settings[key])} disabled={!view.editable}
                        onKeep={(text) => keep(key, text)} />
                    <p className="meaning">{meaning}</p>
                </div>
            ))}
            <div className="row"><button type="button" onClick={() => show({ kind: "workspace" })}>Workspace script...</button></div>
            {view.editable ? null : <p className="remark">This level comes from {view.file}: open that file to change it.</p>}
            {view.notes.map((note) => <p key={note} className="value problem">{note}</p>)}
            {view.remarks.map((remark) => <p key={remark} className="remark">{remark}</p>)}
        </form>
    );
}
