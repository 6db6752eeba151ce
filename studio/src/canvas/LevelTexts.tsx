// What lies between blocks and wires: names, types, labels, joints, and the values of probes.
import { ViewportPortal } from "@xyflow/react";
import { memo } from "react";
import type { Handle, Label } from "../server/protocol";
import { useStudio } from "../state/store";
import { overlaps, type Box } from "./geometry";
import type { Wire } from "../server/protocol";
import { middleOf } from "./geometry";

function Text({ label, dx, dy }: { label: Label; dx: number; dy: number }) {
    const setRenaming = useStudio((s) => s.setRenaming);
    const of = label.of;
    const rename = label.kind === "name" && of ? () => setRenaming(of) : undefined;
    return (
        <text
            className={`${label.style} halo${rename ? " can-rename" : ""}`}
            x={label.x + dx}
            y={label.y + dy}
            fontSize={label.size}
            textAnchor={label.anchor}
            onDoubleClick={rename}
        >
            {label.hint ? <title>{label.hint}</title> : null}
            {label.text}
        </text>
    );
}

/// The last value of each probed wire, beside it.
function ProbeValues({ wires }: { wires: Wire[] }) {
    const probes = useStudio((s) => s.probes);
    const run = useStudio((s) => s.run);
    useStudio((s) => s.samplesCount);
    const seen = new Set<string>();
    return wires.map((wire) => {
        const key = wire.from ? `${wire.from.block}:${wire.from.port}` : "";
        if (!probes.has(key) || seen.has(key)) return null;
        seen.add(key);
        const signal = run?.signals.find((each) => `${each.block}:${each.port}` === key);
        const last = signal ? run?.recording.of(signal.signal).v.at(-1) : undefined;
        const text = last === undefined ? "probe" : last === null ? "not a number" : String(Number(last.toPrecision(5)));
        const [x, y] = middleOf(wire.points), width = text.length * 5.6 + 10;
        return (
            <g key={key} className="probe-value" transform={`translate(${x} ${y - 11})`}>
                <rect x={-width / 2} y={-7} width={width} height={14} rx={7} />
                <text y={3.2} textAnchor="middle" fontSize={9}>
                    {text}
                </text>
            </g>
        );
    });
}

const textRoom = 90;

function LevelTextsView({ area, wires, busy }: { area: Box; wires: Wire[]; busy: ReadonlySet<Handle> }) {
    const view = useStudio((s) => s.view);
    const moved = useStudio((s) => s.moved);
    const blockById = useStudio((s) => s.blockById);
    const renaming = useStudio((s) => s.renaming);
    if (!view) return null;
    const near = { x: area.x - textRoom, y: area.y - textRoom, width: area.width + 2 * textRoom, height: area.height + 2 * textRoom };
    const inSight = (x: number, y: number) => overlaps({ x, y, width: 1, height: 1 }, near);
    // a joint belongs to no wire in particular: while wires move, those on them are not shown
    const busyWires = view.wires.filter((wire) => busy.has(wire.id));
    const isBusy = (x: number, y: number) => busyWires.some((wire) => wire.points.some((p, i) => {
        const q = wire.points[i + 1];
        return q !== undefined && x >= Math.min(p[0], q[0]) - 1 && x <= Math.max(p[0], q[0]) + 1 &&
            y >= Math.min(p[1], q[1]) - 1 && y <= Math.max(p[1], q[1]) + 1;
    }));
    return (
        <ViewportPortal>
            <svg className="diagram level-texts">
                {view.joints.map((joint) =>
                    inSight(joint.x, joint.y) && !isBusy(joint.x, joint.y) ? (
                        <circle key={`${joint.x} ${joint.y}`} className={joint.style} cx={joint.x} cy={joint.y} r={2.6} />
                    ) : null,
                )}
                {view.labels.map((label, i) => {
                    if (!inSight(label.x, label.y) || (label.of && label.of === renaming)) return null;
                    if (label.of && busy.has(label.of)) return null;
                    const at = label.of ? moved.get(label.of) : undefined;
                    const block = at && label.of ? blockById.get(label.of) : undefined;
                    return <Text key={i} label={label} dx={at && block ? at.x - block.x : 0} dy={at && block ? at.y - block.y : 0} />;
                })}
                <ProbeValues wires={wires} />
            </svg>
        </ViewportPortal>
    );
}

export const LevelTexts = memo(LevelTextsView);
