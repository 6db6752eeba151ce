// The models of the opened folder, and a new one.
import { useEffect, useState } from "react";
import { useStudio } from "../state/store";

export function FileList() {
    const { ask, open, show, save } = useStudio.getState();
    const here = useStudio((s) => s.hello?.file);
    const modified = useStudio((s) => s.hello?.modified === true);
    const [files, setFiles] = useState<{ file: string; size: number }[] | null>(null);
    const [name, setName] = useState("");
    useEffect(() => {
        void ask("files").then((answer) => setFiles(answer?.files ?? []));
    }, [ask]);
    const go = async (file: string, create: boolean) => {
        // what is drawn in the other model is not lost
        if (modified && !(await save())) return;
        show(null);
        await open(file, create);
    };
    const wanted = name.endsWith(".json") ? name : `${name}.json`;
    return (
        <div className="file-list">
            <ul className="list" aria-label="models">
                {files?.map(({ file, size }) => (
                    <li key={file}>
                        <button type="button" aria-current={file === here} onClick={() => void go(file, false)}>
                            <span>{file}</span>
                            <span className="class">{(size / 1000).toFixed(1)} kB</span>
                        </button>
                    </li>
                ))}
            </ul>
            {files?.length === 0 ? <p className="empty">There is no model in this folder yet.</p> : null}
            <form className="row" onSubmit={(e) => {
                e.preventDefault();
                if (name !== "") void go(wanted, true);
            }}>
                <input aria-label="name of a new model" placeholder="new model" value={name} onChange={(e) => setName(e.target.value)} />
                <button type="submit" disabled={name === ""}>Create</button>
            </form>
            {modified ? <p className="remark">{here} is saved before another one is opened.</p> : null}
        </div>
    );
}
