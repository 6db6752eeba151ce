// Points and boxes of the canvas: x to the right, y down.
import type { Block, Points } from "../server/protocol";

export interface Box {
    x: number;
    y: number;
    width: number;
    height: number;
}

export type Point = [number, number];

/// The box that a turned block takes; `x`, `y`, `width` and `height` of a block are those before it is turned.
export function boundsOf(block: Pick<Block, "x" | "y" | "width" | "height" | "rotation">): Box {
    const { x, y, width, height, rotation } = block;
    if (rotation % 180 === 0) return { x, y, width, height };
    const angle = (rotation * Math.PI) / 180;
    // the right angles are exact
    const [c, s] = rotation % 90 === 0 ? [0, 1] : [Math.abs(Math.cos(angle)), Math.abs(Math.sin(angle))];
    const w = width * c + height * s, h = width * s + height * c;
    return { x: x + (width - w) / 2, y: y + (height - h) / 2, width: w, height: h };
}

export function overlaps(a: Box, b: Box): boolean {
    return a.x < b.x + b.width && b.x < a.x + a.width && a.y < b.y + b.height && b.y < a.y + a.height;
}

export function grown(box: Box, by: number): Box {
    return { x: box.x - by, y: box.y - by, width: box.width + 2 * by, height: box.height + 2 * by };
}

export function unionOf(boxes: Iterable<Box>): Box | null {
    let left = Infinity, top = Infinity, right = -Infinity, bottom = -Infinity;
    for (const b of boxes) {
        left = Math.min(left, b.x);
        top = Math.min(top, b.y);
        right = Math.max(right, b.x + b.width);
        bottom = Math.max(bottom, b.y + b.height);
    }
    return left <= right ? { x: left, y: top, width: right - left, height: bottom - top } : null;
}

export function boxOfPoints(points: Points): Box {
    const xs = points.map((p) => p[0]), ys = points.map((p) => p[1]);
    const x = Math.min(...xs), y = Math.min(...ys);
    return { x, y, width: Math.max(...xs) - x, height: Math.max(...ys) - y };
}

export const pathOf = (points: Points): string => points.map(([x, y], i) => `${i === 0 ? "M" : "L"}${x} ${y}`).join("");

function distanceToSegment([px, py]: Point, [ax, ay]: Point, [bx, by]: Point): number {
    const dx = bx - ax, dy = by - ay, length = dx * dx + dy * dy;
    const t = length === 0 ? 0 : Math.max(0, Math.min(1, ((px - ax) * dx + (py - ay) * dy) / length));
    return Math.hypot(px - ax - t * dx, py - ay - t * dy);
}

export function distanceToLine(at: Point, points: Points): number {
    let best = Infinity;
    for (let i = 1; i < points.length; ++i)
        best = Math.min(best, distanceToSegment(at, points[i - 1] as Point, points[i] as Point));
    return best;
}

/// The middle of the longest piece of a line.
export function middleOf(points: Points): Point {
    let best: Point = points[0] ?? [0, 0], longest = -1;
    for (let i = 1; i < points.length; ++i) {
        const [a, b] = [points[i - 1] as Point, points[i] as Point];
        const length = Math.hypot(b[0] - a[0], b[1] - a[1]);
        if (length > longest) {
            longest = length;
            best = [(a[0] + b[0]) / 2, (a[1] + b[1]) / 2];
        }
    }
    return best;
}

/// Both ends of the arrow at the end of a line, and the line without what the arrow covers.
export function arrowOf(points: Points): { shaft: Points; tip: string } {
    const end = points.at(-1), before = points.at(-2);
    if (!end || !before) return { shaft: points, tip: "" };
    const length = Math.hypot(end[0] - before[0], end[1] - before[1]);
    if (length === 0) return { shaft: points, tip: "" };
    const d: Point = [(end[0] - before[0]) / length, (end[1] - before[1]) / length];
    const base: Point = [end[0] - d[0] * 7.5, end[1] - d[1] * 7.5], across: Point = [-d[1] * 3.2, d[0] * 3.2];
    const shaft = length > 6 ? [...points.slice(0, -1), [end[0] - d[0] * 4, end[1] - d[1] * 4] as Point] : points;
    return {
        shaft,
        tip: `M${end[0]} ${end[1]}L${base[0] + across[0]} ${base[1] + across[1]}L${base[0] - across[0]} ${base[1] - across[1]}z`,
    };
}
