// File, undo, layout, run, deliver, theme, help.
import { layoutLevel } from "../layout/layout";
import { RunBar } from "../run/RunBar";
import { useStudio } from "../state/store";
import { Icon, type IconName } from "./Icon";

function Tool({ icon, name, hint, disabled = false, pressed, onClick }: {
    icon: IconName;
    name: string;
    hint: string;
    disabled?: boolean;
    pressed?: boolean;
    onClick: () => void;
}) {
    return (
        <button type="button" className="tool" aria-label={name} aria-pressed={pressed} title={hint} disabled={disabled} onClick={onClick}>
            <Icon name={icon} />
        </button>
    );
}

export function TopBar() {
    const hello = useStudio((s) => s.hello);
    const undoName = useStudio((s) => s.undoName);
    const redoName = useStudio((s) => s.redoName);
    const theme = useStudio((s) => s.theme);
    const palette = useStudio((s) => s.palette);
    const inspector = useStudio((s) => s.inspector);
    const { show, save, undo, redo, setTheme, togglePalette, toggleInspector } = useStudio.getState();
    const opened = hello?.file != null;
    return (
        <header className="top-bar">
            <div className="tools" role="toolbar" aria-label="model">
                <button type="button" className="file-name" title="Open a model of this folder (Ctrl+O)" onClick={() => show({ kind: "files" })}>
                    <Icon name="folder" />
                    <span>{hello?.file ?? "no model"}</span>
                    {hello?.modified ? <span className="modified" role="img" aria-label="not saved" title="not saved">●</span> : null}
                </button>
                <Tool icon="save" name="save" hint="Save (Ctrl+S)" disabled={!opened} onClick={() => void save()} />
                <Tool icon="undo" name="undo" hint={undoName === null ? "Nothing to undo" : `Undo ${undoName} (Ctrl+Z)`} disabled={undoName === null} onClick={() => void undo()} />
                <Tool icon="redo" name="redo" hint={redoName === null ? "Nothing to redo" : `Redo ${redoName} (Ctrl+Y)`} disabled={redoName === null} onClick={() => void redo()} />
                <Tool icon="layout" name="lay out" hint="Lay out this level, or what is selected (L)" disabled={!opened} onClick={() => void layoutLevel()} />
            </div>
            {opened ? <RunBar /> : <span />}
            <div className="tools" role="toolbar" aria-label="page">
                <Tool icon="search" name="search" hint="Search for a block (/)" disabled={!opened} onClick={() => show({ kind: "search" })} />
                <Tool icon="deliver" name="deliver" hint="Generate, export, save the picture (Ctrl+E)" disabled={!opened} onClick={() => show({ kind: "deliver" })} />
                <Tool icon="left" name="palette" hint="Palette" pressed={palette} onClick={togglePalette} />
                <Tool icon="right" name="inspector" hint="Inspector" pressed={inspector} onClick={toggleInspector} />
                <Tool icon={theme === "dark" ? "sun" : "moon"} name={theme === "dark" ? "light page" : "dark page"} hint="Light or dark"
                    onClick={() => setTheme(theme === "dark" ? "light" : "dark")} />
                <Tool icon="help" name="keys" hint="Keys (?)" onClick={() => show({ kind: "keys" })} />
            </div>
        </header>
    );
}
