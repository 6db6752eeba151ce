// What the checks count, what is selected, and whether the server is there.
import { useStudio } from "../state/store";

const several = (n: number, one: string) => `${n} ${one}${n === 1 ? "" : "s"}`;

export function StatusBar() {
    const findings = useStudio((s) => s.findings);
    const view = useStudio((s) => s.view);
    const live = useStudio((s) => s.live);
    const blocks = useStudio((s) => s.selectedBlocks.length);
    const wires = useStudio((s) => s.selectedWires.length);
    const hello = useStudio((s) => s.hello);
    const { setBottom } = useStudio.getState();
    const checking = view !== null && findings !== null && findings.checked < (hello?.revision ?? 0);
    const counts = findings?.counts;
    return (
        <footer className="status-bar">
            <button type="button" onClick={() => setBottom("problems")}>
                {!counts || checking ? "checking..." : counts.error + counts.warning === 0 ? "no problems" : (
                    <>
                        {counts.error > 0 ? <span className="error">{several(counts.error, "error")}</span> : null}
                        {counts.warning > 0 ? <span className="warning">{several(counts.warning, "warning")}</span> : null}
                    </>
                )}
            </button>
            <span>{view ? `${several(view.blocks.length, "block")}, ${several(view.wires.length, "wire")}` : ""}</span>
            <span>{blocks + wires > 0 ? `${several(blocks, "block")} and ${several(wires, "wire")} selected` : "? shows the keys"}</span>
            <span className="spacer" />
            <span>{hello?.product} {hello?.version}</span>
            <span className={live ? "live" : "live off"}>{live ? "connected" : "waiting for the server"}</span>
        </footer>
    );
}
