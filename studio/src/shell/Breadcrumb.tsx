// The way from the root to the level that is looked at.
import { useStudio } from "../state/store";
import { Icon } from "./Icon";

export function Breadcrumb() {
    const view = useStudio((s) => s.view);
    const back = useStudio((s) => s.back.length > 0);
    const forward = useStudio((s) => s.forward.length > 0);
    const { goTo, goBack, goForward, goUp } = useStudio.getState();
    if (!view) return null;
    const crumbs = view.breadcrumb;
    return (
        <nav className="breadcrumb" aria-label="levels">
            <button type="button" aria-label="back" title="Back (Alt+Left)" disabled={!back} onClick={goBack}><Icon name="back" /></button>
            <button type="button" aria-label="forward" title="Forward (Alt+Right)" disabled={!forward} onClick={goForward}><Icon name="forward" /></button>
            <button type="button" aria-label="up" title="Up (U)" disabled={crumbs.length < 2} onClick={goUp}><Icon name="up" /></button>
            <ol>
                {crumbs.map(({ level, name }, i) => (
                    <li key={level}>
                        <button type="button" aria-current={i === crumbs.length - 1 ? "location" : undefined} onClick={() => void goTo(level)}>{name}</button>
                    </li>
                ))}
            </ol>
            {view.editable ? null : <span className="read-only">from {view.file}, to look at only</span>}
        </nav>
    );
}
