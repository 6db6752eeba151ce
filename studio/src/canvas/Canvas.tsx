// The drawing area: what is on the level that is looked at, and what hands do with it.
import {
    Background, BackgroundVariant, Controls, MiniMap, ReactFlow, SelectionMode, useReactFlow,
    type Connection, type EdgeChange, type EdgeTypes, type FinalConnectionState, type NodeChange, type NodeTypes,
} from "@xyflow/react";
import { useCallback, useEffect, useMemo, useRef, useState, type DragEvent, type MouseEvent } from "react";
import type { Handle, Operation, PortRef } from "../server/protocol";
import { dragType } from "../palette/Palette";
import { connect, grid, insertBlock, sight } from "../state/actions";
import type { Place } from "../state/level";
import { useStudio } from "../state/store";
import { BlockNode, portOfHandle } from "./BlockNode";
import { CommentNode } from "./CommentNode";
import { ConnectHint } from "./ConnectHint";
import { Elements, type CanvasNode } from "./elements";
import { boundsOf, distanceToLine } from "./geometry";
import { LevelTexts } from "./LevelTexts";
import { Overview } from "./Overview";
import { QuickInsert } from "./QuickInsert";
import { RenameBox } from "./RenameBox";
import { useArea } from "./useArea";
import { blockAt, Boxes, sightOf } from "./visible";
import { WireEdge, type WireEdgeType } from "./WireEdge";

const nodeTypes: NodeTypes = { block: BlockNode, comment: CommentNode };
const edgeTypes: EdgeTypes = { wire: WireEdge };
const snapGrid: [number, number] = [grid, grid];
const fitOptions = { padding: 0.12, maxZoom: 1.6, minZoom: 0.02 };
const wireReach = 9; // how near to a wire a block is dropped into it, in canvas units
const minimapSize = { width: 150, height: 100 };
const noHandles: ReadonlySet<Handle> = new Set();

/// The wire at a place, with the distance at which it counts as hit.
function wireAt(x: number, y: number, reach: number): Handle | null {
    let best: Handle | null = null, least = reach;
    for (const wire of useStudio.getState().view?.wires ?? []) {
        const distance = distanceToLine([x, y], wire.points);
        if (distance < least) [best, least] = [wire.id, distance];
    }
    return best;
}

