// The page: bars above, palette and form at the sides, the diagram in the middle, problems and plots below.
import { ReactFlowProvider } from "@xyflow/react";
import { Canvas } from "./canvas/Canvas";
import { Dialogs } from "./dialogs/Dialogs";
import { Inspector } from "./inspector/Inspector";
import { useKeys } from "./keyboard/useKeys";
import { Palette } from "./palette/Palette";
import { BottomPanel } from "./shell/BottomPanel";
import { Breadcrumb } from "./shell/Breadcrumb";
import { Fatal } from "./shell/Fatal";
import { Messages } from "./shell/Messages";
import { StatusBar } from "./shell/StatusBar";
import { TopBar } from "./shell/TopBar";
import { TrustBar } from "./shell/TrustBar";
import { Welcome } from "./shell/Welcome";
import { useStudio } from "./state/store";
import { DiagramStyle } from "./theme/DiagramStyle";

export function App() {
    useKeys();
    const opened = useStudio((s) => s.hello !== null && s.hello.file !== null);
    const asked = useStudio((s) => s.hello !== null);
    const palette = useStudio((s) => s.palette);
    const inspector = useStudio((s) => s.inspector);
    return (
        <ReactFlowProvider>
            <DiagramStyle />
            <div className="studio">
                <TopBar />
                <TrustBar />
                <main className="middle">
                    {opened && palette ? <Palette /> : null}
                    <div className="stage">
                        {opened ? <Breadcrumb /> : null}
                        {opened ? <Canvas /> : asked ? <Welcome /> : null}
                        {opened ? <BottomPanel /> : null}
                    </div>
                    {opened && inspector ? <Inspector /> : null}
                </main>
                {opened ? <StatusBar /> : null}
            </div>
            <Messages />
            <Dialogs />
            <Fatal />
        </ReactFlowProvider>
    );
}
