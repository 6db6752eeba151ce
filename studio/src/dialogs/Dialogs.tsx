// The dialog that is open.
import { useStudio } from "../state/store";
import { ConflictDialog } from "./ConflictDialog";
import { ConnectDialog } from "./ConnectDialog";
import { DeliverDialog } from "./DeliverDialog";
import { DescribeDialog } from "./DescribeDialog";
import { EvaluateDialog } from "./EvaluateDialog";
import { FileList } from "./FileList";
import { Frame } from "./Frame";
import { KeysDialog } from "./KeysDialog";
import { SearchDialog } from "./SearchDialog";
import { WorkspaceDialog } from "./WorkspaceDialog";

export function Dialogs() {
    const dialog = useStudio((s) => s.dialog);
    switch (dialog?.kind) {
        case "keys": return <KeysDialog />;
        case "search": return <SearchDialog />;
        case "files": return <Frame title="Open a model"><FileList /></Frame>;
        case "evaluate": return <EvaluateDialog then={dialog.then} />;
        case "deliver": return <DeliverDialog />;
        case "workspace": return <WorkspaceDialog />;
        case "connect": return <ConnectDialog />;
        case "describe": return <DescribeDialog code={dialog.code} />;
        case "conflict": return <ConflictDialog why={dialog.why} blocks={dialog.blocks} />;
        default: return null;
    }
}
