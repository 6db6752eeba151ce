// Types a class where its block shall stand: a double click, a dropped wire, or a key opens it.
import { ViewportPortal } from "@xyflow/react";
import { useMemo, useState } from "react";
import type { BlockClass } from "../server/protocol";
import { useStudio } from "../state/store";
import { matchingClasses } from "../palette/match";
import { ClassPicture } from "../palette/ClassPicture";
import { insertBlock } from "../state/actions";
import type { QuickInsert as Place } from "../state/shell";

const mostShown = 9;

export function QuickInsert() {
    const quick = useStudio((s) => s.quick);
    return quick ? <QuickField key={`${quick.x} ${quick.y}`} place={quick} /> : null;
}

function QuickField({ place }: { place: Place }) {
    const classes = useStudio((s) => s.classes);
    const setQuick = useStudio((s) => s.setQuick);
    const [text, setText] = useState("");
    const [at, setAt] = useState(0);
    const found = useMemo(() => matchingClasses(classes?.classes ?? [], text).slice(0, mostShown), [classes, text]);
    const choose = (each: BlockClass | undefined) => {
        setQuick(null);
        if (each) void insertBlock(each, place);
    };
    return (
        <ViewportPortal>
            <div className="quick-insert nodrag nopan nowheel" style={{ left: place.x, top: place.y }}>
                <input
                    autoFocus
                    role="combobox"
                    aria-label="class of the new block"
                    aria-expanded="true"
                    aria-controls="quick-classes"
                    aria-activedescendant={found[at] ? `quick-${found[at].class}` : undefined}
                    placeholder="Type a class: gain, add, memory..."
                    value={text}
                    onChange={(e) => {
                        setText(e.target.value);
                        setAt(0);
                    }}
                    onBlur={() => setQuick(null)}
                    onKeyDown={(e) => {
                        e.stopPropagation();
                        if (e.key === "ArrowDown") setAt(Math.min(at + 1, found.length - 1));
                        else if (e.key === "ArrowUp") setAt(Math.max(at - 1, 0));
                        else if (e.key === "Enter") choose(found[at]);
                        else if (e.key === "Escape") setQuick(null);
                        else return;
                        e.preventDefault();
                    }}
                />
                <ul id="quick-classes" role="listbox" aria-label="classes">
                    {found.map((each, i) => (
                        <li
                            key={each.class}
                            id={`quick-${each.class}`}
                            role="option"
                            aria-selected={i === at}
                            onPointerDown={(e) => {
                                e.preventDefault();
                                choose(each);
                            }}
                        >
                            <ClassPicture of={each} />
                            <span className="class-name">{each.class}</span>
                            <span className="class-summary">{each.summary}</span>
                        </li>
                    ))}
                </ul>
                {found.length === 0 ? <p>No class is called so.</p> : null}
            </div>
        </ViewportPortal>
    );
}
