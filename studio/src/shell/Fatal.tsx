// The server is gone, or the address has no token: the page says so and does nothing else.
import { useStudio } from "../state/store";

export function Fatal() {
    const fatal = useStudio((s) => s.fatal);
    if (fatal === "") return null;
    return (
        <div className="fatal" role="alertdialog" aria-label="no connection">
            <div>
                <h1>No connection</h1>
                <p>{fatal}</p>
                <button type="button" onClick={() => window.location.reload()}>Try again</button>
            </div>
        </div>
    );
}
