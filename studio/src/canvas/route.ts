// How a wire runs while a hand moves a block; the server draws it when the hand lets go.
import type { Points } from "../server/protocol";
import type { Place } from "../state/level";
import type { Point } from "./geometry";

const stub = 14; // a wire leaves its port straight before it turns

/// A line of level and upright pieces from an output on the right of its block to an input on the left of its own.
export function orthogonal([ax, ay]: Point, [bx, by]: Point): Points {
    if (Math.abs(ay - by) < 0.5 && bx >= ax) return [[ax, ay], [bx, by]];
    if (bx - ax >= 2 * stub) {
        const x = (ax + bx) / 2;
        return [[ax, ay], [x, ay], [x, by], [bx, by]];
    }
    const y = (ay + by) / 2;
    return [[ax, ay], [ax + stub, ay], [ax + stub, y], [bx - stub, y], [bx - stub, by], [bx, by]];
}

/// The points of a wire whose ends moved by so much. Bends go along when both ends do; where one end moves, its piece
/// becomes longer as long as the wire keeps its shape.
export function movedRoute(points: Points, from: Place, to: Place): Points {
    const first = points[0], last = points.at(-1);
    if (!first || !last) return points;
    if (from.x === to.x && from.y === to.y) return points.map(([x, y]) => [x + from.x, y + from.y]);
    const start: Point = [first[0] + from.x, first[1] + from.y], end: Point = [last[0] + to.x, last[1] + to.y];
    if (points.length < 4) return orthogonal(start, end);
    const route = points.map(([x, y]): Point => [x, y]);
    route[0] = start;
    route[route.length - 1] = end;
    const second = route[1] as Point, beforeLast = route.at(-2) as Point;
    // the pieces at the ends stay level or upright
    if (Math.abs((points[1] as Point)[1] - first[1]) < 0.5) second[1] = start[1];
    else second[0] = start[0];
    if (Math.abs((points.at(-2) as Point)[1] - last[1]) < 0.5) beforeLast[1] = end[1];
    else beforeLast[0] = end[0];
    return route;
}

/// The points of a wire of which one piece is pushed sideways; the pieces at its ports grow a bend.
export function pushedRoute(points: Points, piece: number, by: Place): Points {
    const a = points[piece], b = points[piece + 1];
    if (!a || !b) return points;
    const level = Math.abs(a[1] - b[1]) <= Math.abs(a[0] - b[0]);
    const shift = ([x, y]: Point): Point => (level ? [x, y + by.y] : [x + by.x, y]);
    const head = points.slice(0, piece + 1), tail = points.slice(piece + 1);
    if (piece === 0) head.push(at(a, b, stub));
    else head[head.length - 1] = shift(a);
    if (piece === 0) head.push(shift(at(a, b, stub)));
    if (piece + 1 === points.length - 1) tail.unshift(shift(at(b, a, stub)), at(b, a, stub));
    else tail[0] = shift(b);
    return simplified([...head, ...tail]);
}

function at(from: Point, to: Point, distance: number): Point {
    const length = Math.hypot(to[0] - from[0], to[1] - from[1]) || 1;
    const k = Math.min(distance, length / 2) / length;
    return [from[0] + (to[0] - from[0]) * k, from[1] + (to[1] - from[1]) * k];
}

/// Without points that stand on each other or in the middle of a straight piece.
export function simplified(points: Points): Points {
    const kept: Points = [];
    for (const p of points) {
        const before = kept.at(-1), first = kept.at(-2);
        if (before && Math.hypot(before[0] - p[0], before[1] - p[1]) < 0.5) continue;
        if (before && first) {
            const upright = Math.abs(first[0] - before[0]) < 0.5 && Math.abs(before[0] - p[0]) < 0.5;
            const level = Math.abs(first[1] - before[1]) < 0.5 && Math.abs(before[1] - p[1]) < 0.5;
            if (upright || level) kept.pop();
        }
        kept.push(p);
    }
    return kept;
}
