// The frame of a dialog: it holds the focus, Escape closes it, and the focus returns to where it was.
import { useEffect, useRef, type ReactNode } from "react";
import { Icon } from "../shell/Icon";
import { useStudio } from "../state/store";

export function Frame({ title, wide = false, children }: { title: string; wide?: boolean; children: ReactNode }) {
    const ref = useRef<HTMLDialogElement>(null);
    const show = useStudio((s) => s.show);
    useEffect(() => {
        const dialog = ref.current, before = document.activeElement;
        if (dialog && !dialog.open) dialog.showModal?.();
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
                {children}
            </div>
        </dialog>
    );
}
