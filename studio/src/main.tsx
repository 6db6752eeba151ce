import { createRoot } from "react-dom/client";
import "@xyflow/react/dist/style.css";
import "./theme/page.css";
import "./theme/canvas.css";
import "./theme/panels.css";
import { App } from "./App";
import { HttpServer, takeToken } from "./server/rpc";
import { useStudio } from "./state/store";

const page = document.getElementById("page");
if (page) {
    void useStudio.getState().start(new HttpServer(takeToken()));
    createRoot(page).render(<App />);
}
