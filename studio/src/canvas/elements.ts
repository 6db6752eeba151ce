// The view as nodes and edges of the canvas. One that has not changed stays the same object and is not drawn again.
import type { Comment, Handle, Piece, Points, View, Wire, Block } from "../server/protocol";
import type { Place } from "../state/level";
import { type BlockNodeType, inputHandle, outputHandle, spokenBlock } from "./BlockNode";
import type { CommentNodeType } from "./CommentNode";
import { boundsOf } from "./geometry";
import { movedRoute } from "./route";
import { spokenWire, type WireEdgeType } from "./WireEdge";

export type CanvasNode = BlockNodeType | CommentNodeType;

const still: Place = { x: 0, y: 0 };
const noPieces: Piece[] = [];

interface KeptNode {
    key: readonly unknown[];
    node: CanvasNode;
}

interface KeptEdge {
    key: readonly unknown[];
    edge: WireEdgeType;
}

const same = (a: readonly unknown[], b: readonly unknown[]) => a.every((each, i) => Object.is(each, b[i]));

export class Elements {
    private readonly nodes = new Map<Handle, KeptNode>();
    private readonly edges = new Map<Handle, KeptEdge>();

    nodeOf(block: Block, view: View, selected: boolean, at: Place | undefined, plain: boolean): CanvasNode {
        const pieces = view.pictures[block.picture] ?? noPieces;
        const key = [block, pieces, selected, at, plain, view.editable];
        const kept = this.nodes.get(block.id);
        if (kept && same(kept.key, key)) return kept.node;
        const bounds = boundsOf(block);
        const { x, y } = at ? { x: bounds.x + at.x - block.x, y: bounds.y + at.y - block.y } : bounds;
        const node: CanvasNode = {
            id: block.id,
            type: "block",
            position: { x, y },
            width: bounds.width,
            height: bounds.height,
            selected,
            draggable: view.editable,
            connectable: view.editable,
            ariaLabel: spokenBlock(block),
            data: { block, pieces, plain, editable: view.editable },
        };
        this.nodes.set(block.id, { key, node });
        return node;
    }

    commentOf(comment: Comment, selected: boolean, at: Place | undefined): CanvasNode {
        const key = [comment, selected, at];
        const kept = this.nodes.get(comment.id);
        if (kept && same(kept.key, key)) return kept.node;
        const node: CanvasNode = {
            id: comment.id,
            type: "comment",
            position: at ?? { x: comment.x, y: comment.y },
            width: comment.width,
            height: comment.height,
            selected,
            ariaLabel: `comment: ${comment.text}`,
            zIndex: -1,
            data: { comment },
        };
        this.nodes.set(comment.id, { key, node });
        return node;
    }

    /// Null for a wire that leads to no block of the level.
    edgeOf(wire: Wire, view: View, selected: boolean, probed: boolean, shiftOf: (block: Handle) => Place | undefined): WireEdgeType | null {
        if (!wire.from || !wire.to) return null;
        const from = shiftOf(wire.from.block), to = shiftOf(wire.to.block);
        const key = [wire, selected, probed, from?.x, from?.y, to?.x, to?.y, view.editable];
        const kept = this.edges.get(wire.id);
        if (kept && same(kept.key, key)) return kept.edge;
        const points: Points = from || to ? movedRoute(wire.points, from ?? still, to ?? still) : wire.points;
        const edge: WireEdgeType = {
            id: wire.id,
            type: "wire",
            source: wire.from.block,
            target: wire.to.block,
            sourceHandle: outputHandle(wire.from.port),
            targetHandle: inputHandle(wire.to.port),
            selected,
            reconnectable: selected && view.editable,
            ariaLabel: spokenWire(wire),
            data: { wire, points, probed, editable: view.editable },
        };
        this.edges.set(wire.id, { key, edge });
        return edge;
    }
}
