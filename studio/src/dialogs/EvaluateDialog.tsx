// What evaluating would execute, and the question whether it may.
import { useEffect, useState } from "react";
import type { Consent } from "../server/protocol";
import { useStudio } from "../state/store";
import { Frame } from "./Frame";

export function EvaluateDialog({ then }: { then: (() => void) | undefined }) {
    const { consent, allowEvaluation, show } = useStudio.getState();
    const [asked, setAsked] = useState<Consent | null>(null);
    useEffect(() => {
        void consent().then(setAsked);
    }, [consent]);
    const allow = async () => {
        show(null);
        await allowEvaluation(true);
        if (useStudio.getState().hello?.evaluates) then?.();
    };
    return (
        <Frame title="Evaluate expressions?">
            <p>A model is a program. Evaluating it runs what is listed here, with your rights, in this session. Agree for models that you trust.</p>
            {asked ? (
                <>
                    {asked.scripts.length > 0 ? (
                        <section aria-label="scripts">
                            <h2>Scripts that are run</h2>
                            <ul className="executed">{asked.scripts.map((script) => <li key={script}><code>{script}</code></li>)}</ul>
                        </section>
                    ) : null}
                    <section aria-label="expressions">
                        <h2>{asked.count} expressions</h2>
                        <ul className="executed">
                            {asked.expressions.map(({ block, path, key, text }) => (
                                <li key={`${block} ${key}`}><code>{text}</code><span className="class">{path}, {key}</span></li>
                            ))}
                            {asked.count > asked.expressions.length ? <li>and {asked.count - asked.expressions.length} more</li> : null}
                        </ul>
                    </section>
                </>
            ) : <p className="empty">Reading what would be executed...</p>}
            <footer className="row">
                <button type="button" className="primary" autoFocus disabled={!asked} onClick={() => void allow()}>Evaluate them</button>
                <button type="button" onClick={() => show(null)}>Not now</button>
            </footer>
        </Frame>
    );
}
