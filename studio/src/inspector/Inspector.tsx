// The form of what is selected: a block, a wire, several blocks, or the model.
import { useStudio } from "../state/store";
import { BlockForm } from "./BlockForm";
import { ManyForm } from "./ManyForm";
import { ModelForm } from "./ModelForm";
import { WireForm } from "./WireForm";

export function Inspector() {
    const blocks = useStudio((s) => s.selectedBlocks);
    const wires = useStudio((s) => s.selectedWires);
    const block = useStudio((s) => (s.selectedBlocks.length === 1 ? s.blockById.get(s.selectedBlocks[0] ?? "") : undefined));
    const wire = useStudio((s) => (s.selectedWires.length === 1 ? s.wireById.get(s.selectedWires[0] ?? "") : undefined));
    return (
        <aside className="inspector" aria-label="inspector">
            {block ? <BlockForm key={block.id} block={block} />
                : blocks.length > 1 ? <ManyForm count={blocks.length} />
                : wire && wires.length === 1 ? <WireForm key={wire.id} wire={wire} />
                : <ModelForm />}
        </aside>
    );
}
