// A wire, drawn along the server's points; pieces of a selected one can be pushed aside.
import { useReactFlow, type Edge, type EdgeProps } from "@xyflow/react";
import { memo, useState, type PointerEvent } from "react";
import type { Points, Wire } from "../server/protocol";
import { useStudio } from "../state/store";
import { arrowOf, middleOf, pathOf, type Point } from "./geometry";
import { pushedRoute } from "./route";

export type WireEdgeType = Edge<{ wire: Wire; points: Points; probed: boolean; editable: boolean }, "wire">;

const grid = 5;
const snapped = (v: number) => Math.round(v / grid) * grid;

function BendHandles({ wire, points, onPreview }: {
    wire: Wire;
    points: Points;
    onPreview: (points: Points | null) => void;
}) {
    const flow = useReactFlow();
    const edit = useStudio((s) => s.edit);
    const push = (event: PointerEvent<SVGElement>, piece: number) => {
        event.stopPropagation();
        const target = event.currentTarget, start = flow.screenToFlowPosition({ x: event.clientX, y: event.clientY });
        target.setPointerCapture(event.pointerId);
        let route: Points | null = null;
        const move = (e: globalThis.PointerEvent) => {
            const now = flow.screenToFlowPosition({ x: e.clientX, y: e.clientY });
            const by = { x: snapped(now.x - start.x), y: snapped(now.y - start.y) };
            route = by.x === 0 && by.y === 0 ? null : pushedRoute(points, piece, by);
            onPreview(route);
        };
        const end = () => {
            target.removeEventListener("pointermove", move);
            target.removeEventListener("pointerup", end);
            target.removeEventListener("pointercancel", end);
            if (!route) return onPreview(null);
            void edit([{ op: "bends", wire: wire.id, points: route.slice(1, -1) }]).finally(() => onPreview(null));
        };
        target.addEventListener("pointermove", move);
        target.addEventListener("pointerup", end);
        target.addEventListener("pointercancel", end);
    };
    return points.slice(1).map((b, i) => {
        const a = points[i] as Point;
        const level = Math.abs(a[1] - b[1]) <= Math.abs(a[0] - b[0]);
        if (Math.hypot(a[0] - b[0], a[1] - b[1]) < 12) return null;
        return (
            <g key={i} className={`bend ${level ? "level" : "upright"} nopan nodrag`} onPointerDown={(e) => push(e, i)}>
                <path d={pathOf([a, b])} />
                <rect x={(a[0] + b[0]) / 2 - 3} y={(a[1] + b[1]) / 2 - 3} width={6} height={6} rx={1.5} />
            </g>
        );
    });
}

function WireEdgeView({ data, selected, interactionWidth = 12 }: EdgeProps<WireEdgeType>) {
    const [preview, setPreview] = useState<Points | null>(null);
    if (!data) return null;
    const { wire, probed, editable } = data;
    const points = preview ?? data.points;
    const { shaft, tip } = arrowOf(points);
    const arrow = wire.style.replace(/^wire\b/, "arrow");
    const middle = middleOf(points);
    return (
        <g className={`diagram wire-edge${selected ? " selected" : ""}${probed ? " probed" : ""}`}>
            <title>{spokenWire(wire)}</title>
            <path className="react-flow__edge-interaction" d={pathOf(points)} strokeWidth={interactionWidth} />
            <path className={wire.style} d={pathOf(shaft)} />
            <path className={arrow} d={tip} />
            {wire.late ? (
                <g className="late" transform={`translate(${middle[0]} ${middle[1]})`}>
                    <title>one step late: the value of the step before</title>
                    <circle r={5.5} />
                    <path d="M0 -3V0.3L2.4 1.6" />
                </g>
            ) : null}
            {selected && editable ? <BendHandles wire={wire} points={points} onPreview={setPreview} /> : null}
        </g>
    );
}

export const WireEdge = memo(WireEdgeView);

/// What a screen reader says of a wire, and a pointer resting on it.
export function spokenWire(wire: Wire): string {
    const { blockById } = useStudio.getState();
    const nameOf = (end: Wire["from"]) => (end ? (blockById.get(end.block)?.name ?? end.block) : (wire.stray ?? "nowhere"));
    return [
        `wire from ${nameOf(wire.from)} to ${nameOf(wire.to)}`,
        wire.label,
        wire.type,
        wire.late ? "one step late" : "",
        wire.broken ? "broken" : "",
    ]
        .filter((part) => part !== "")
        .join(", ");
}
