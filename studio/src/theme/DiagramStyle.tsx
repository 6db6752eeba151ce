// The server's style sheet of drawing pieces, adopted without an element of its own: the page's policy has no inline
// styles.
import { useEffect } from "react";
import { useStudio } from "../state/store";
import { diagramSheet } from "./shade";

export function DiagramStyle() {
    const css = useStudio((s) => s.stylesheet);
    const theme = useStudio((s) => s.theme);
    useEffect(() => {
        document.documentElement.dataset.theme = theme;
        const sheet = new CSSStyleSheet();
        sheet.replaceSync(diagramSheet(css, theme === "dark"));
        document.adoptedStyleSheets = [sheet];
    }, [css, theme]);
    return null;
}
