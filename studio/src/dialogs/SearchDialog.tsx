// Finds blocks by name, class or the text of a parameter, and goes there.
import { useEffect, useState } from "react";
import type { Hit } from "../server/protocol";
import { useStudio } from "../state/store";
import { Frame } from "./Frame";

const mostHits = 60;

export function SearchDialog() {
    const server = useStudio((s) => s.server);
    const goTo = useStudio((s) => s.goTo);
    const show = useStudio((s) => s.show);
    const [text, setText] = useState("");
    const [hits, setHits] = useState<Hit[]>([]);
    const [at, setAt] = useState(0);
    useEffect(() => {
        let current = true;
        setAt(0);
        if (text.trim() === "" || !server) return setHits([]);
        server.call("search", { text, limit: mostHits }).then((answer) => current && setHits(answer.hits), () => undefined);
        return () => {
            current = false;
        };
    }, [server, text]);
    const go = (hit: Hit | undefined) => {
        if (!hit) return;
        show(null);
        void goTo(hit.level, hit.block);
    };
    return (
        <Frame title="Search">
            <input autoFocus type="search" role="combobox" aria-label="text to search for" aria-expanded={hits.length > 0} aria-controls="hits"
                aria-activedescendant={hits[at] ? `hit-${at}` : undefined}
                placeholder="name, class, or text of a parameter" value={text} onChange={(e) => setText(e.target.value)}
                onKeyDown={(e) => {
                    if (e.key === "ArrowDown") setAt(Math.min(at + 1, hits.length - 1));
                    else if (e.key === "ArrowUp") setAt(Math.max(at - 1, 0));
                    else if (e.key === "Enter") go(hits[at]);
                    else return;
                    e.preventDefault();
                }} />
            <ul id="hits" role="listbox" aria-label="hits" className="list">
                {hits.map((hit, i) => (
                    <li key={`${hit.block} ${hit.where} ${i}`}>
                        <button type="button" id={`hit-${i}`} role="option" aria-selected={i === at} onClick={() => go(hit)}>
                            <span>{hit.path}</span>
                            <span className="class">{hit.class}{hit.where === "name" ? "" : `, ${hit.where}: ${hit.text}`}</span>
                        </button>
                    </li>
                ))}
            </ul>
            {text.trim() !== "" && hits.length === 0 ? <p className="empty">Nothing has that.</p> : null}
        </Frame>
    );
}
