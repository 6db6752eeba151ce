// The workspace script beside the model, to look at and edit. It is run only where evaluating is agreed to.
import { useEffect, useState } from "react";
import { useStudio } from "../state/store";
import { Frame } from "./Frame";

export function WorkspaceDialog() {
    const { ask, show, say, readFindings } = useStudio.getState();
    const [seen, setSeen] = useState<{ file: string; text: string; exists: boolean } | null>(null);
    const [text, setText] = useState("");
    useEffect(() => {
        void ask("workspace.read", {}).then((answer) => {
            if (!answer) return;
            setSeen(answer);
            setText(answer.text);
        });
    }, [ask]);
    const keep = async () => {
        if (!seen || !(await ask("workspace.write", { file: seen.file, text, seen: seen.text }))) return;
        say("done", `${seen.file} is saved`);
        show(null);
        await readFindings();
    };
    return (
        <Frame title={seen?.file ?? "Workspace script"} wide>
            {seen && !seen.exists ? <p className="remark">There is no such file yet; it is made when it is saved.</p> : null}
            <textarea className="script" aria-label="workspace script" spellCheck={false} autoFocus value={text} disabled={!seen}
                onChange={(e) => setText(e.target.value)} />
            <footer className="row">
                <button type="button" className="primary" disabled={!seen || text === seen.text} onClick={() => void keep()}>Save</button>
                <button type="button" onClick={() => show(null)}>Close</button>
            </footer>
        </Frame>
    );
}