export function Canvas() {
    const flow = useReactFlow<CanvasNode, WireEdgeType>();
    const view = useStudio((s) => s.view);
    const moved = useStudio((s) => s.moved);
    const selectedBlocks = useStudio((s) => s.selectedBlocks);
    const selectedWires = useStudio((s) => s.selectedWires);
    const selectedComments = useStudio((s) => s.selectedComments);
    const probes = useStudio((s) => s.probes);
    const fitCount = useStudio((s) => s.fitCount);
    const theme = useStudio((s) => s.theme);
    const area = useArea();
    const elements = useRef(new Elements());
    const frame = useRef<HTMLDivElement>(null);
    const fitted = useRef(false);
    const [hovered, setHovered] = useState<Handle | null>(null);
    const boxes = useMemo(() => (view ? new Boxes(view) : null), [view]);

    useEffect(() => {
        sight.middle = () => {
            const pane = document.querySelector(".canvas")?.getBoundingClientRect();
            return pane ? flow.screenToFlowPosition({ x: pane.x + pane.width / 2, y: pane.y + pane.height / 2 }) : { x: 0, y: 0 };
        };
    }, [flow]);

    // shows everything, or the block that was asked for
    const showAll = useCallback(() => {
        const { view: now, focus, blockById, fitCount: count } = useStudio.getState();
        if (!now || count === 0) return;
        fitted.current = true;
        const block = focus === null ? undefined : blockById.get(focus);
        if (block) {
            const b = boundsOf(block);
            void flow.setCenter(b.x + b.width / 2, b.y + b.height / 2, { zoom: Math.max(1, Math.min(flow.getZoom(), 1.6)) });
        } else if (now.blocks.length > 0 || now.comments.length > 0) {
            void flow.fitBounds(now.bounds, { padding: fitOptions.padding });
            if (flow.getZoom() > fitOptions.maxZoom) void flow.zoomTo(fitOptions.maxZoom);
        } else {
            void flow.setViewport({ x: 80, y: 80, zoom: 1.2 });
        }
    }, [flow]);
    useEffect(showAll, [fitCount, showAll]);

    // a panel that opens takes nothing out of sight, unless a person chose what is in sight
    useEffect(() => {
        const element = frame.current;
        if (!element) return;
        const observer = new ResizeObserver(() => requestAnimationFrame(() => fitted.current && showAll()));
        observer.observe(element);
        return () => observer.disconnect();
    }, [showAll]);

    const always = useMemo(() => {
        const set = new Set<Handle>(moved.keys());
        if (hovered !== null) set.add(hovered);
        if (selectedBlocks.length <= 200) for (const id of selectedBlocks) set.add(id);
        return set;
    }, [moved, hovered, selectedBlocks]);
    const shown = useMemo(
        () => (boxes ? sightOf(boxes, area.box, area.zoom, always) : { blocks: [], wires: [], plain: false }),
        [boxes, area, always],
    );

    const nodes = useMemo((): CanvasNode[] => {
        if (!view) return [];
        const selected = new Set(selectedBlocks), comments = new Set(selectedComments);
        return [
            ...view.comments.map((c) => elements.current.commentOf(c, comments.has(c.id), moved.get(c.id))),
            ...shown.blocks.map((b) => elements.current.nodeOf(b, view, selected.has(b.id), moved.get(b.id), shown.plain)),
        ];
    }, [view, shown, selectedBlocks, selectedComments, moved]);

    const edges = useMemo((): WireEdgeType[] => {
        if (!view) return [];
        const selected = new Set(selectedWires), { blockById } = useStudio.getState();
        const shiftOf = (id: Handle): Place | undefined => {
            const at = moved.get(id), block = blockById.get(id);
            return at && block ? { x: at.x - block.x, y: at.y - block.y } : undefined;
        };
        return shown.wires.flatMap((wire) => {
            const probed = wire.from !== null && probes.has(`${wire.from.block}:${wire.from.port}`);
            return elements.current.edgeOf(wire, view, selected.has(wire.id), probed, shiftOf) ?? [];
        });
    }, [view, shown, selectedWires, probes, moved]);

    const busyWires = useMemo((): ReadonlySet<Handle> => {
        if (moved.size === 0) return noHandles;
        const ends = (w: { from: PortRef | null; to: PortRef | null }) => (w.from && moved.has(w.from.block)) || (w.to && moved.has(w.to.block));
        return new Set(shown.wires.filter(ends).map((w) => w.id));
    }, [moved, shown]);

    const onNodesChange = useCallback((changes: NodeChange<CanvasNode>[]) => {
        const { view: now, changeSelection, setMoved, blockById, dragging } = useStudio.getState();
        const comments = new Set(now?.comments.map((c) => c.id));
        const selects = changes.filter((c) => c.type === "select");
        if (selects.length > 0) {
            changeSelection("blocks", selects.filter((c) => !comments.has(c.id)));
            changeSelection("comments", selects.filter((c) => comments.has(c.id)));
        }
        const places = changes.filter((c) => c.type === "position");
        if (places.length === 0 || !dragging) return;
        const next = new Map(useStudio.getState().moved);
        for (const { id, position } of places) {
            if (!position) continue;
            const block = blockById.get(id), bounds = block && boundsOf(block);
            next.set(id, block && bounds ? { x: position.x - bounds.x + block.x, y: position.y - bounds.y + block.y } : position);
        }
        setMoved(next);
    }, []);

    const onEdgesChange = useCallback((changes: EdgeChange<WireEdgeType>[]) => {
        const selects = changes.filter((c) => c.type === "select");
        if (selects.length > 0) useStudio.getState().changeSelection("wires", selects);
    }, []);

    const onDragStop = useCallback(() => {
        const { moved: places, blockById, view: now, edit, setDragging, setMoved } = useStudio.getState();
        setDragging(false);
        const operations: Operation[] = [], together = new Map<string, { blocks: Handle[]; dx: number; dy: number }>();
        for (const [id, at] of places) {
            const block = blockById.get(id), comment = now?.comments.find((c) => c.id === id);
            if (comment) operations.push({ op: "geometry", block: id, x: at.x, y: at.y });
            if (!block) continue;
            const dx = at.x - block.x, dy = at.y - block.y, key = `${dx} ${dy}`;
            if (dx === 0 && dy === 0) continue;
            const group = together.get(key) ?? { blocks: [], dx, dy };
            group.blocks.push(id);
            together.set(key, group);
        }
        for (const group of together.values()) operations.push({ op: "move", ...group });
        if (operations.length === 0) return setMoved(new Map());
        // a block without wires that is dropped on a wire stands in it
        const only = places.size === 1 ? blockById.get([...places.keys()][0] as Handle) : undefined;
        if (only && ![...only.inputs, ...only.outputs].some((port) => port.linked)) {
            const at = places.get(only.id) as Place;
            const wire = wireAt(at.x + only.width / 2, at.y + only.height / 2, wireReach);
            if (wire !== null && only.inputs.length > 0 && only.outputs.length > 0)
                operations.push({ op: "insert_on_wire", wire, block: only.id });
        }
        void edit(operations);
    }, []);

    const onConnect = useCallback(({ source, sourceHandle, target, targetHandle }: Connection) => {
        void connect({ block: source, port: portOfHandle(sourceHandle) }, { block: target, port: portOfHandle(targetHandle) });
    }, []);

    // a wire dropped on another one branches from it; dropped on nothing it asks for the class at its end
    const onConnectEnd = useCallback((event: globalThis.MouseEvent | TouchEvent, state: FinalConnectionState) => {
        if (state.isValid || !state.fromHandle || state.toHandle) return;
        const pointer = "clientX" in event ? event : event.changedTouches[0];
        if (!pointer) return;
        const { x, y } = flow.screenToFlowPosition({ x: pointer.clientX, y: pointer.clientY });
        const end: PortRef = { block: state.fromHandle.nodeId, port: portOfHandle(state.fromHandle.id) };
        const fromOutput = state.fromHandle.type === "source";
        const wire = wireAt(x, y, wireReach);
        const source = wire === null ? null : useStudio.getState().wireById.get(wire)?.from;
        if (source && !fromOutput) return void connect(source, end);
        useStudio.getState().setQuick({ x, y, ...(fromOutput ? { from: end } : { to: end }) });
    }, [flow]);

    const onReconnect = useCallback((old: WireEdgeType, { source, sourceHandle, target, targetHandle }: Connection) => {
        const moves = source !== old.source || sourceHandle !== old.sourceHandle
            ? { from: { block: source, port: portOfHandle(sourceHandle) } }
            : { to: { block: target, port: portOfHandle(targetHandle) } };
        void useStudio.getState().edit([{ op: "reconnect", wire: old.id, ...moves }]);
    }, []);

    const onDrop = useCallback((event: DragEvent) => {
        const name = event.dataTransfer.getData(dragType), each = useStudio.getState().classByName.get(name);
        if (!each) return;
        event.preventDefault();
        const at = flow.screenToFlowPosition({ x: event.clientX, y: event.clientY });
        const wire = wireAt(at.x, at.y, wireReach);
        void insertBlock(each, { ...at, ...(wire !== null ? { wire } : {}) });
    }, [flow]);

    const onDoubleClick = useCallback((event: MouseEvent) => {
        const { view: now, setQuick } = useStudio.getState();
        if (!(event.target as Element).classList.contains("react-flow__pane") || !now) return;
        const at = flow.screenToFlowPosition({ x: event.clientX, y: event.clientY });
        if (now.editable) setQuick(at);
    }, [flow]);

    const onPointerMove = useCallback((event: MouseEvent) => {
        const at = flow.screenToFlowPosition({ x: event.clientX, y: event.clientY });
        sight.pointer = at;
        if (shown.plain && boxes && !useStudio.getState().dragging && event.buttons === 0)
            setHovered(blockAt(boxes, at.x, at.y)?.id ?? null);
    }, [flow, boxes, shown.plain]);

    return (
        <div ref={frame} className="canvas" role="application" aria-label="diagram" onDoubleClick={onDoubleClick} onMouseMove={onPointerMove}
            onMouseLeave={() => (sight.pointer = null)}>
            {boxes ? <Overview boxes={boxes} shown={shown.plain} omit={always} /> : null}
            <ReactFlow
                nodes={nodes}
                edges={edges}
                nodeTypes={nodeTypes}
                edgeTypes={edgeTypes}
                colorMode={theme}
                onNodesChange={onNodesChange}
                onEdgesChange={onEdgesChange}
                onMoveStart={(event) => event && (fitted.current = false)}
                onNodeDragStart={() => useStudio.getState().setDragging(true)}
                onNodeDragStop={onDragStop}
                onSelectionDragStart={() => useStudio.getState().setDragging(true)}
                onSelectionDragStop={onDragStop}
                onNodeDoubleClick={(_event, node) => openNode(node)}
                onConnect={onConnect}
                onConnectEnd={onConnectEnd}
                onReconnect={onReconnect}
                onDragOver={(event) => event.dataTransfer.types.includes(dragType) && event.preventDefault()}
                onDrop={onDrop}
                snapToGrid
                snapGrid={snapGrid}
                nodeDragThreshold={2}
                selectionOnDrag
                selectionMode={SelectionMode.Partial}
                panOnDrag={[1, 2]}
                zoomOnDoubleClick={false}
                multiSelectionKeyCode={["Shift", "Control", "Meta"]}
                deleteKeyCode={null}
                disableKeyboardA11y
                connectionRadius={18}
                minZoom={fitOptions.minZoom}
                maxZoom={6}
                elevateNodesOnSelect={false}
                proOptions={{ hideAttribution: true }}
            >
                <Background variant={BackgroundVariant.Dots} gap={grid * 4} size={1} />
                {shown.plain ? null : <LevelTexts area={area.box} wires={shown.wires} busy={busyWires} />}
                <RenameBox />
                <QuickInsert />
                {(view?.blocks.length ?? 0) <= 1500 ? <MiniMap pannable zoomable ariaLabel="minimap" nodeStrokeWidth={2} style={minimapSize} /> : null}
                <Controls showInteractive={false} fitViewOptions={fitOptions} onFitView={() => useStudio.getState().fit()} />
                <ConnectHint />
            </ReactFlow>
        </div>
    );
}

/// A double click goes inside, or to the first parameter.
function openNode(node: CanvasNode) {
    const { goInto, toggleInspector, inspector } = useStudio.getState();
    if (node.type !== "block") return;
    if (node.data.block.inside) return goInto(node.id);
    if (!inspector) toggleInspector();
    requestAnimationFrame(() => document.querySelector<HTMLElement>(".inspector .parameter input, .inspector .parameter select")?.focus());
}
