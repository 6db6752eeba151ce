// All classes with their pictures: drag one onto the canvas or a wire, or press Enter to put it in the middle.
import { useMemo, useState } from "react";
import type { BlockClass } from "../server/protocol";
import { insertBlock } from "../state/actions";
import { useStudio } from "../state/store";
import { ClassPicture } from "./ClassPicture";
import { matchingClasses } from "./match";

export const dragType = "application/x-zarn-class";

function PaletteEntry({ each }: { each: BlockClass }) {
    const editable = useStudio((s) => s.view?.editable === true);
    return (
        <li>
            <button
                type="button"
                className="palette-entry"
                title={each.summary}
                disabled={!editable}
                draggable={editable}
                onDragStart={(e) => {
                    e.dataTransfer.setData(dragType, each.class);
                    e.dataTransfer.effectAllowed = "copy";
                }}
                onClick={() => void insertBlock(each, null)}
            >
                <ClassPicture of={each} />
                <span>{each.class}</span>
            </button>
        </li>
    );
}

export function Palette() {
    const classes = useStudio((s) => s.classes);
    const [text, setText] = useState("");
    const groups = useMemo(() => {
        const all = classes?.classes ?? [];
        if (text !== "") return [{ family: "found", members: matchingClasses(all, text) }];
        return (classes?.families ?? []).map((family) => ({ family, members: all.filter((c) => c.family === family) }));
    }, [classes, text]);
    return (
        <nav className="palette" aria-label="palette of blocks">
            <input
                type="search"
                id="palette-search"
                aria-label="search in the palette"
                placeholder="Search blocks"
                value={text}
                onChange={(e) => setText(e.target.value)}
            />
            <div className="palette-groups">
                {groups.map(({ family, members }) => (
                    <section key={family} aria-label={family}>
                        <h2>{family}</h2>
                        <ul>
                            {members.map((each) => (
                                <PaletteEntry key={each.class} each={each} />
                            ))}
                        </ul>
                    </section>
                ))}
                {groups.every(({ members }) => members.length === 0) ? <p className="empty">No class is called so.</p> : null}
            </div>
        </nav>
    );
}
