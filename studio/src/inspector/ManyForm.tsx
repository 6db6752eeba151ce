// Several blocks: align, distribute, turn, group.
import { alignSelected, connectSelected, distributeSelected, groupSelected, turnSelected } from "../state/actions";
import type { Edge } from "../state/operations";

const edges: Edge[] = ["left", "center", "right", "top", "middle", "bottom"];

export function ManyForm({ count }: { count: number }) {
    return (
        <form onSubmit={(e) => e.preventDefault()}>
            <header><h2>{count} blocks</h2></header>
            <fieldset>
                <legend>Align</legend>
                <div className="buttons">{edges.map((edge) => (
                    <button key={edge} type="button" onClick={() => void alignSelected(edge)}>{edge}</button>
                ))}</div>
            </fieldset>
            {count > 2 ? (
                <fieldset>
                    <legend>Equal gaps</legend>
                    <div className="buttons">
                        <button type="button" onClick={() => void distributeSelected("x")}>sideways</button>
                        <button type="button" onClick={() => void distributeSelected("y")}>up and down</button>
                    </div>
                </fieldset>
            ) : null}
            <fieldset>
                <legend>All of them</legend>
                <div className="buttons">
                    {count === 2 ? <button type="button" onClick={() => void connectSelected()}>connect</button> : null}
                    <button type="button" onClick={() => void turnSelected(90)}>turn</button>
                    <button type="button" onClick={() => void groupSelected()}>group</button>
                </div>
            </fieldset>
        </form>
    );
}
