// The name of a block, written where it stands.
import { ViewportPortal } from "@xyflow/react";
import { useState } from "react";
import type { Block } from "../server/protocol";
import { useStudio } from "../state/store";
import { boundsOf } from "./geometry";

export function RenameBox() {
    const block = useStudio((s) => (s.renaming === null ? undefined : s.blockById.get(s.renaming)));
    return block ? <NameField key={block.id} block={block} /> : null;
}

function NameField({ block }: { block: Block }) {
    const setRenaming = useStudio((s) => s.setRenaming);
    const edit = useStudio((s) => s.edit);
    const [name, setName] = useState(block.name);
    const box = boundsOf(block), width = Math.max(90, name.length * 7 + 20);
    const finish = (keep: boolean) => {
        setRenaming(null);
        if (keep && name !== "" && name !== block.name) void edit([{ op: "rename", block: block.id, name }]);
    };
    return (
        <ViewportPortal>
            <input
                className="rename-box nodrag nopan"
                aria-label={`name of ${block.name}`}
                autoFocus
                onFocus={(e) => e.target.select()}
                value={name}
                style={{ left: box.x + box.width / 2 - width / 2, top: box.y + box.height + 2, width }}
                onChange={(e) => setName(e.target.value)}
                onBlur={() => finish(true)}
                onKeyDown={(e) => {
                    e.stopPropagation();
                    if (e.key === "Enter") finish(true);
                    if (e.key === "Escape") finish(false);
                }}
            />
        </ViewportPortal>
    );
}
