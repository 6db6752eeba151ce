// Draws the pieces that the server gives for a block. Every text is a text node.
import { memo } from "react";
import type { Piece } from "../server/protocol";
import { shade } from "../theme/shade";
import { useStudio } from "../state/store";

function PieceShape({ piece }: { piece: Piece }) {
    const dark = useStudio((s) => s.theme === "dark");
    const fill = piece.fill === undefined ? undefined : dark ? shade(piece.fill) : piece.fill;
    const common = {
        className: piece.style,
        style: fill === undefined && piece.opacity === undefined ? undefined : { fill, fillOpacity: piece.opacity },
        transform: piece.turn ? `rotate(${piece.turn.join(" ")})` : undefined,
    };
    switch (piece.shape) {
        case "rect":
            return <rect {...common} x={piece.x} y={piece.y} width={piece.width} height={piece.height} rx={piece.radius} />;
        case "ellipse":
            return <ellipse {...common} cx={piece.x} cy={piece.y} rx={piece.rx} ry={piece.ry} />;
        case "path":
            return <path {...common} d={piece.d} />;
        case "text":
            return (
                <text {...common} x={piece.x} y={piece.y} fontSize={piece.size} textAnchor={piece.anchor}>
                    {piece.text}
                    {piece.raised ? (
                        <tspan dy={-(piece.size ?? 11) * 0.4} fontSize={(piece.size ?? 11) * 0.75}>
                            {piece.raised}
                        </tspan>
                    ) : null}
                </text>
            );
    }
}

export const Pieces = memo(function Pieces({ pieces }: { pieces: Piece[] }) {
    return pieces.map((piece, i) => <PieceShape key={i} piece={piece} />);
});
