// The file changed on disk where the model in memory did: one of both is taken, never silently.
import { useStudio } from "../state/store";
import { Frame } from "./Frame";

export function ConflictDialog({ why, blocks }: { why: string; blocks: string[] }) {
    const { show, save, revert } = useStudio.getState();
    return (
        <Frame title="The file changed on disk">
            <p>{why}</p>
            {blocks.length > 0 ? <ul className="executed">{blocks.map((block) => <li key={block}><code>{block}</code></li>)}</ul> : null}
            <footer className="row">
                <button type="button" onClick={() => {
                    show(null);
                    void save(true);
                }}>Keep mine, write over the file</button>
                <button type="button" onClick={() => {
                    show(null);
                    void revert();
                }}>Take the file, drop mine</button>
                <button type="button" className="primary" autoFocus onClick={() => show(null)}>Decide later</button>
            </footer>
        </Frame>
    );
}
