// A class as its block looks with defaults, in a small frame.
import type { BlockClass } from "../server/protocol";
import { Pieces } from "../canvas/Pieces";

export function ClassPicture({ of }: { of: BlockClass }) {
    const { width, height, pieces } = of.picture, edge = 7;
    return (
        <svg
            className="diagram class-picture"
            aria-hidden="true"
            viewBox={`${-edge} ${-edge} ${width + 2 * edge} ${height + 2 * edge}`}
            preserveAspectRatio="xMidYMid meet"
        >
            <Pieces pieces={pieces} />
        </svg>
    );
}
