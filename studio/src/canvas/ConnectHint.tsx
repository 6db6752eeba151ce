// Says, while a wire is being drawn, why it cannot end where the pointer is.
import { useConnection } from "@xyflow/react";
import { useEffect, useState } from "react";
import type { PortRef } from "../server/protocol";
import { useStudio } from "../state/store";
import { portOfHandle } from "./BlockNode";

interface Verdict {
    ok: boolean;
    why: string;
}

export function ConnectHint() {
    const connection = useConnection((c) => ({
        active: c.inProgress,
        fromNode: c.fromHandle?.nodeId,
        fromId: c.fromHandle?.id,
        fromType: c.fromHandle?.type,
        toNode: c.toHandle?.nodeId,
        toId: c.toHandle?.id,
        x: c.pointer?.x ?? 0,
        y: c.pointer?.y ?? 0,
    }));
    const server = useStudio((s) => s.server);
    const [verdict, setVerdict] = useState<Verdict | null>(null);
    const { active, fromNode, fromId, fromType, toNode, toId } = connection;
    useEffect(() => {
        setVerdict(null);
        if (!active || !server || !fromNode || !toNode) return;
        const one: PortRef = { block: fromNode, port: portOfHandle(fromId) };
        const other: PortRef = { block: toNode, port: portOfHandle(toId) };
        let current = true;
        const ends = fromType === "source" ? { from: one, to: other } : { from: other, to: one };
        server.call("can_connect", ends).then(
            ({ ok, why, mend }) => current && setVerdict({ ok, why: [why, mend].filter(Boolean).join("; ") }),
            () => undefined,
        );
        return () => {
            current = false;
        };
    }, [active, server, fromNode, fromId, fromType, toNode, toId]);
    if (!active || !verdict || verdict.ok) return null;
    return (
        <div className="connect-hint" role="alert" style={{ left: connection.x + 14, top: connection.y + 14 }}>
            {verdict.why}
        </div>
    );
}
