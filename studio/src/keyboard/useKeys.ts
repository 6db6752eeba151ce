// Hands keys to commands, unless a person is writing or a dialog is open.
import { useEffect } from "react";
import { pasteText } from "../state/actions";
import { useStudio } from "../state/store";
import { commandOfKey, nameOfKey } from "./commands";

const always = new Set(["F5", "Shift+F5", "F10", "Ctrl+s"]);

function writes(target: EventTarget | null): boolean {
    if (!(target instanceof HTMLElement)) return false;
    if (target instanceof HTMLInputElement) return !["checkbox", "button", "range", "color"].includes(target.type);
    return target.isContentEditable || target instanceof HTMLTextAreaElement || target instanceof HTMLSelectElement;
}

// a button or a summary has its own Enter and blank
const presses = (target: EventTarget | null) =>
    target instanceof HTMLElement && target.closest("button, summary, a, [role=option]") !== null;

/// A node or wire of the canvas that has the focus is selected by Enter or a blank.
function selectFocused(target: EventTarget | null, add: boolean): boolean {
    const element = target instanceof Element ? target.closest(".react-flow__node, .react-flow__edge") : null;
    const id = element?.getAttribute("data-id");
    if (!element || !id) return false;
    const { selectOnly, changeSelection, selectedBlocks, selectedWires } = useStudio.getState();
    const wire = element.classList.contains("react-flow__edge");
    const selected = (wire ? selectedWires : selectedBlocks).includes(id);
    if (add) changeSelection(wire ? "wires" : "blocks", [{ id, selected: !selected }]);
    else if (selected) return false;
    else if (wire) selectOnly([], [id]);
    else selectOnly([id]);
    return true;
}

export function useKeys() {
    useEffect(() => {
        const down = (event: KeyboardEvent) => {
            const key = nameOfKey(event), { dialog, show } = useStudio.getState();
            if (dialog) {
                if (event.key === "Escape") show(null);
                return;
            }
            if (writes(event.target) && !always.has(key)) return;
            if (presses(event.target) && (key === "Enter" || key === " ")) return;
            // text that is marked somewhere is what a person wants to copy
            if (key === "Ctrl+c" && window.getSelection()?.toString()) return;
            if ((event.key === "Enter" || event.key === " ") && selectFocused(event.target, event.shiftKey)) {
                event.preventDefault();
                return;
            }
            const command = commandOfKey.get(key);
            if (!command) return;
            event.preventDefault();
            void command.run();
        };
        const paste = (event: ClipboardEvent) => {
            if (writes(event.target) || useStudio.getState().dialog) return;
            const text = event.clipboardData?.getData("text/plain");
            if (!text) return;
            event.preventDefault();
            void pasteText(text);
        };
        const leave = (event: BeforeUnloadEvent) => {
            if (useStudio.getState().hello?.modified) event.preventDefault();
        };
        window.addEventListener("keydown", down);
        window.addEventListener("paste", paste);
        window.addEventListener("beforeunload", leave);
        return () => {
            window.removeEventListener("keydown", down);
            window.removeEventListener("paste", paste);
            window.removeEventListener("beforeunload", leave);
        };
    }, []);
}
