// A block of the diagram: its picture as the server draws it, and a place for wires at each port.
import { Handle, NodeResizer, Position, type Node, type NodeProps } from "@xyflow/react";
import { memo } from "react";
import type { Block, Piece, Port } from "../server/protocol";
import { useStudio } from "../state/store";
import { boundsOf } from "./geometry";
import { Pieces } from "./Pieces";

export type BlockNodeType = Node<{ block: Block; pieces: Piece[]; plain: boolean; editable: boolean }, "block">;

const sides = { left: Position.Left, right: Position.Right, top: Position.Top, bottom: Position.Bottom };

export const inputHandle = (port: number) => `in:${port}`;
export const outputHandle = (port: number) => `out:${port}`;
export const portOfHandle = (handle: string | null | undefined) => Number(handle?.split(":")[1] ?? 0);

const smallest = 12;

function PortHandle({ port, input, block }: { port: Port; input: boolean; block: Block }) {
    const bounds = boundsOf(block);
    const dx = block.x - bounds.x, dy = block.y - bounds.y;
    return (
        <Handle
            id={input ? inputHandle(port.index) : outputHandle(port.index)}
            type={input ? "target" : "source"}
            position={sides[port.side]}
            className={port.linked ? "port-handle linked" : "port-handle"}
            style={{ left: port.x + dx, top: port.y + dy }}
            title={`${input ? "input" : "output"} ${port.name}`}
        />
    );
}

function BlockNodeView({ data, selected }: NodeProps<BlockNodeType>) {
    const { block, pieces, plain, editable } = data;
    const bounds = boundsOf(block);
    const edit = useStudio((s) => s.edit);
    const bad = useStudio((s) => s.firstBad?.block === block.id);
    const inside = useStudio((s) => (block.inside ? s.insideProblems.get(block.path) : undefined));
    const problem = block.problem ?? inside;
    const single = useStudio((s) => s.selectedBlocks.length === 1);
    const dx = block.x - bounds.x, dy = block.y - bounds.y;
    const classes = ["block-node", selected ? "selected" : "", block.state, bad ? "first-bad" : ""].join(" ");
    return (
        <div className={classes} title={block.hint}>
            {selected && single && editable && block.rotation % 180 === 0 ? (
                <NodeResizer
                    minWidth={smallest}
                    minHeight={smallest}
                    onResizeEnd={(_event, { x, y, width, height }) =>
                        void edit([{ op: "geometry", block: block.id, x, y, width, height }])
                    }
                />
            ) : null}
            {plain ? (
                <div className="plain-box" />
            ) : (
                <svg className="diagram" width={bounds.width} height={bounds.height} aria-hidden="true">
                    <g transform={dx || dy ? `translate(${dx} ${dy})` : undefined}>
                        <Pieces pieces={pieces} />
                    </g>
                </svg>
            )}
            {problem ? (
                <span className={`badge ${problem}${block.problem ? "" : " inside"}`} title={block.problem ? undefined : `an ${problem} inside`} />
            ) : null}
            {bad ? <span className="bad-value">first bad value</span> : null}
            {block.inputs.map((port) => (
                <PortHandle key={`i${port.index}`} port={port} input block={block} />
            ))}
            {block.outputs.map((port) => (
                <PortHandle key={`o${port.index}`} port={port} input={false} block={block} />
            ))}
        </div>
    );
}

export const BlockNode = memo(BlockNodeView);

/// What a screen reader says of a block.
export function spokenBlock(block: Block): string {
    const parts = [`${block.name}, ${block.class}`];
    if (block.inside) parts.push("has an inside");
    if (block.problem) parts.push(`has an ${block.problem}`);
    if (block.state !== "ok") parts.push(block.state);
    const open = block.inputs.filter((port) => !port.linked).length;
    if (open > 0) parts.push(`${open} open ${open === 1 ? "input" : "inputs"}`);
    return parts.join(", ");
}
