// Says that nothing of a model is executed until a person agrees, and what changed on disk.
import { useStudio } from "../state/store";

export function TrustBar() {
    const hello = useStudio((s) => s.hello);
    const disk = useStudio((s) => s.disk);
    const { show, allowEvaluation, save, revert } = useStudio.getState();
    if (!hello?.file) return null;
    return (
        <>
            {hello.features.evaluate === false ? null : hello.evaluates ? (
                <div className="trust-bar agreed" role="status">
                    <span>Expressions of this model are evaluated.</span>
                    <button type="button" onClick={() => void allowEvaluation(false)}>Stop that</button>
                </div>
            ) : (
                <div className="trust-bar" role="status">
                    <span>This model is open to look at and draw: nothing in it is executed.</span>
                    <button type="button" onClick={() => show({ kind: "evaluate" })}>Evaluate expressions...</button>
                </div>
            )}
            {disk === "same" ? null : (
                <div className="trust-bar disk" role="alert">
                    <span>{disk === "gone" ? "The file is gone from disk." : "The file was changed on disk by somebody else."}</span>
                    <button type="button" onClick={() => void save()}>{disk === "gone" ? "Save it again" : "Save and merge"}</button>
                    {disk === "changed" ? <button type="button" onClick={() => void revert()}>Take the one on disk</button> : null}
                </div>
            )}
        </>
    );
}
