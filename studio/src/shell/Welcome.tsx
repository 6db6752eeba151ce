// A folder was opened: which model of it?
import { FileList } from "../dialogs/FileList";
import { useStudio } from "../state/store";

export function Welcome() {
    const folder = useStudio((s) => s.hello?.folder);
    return (
        <div className="welcome">
            <h1>zarn studio</h1>
            <p className="class">{folder}</p>
            <FileList />
        </div>
    );
}
