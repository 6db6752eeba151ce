// Problems, plots and what the workspace printed, below the diagram.
import { useRef, useState, type PointerEvent } from "react";
import { Problems } from "../problems/Problems";
import { Plots } from "../run/Plots";
import type { BottomTab } from "../state/shell";
import { useStudio } from "../state/store";
import { Icon } from "./Icon";

const least = 90, most = 700;

export function BottomPanel() {
    const bottom = useStudio((s) => s.bottom);
    const console = useStudio((s) => s.console);
    const counts = useStudio((s) => s.findings?.counts);
    const { setBottom } = useStudio.getState();
    const [height, setHeight] = useState(290);
    const start = useRef<{ y: number; height: number } | null>(null);
    const tab = (name: BottomTab, title: string) => (
        <button type="button" role="tab" aria-selected={bottom === name} onClick={() => setBottom(bottom === name ? null : name)}>{title}</button>
    );
    const drag = (e: PointerEvent) => {
        if (start.current) setHeight(Math.min(most, Math.max(least, start.current.height + start.current.y - e.clientY)));
    };
    const problems = counts ? counts.error + counts.warning : 0;
    return (
        <section className="bottom-panel" aria-label="problems and plots">
            {bottom ? (
                <div className="splitter" role="separator" aria-orientation="horizontal" aria-label="height of the panel"
                    onPointerDown={(e) => {
                        start.current = { y: e.clientY, height };
                        e.currentTarget.setPointerCapture(e.pointerId);
                    }}
                    onPointerMove={drag}
                    onPointerUp={() => (start.current = null)}
                />
            ) : null}
            <div className="tabs" role="tablist" aria-label="panels">
                {tab("problems", problems > 0 ? `Problems (${problems})` : "Problems")}
                {tab("plots", "Plots")}
                {console === "" ? null : tab("console", "Console")}
                {bottom ? <button type="button" className="close" aria-label="close the panel" onClick={() => setBottom(null)}><Icon name="close" /></button> : null}
            </div>
            {bottom ? (
                <div className="bottom-content" role="tabpanel" aria-label={bottom} style={{ height }}>
                    {bottom === "problems" ? <Problems /> : bottom === "plots" ? <Plots /> : <pre className="console">{console}</pre>}
                </div>
            ) : null}
        </section>
    );
}
