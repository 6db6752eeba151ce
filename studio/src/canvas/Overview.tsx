// A level with very many blocks, seen from far away: plain boxes on one canvas.
import { useStore } from "@xyflow/react";
import { memo, useEffect, useRef } from "react";
import type { Handle } from "../server/protocol";
import { useStudio } from "../state/store";
import { overlaps } from "./geometry";
import type { Boxes } from "./visible";

interface Colors {
    wire: string;
    fill: string;
    edge: string;
    error: string;
    warning: string;
}

function colorsOf(element: Element): Colors {
    const style = getComputedStyle(element);
    const get = (name: string) => style.getPropertyValue(name).trim();
    return { wire: get("--wire"), fill: get("--plain"), edge: get("--plain-edge"), error: get("--error"), warning: get("--warning") };
}

function paint(canvas: HTMLCanvasElement, boxes: Boxes, [tx, ty, zoom]: [number, number, number], omit: ReadonlySet<Handle>) {
    const scale = window.devicePixelRatio, width = canvas.clientWidth, height = canvas.clientHeight;
    if (canvas.width !== width * scale) canvas.width = width * scale;
    if (canvas.height !== height * scale) canvas.height = height * scale;
    const c = canvas.getContext("2d");
    if (!c) return;
    const colors = colorsOf(canvas);
    c.setTransform(1, 0, 0, 1, 0, 0);
    c.clearRect(0, 0, canvas.width, canvas.height);
    c.setTransform(zoom * scale, 0, 0, zoom * scale, tx * scale, ty * scale);
    const area = { x: -tx / zoom, y: -ty / zoom, width: width / zoom, height: height / zoom };
    c.strokeStyle = colors.wire;
    c.lineWidth = 0.8 / zoom;
    c.beginPath();
    for (const { wire, box } of boxes.wires) {
        if (!overlaps({ ...box, width: box.width + 1, height: box.height + 1 }, area)) continue;
        wire.points.forEach(([x, y], i) => (i === 0 ? c.moveTo(x, y) : c.lineTo(x, y)));
    }
    c.stroke();
    c.lineWidth = 1 / zoom;
    for (const problem of [null, "warning", "error"] as const) {
        c.beginPath();
        for (const { block, box } of boxes.blocks)
            if (block.problem === problem && !omit.has(block.id) && overlaps(box, area)) c.rect(box.x, box.y, box.width, box.height);
        c.fillStyle = problem ? colors[problem] : colors.fill;
        c.strokeStyle = problem ? colors[problem] : colors.edge;
        c.fill();
        c.stroke();
    }
}

function OverviewView({ boxes, shown, omit }: { boxes: Boxes; shown: boolean; omit: ReadonlySet<Handle> }) {
    const ref = useRef<HTMLCanvasElement>(null);
    const transform = useStore((s) => s.transform);
    const theme = useStudio((s) => s.theme);
    useEffect(() => {
        if (!shown) return;
        const frame = requestAnimationFrame(() => ref.current && paint(ref.current, boxes, transform, omit));
        return () => cancelAnimationFrame(frame);
    }, [boxes, shown, omit, transform, theme]);
    return shown ? <canvas ref={ref} className="overview" aria-hidden="true" /> : null;
}

export const Overview = memo(OverviewView);
