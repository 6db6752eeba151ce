// The frame of a dialog: it holds the focus, Escape closes it, and the focus returns to where it was.
import { useEffect, useRef, type ReactNode } from "react";
import { Icon } from "../shell/Icon";
import { useStudio } from "../state/store";

// what has the focus at first, the harmless one of several buttons
const firstInside = ["input, select, textarea", "button.primary", "button"];

export function Frame({ title, wide = false, children }: { title: string; wide?: boolean; children: ReactNode }) {
    const ref = useRef<HTMLDialogElement>(null);
    const show = useStudio((s) => s.show);
    useEffect(() => {
        const dialog = ref.current, before = document.activeElement;
        if (dialog && !dialog.open) dialog.showModal?.();
        // the dialog itself would take its first button, which closes it
        const content = dialog?.querySelector(".frame-content");
        const first = firstInside.map((each) => content?.querySelector<HTMLElement>(each)).find((each) => each);
        first?.focus();
        return () => {
            dialog?.close?.();
            if (before instanceof HTMLElement || before instanceof SVGElement) before.focus();
        };
    }, []);
    return (
        // eslint-disable-next-line jsx-a11y/no-noninteractive-element-interactions, jsx-a11y/click-events-have-key-events -- Escape closes it as well
        <dialog ref={ref} className={wide ? "frame-wide" : ""} aria-label={title}
            onCancel={() => show(null)}
            onClick={(e) => e.target === ref.current && show(null)}>
            <div className="frame-inside">
                <header>
                    <h1>{title}</h1>
                    <button type="button" className="close" aria-label="close" onClick={() => show(null)}><Icon name="close" /></button>
                </header>
                <div className="frame-content">{children}</div>
            </div>
        </dialog>
    );
}
