// What just happened, in a corner, and read aloud.
import { useStudio } from "../state/store";
import { Icon } from "./Icon";

export function Messages() {
    const messages = useStudio((s) => s.messages);
    const dismiss = useStudio((s) => s.dismiss);
    return (
        <div className="messages" role="log" aria-live="polite" aria-label="messages">
            {messages.map(({ id, kind, text, mend, action }) => (
                <div key={id} className={`message ${kind}`} role={kind === "error" ? "alert" : undefined}>
                    <div>
                        <p>{text}</p>
                        {mend === "" ? null : <p className="mend">{mend}</p>}
                        {action ? (
                            <button type="button" onClick={() => {
                                dismiss(id);
                                action.run();
                            }}>{action.title}</button>
                        ) : null}
                    </div>
                    <button type="button" className="close" aria-label="dismiss" onClick={() => dismiss(id)}><Icon name="close" /></button>
                </div>
            ))}
        </div>
    );
}
