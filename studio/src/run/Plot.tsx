// One plot. All plots of the page share the cursor and the stretch of time that is looked at.
import { useEffect, useRef } from "react";
import uPlot from "uplot";
import "uplot/dist/uPlot.min.css";
import { useStudio } from "../state/store";
import { isStepped, tableOf, type Line } from "./lines";

const syncKey = uPlot.sync("runs");
const shown = new Set<uPlot>();
let zooming = false;

// a zoom in one plot is a zoom in all
function zoomAll(from: uPlot) {
    if (zooming) return;
    zooming = true;
    const { min, max } = from.scales.x ?? {};
    if (min != null && max != null) for (const plot of shown) if (plot !== from) plot.setScale("x", { min, max });
    zooming = false;
}

const cssColor = (name: string) => getComputedStyle(document.documentElement).getPropertyValue(name).trim();
const value = (v: number | null) => (v === null ? "--" : String(Number(v.toPrecision(6))));

function optionsOf(title: string, lines: readonly Line[], names: readonly string[], width: number, height: number): uPlot.Options {
    const axis = { stroke: cssColor("--text-soft"), grid: { stroke: cssColor("--grid"), width: 1 }, ticks: { stroke: cssColor("--grid") }, font: "11px system-ui, sans-serif" };
    return {
        title,
        width,
        height,
        cursor: { sync: { key: syncKey.key, setSeries: false }, drag: { x: true, y: false } },
        scales: { x: { time: false } },
        legend: { live: true },
        axes: [{ ...axis, size: 34, values: (_u, ticks) => ticks.map((t) => `${Number(t.toPrecision(6))} s`) }, { ...axis, size: 58 }],
        series: [
            { label: "t", value: (_u, v: number | null) => (v === null ? "--" : `${value(v)} s`) },
            ...lines.map((line): uPlot.Series => ({
                label: line.age === 0 ? line.name : `${line.age} before`,
                stroke: cssColor(`--line-${names.indexOf(line.name) % 6}`),
                alpha: line.age === 0 ? 1 : 0.45,
                width: line.age === 0 ? 1.7 : 1.2,
                ...(line.age === 0 ? {} : { dash: [5, 4] }),
                ...(isStepped(line.type) && uPlot.paths.stepped ? { paths: uPlot.paths.stepped({ align: 1 }) } : {}),
                pxAlign: 0, // a curve of many points is smooth between pixels
                spanGaps: lines.length > 1,
                points: { show: false },
                value: (_u, v: number | null) => value(v),
            })),
        ],
        hooks: { setScale: [(u, key) => key === "x" && zoomAll(u)] },
    };
}

export interface PlotProps {
    title: string;
    lines: Line[];
    /// All names of the run: a line has the colour of its place here.
    names: readonly string[];
    height: number;
    /// The stretch of time of the whole run.
    span: [number, number];
    running: boolean;
    onReady?: (plot: uPlot | null) => void;
}

export function Plot({ title, lines, names, height, span, running, onReady }: PlotProps) {
    const box = useRef<HTMLDivElement>(null);
    const plot = useRef<uPlot | null>(null);
    const theme = useStudio((s) => s.theme);
    const count = useStudio((s) => s.samplesCount);
    const now = useRef({ lines, span });
    now.current = { lines, span };
    const shape = JSON.stringify([title, theme, height, names, lines.map((l) => [l.name, l.age, l.type])]);

    useEffect(() => {
        const element = box.current;
        if (!element) return;
        const made = new uPlot(
            optionsOf(title, now.current.lines, names, element.clientWidth || 400, height),
            tableOf(now.current.lines),
            element,
        );
        plot.current = made;
        shown.add(made);
        onReady?.(made);
        const observer = new ResizeObserver(() => made.setSize({ width: element.clientWidth, height }));
        observer.observe(element);
        return () => {
            observer.disconnect();
            shown.delete(made);
            made.destroy();
            plot.current = null;
            onReady?.(null);
        };
        // `shape` says all that makes another plot
        // eslint-disable-next-line react-hooks/exhaustive-deps
    }, [shape]);

    useEffect(() => {
        const frame = requestAnimationFrame(() => {
            const made = plot.current;
            if (!made) return;
            // while it runs the whole stretch is shown, else a zoom stays
            const { min, max } = made.scales.x ?? {};
            const zoomed = !running && min != null && max != null && (min > span[0] || max < span[1]);
            zooming = true;
            made.setData(tableOf(now.current.lines), !zoomed);
            if (!zoomed && span[1] > span[0]) made.setScale("x", { min: span[0], max: span[1] });
            else if (zoomed) made.setScale("x", { min, max });
            zooming = false;
        });
        return () => cancelAnimationFrame(frame);
    }, [count, shape, running, span]);

    return <div ref={box} className="plot" role="img" aria-label={`plot of ${title}`} />;
}

/// The plots below each other as one picture, with the ground of the page behind.
export function pictureOfPlots(): string | null {
    const plots = [...shown];
    const first = plots[0];
    if (!first) return null;
    const canvas = document.createElement("canvas"), gap = 8;
    canvas.width = Math.max(...plots.map((p) => p.ctx.canvas.width));
    canvas.height = plots.reduce((sum, p) => sum + p.ctx.canvas.height + gap, gap);
    const c = canvas.getContext("2d");
    if (!c) return null;
    c.fillStyle = cssColor("--panel");
    c.fillRect(0, 0, canvas.width, canvas.height);
    let y = gap;
    for (const p of plots) {
        c.drawImage(p.ctx.canvas, 0, y);
        y += p.ctx.canvas.height + gap;
    }
    return canvas.toDataURL("image/png");
}
