// Every key and what it does.
import { commands } from "../keyboard/commands";
import { Frame } from "./Frame";

const groups = [
    { group: "draw", title: "Draw" },
    { group: "look", title: "Look around" },
    { group: "run", title: "Run" },
    { group: "file", title: "Keep and deliver" },
] as const;

const hands = [
    ["double click on the canvas", "type a class"],
    ["drag from a port", "draw a wire; dropped on nothing it asks for the block at its end, dropped on a wire it branches"],
    ["drag a block onto a wire", "the block stands in the wire"],
    ["drag a piece of a selected wire", "bend it"],
    ["double click on a name", "rename"],
    ["drag on the canvas", "select; with the middle or right button, pan"],
];

const written = (key: string) => key.replace("Arrow", "").split("+");

export function KeysDialog() {
    return (
        <Frame title="Keys" wide>
            <div className="keys">
                {groups.map(({ group, title }) => (
                    <section key={group} aria-label={title}>
                        <h2>{title}</h2>
                        <dl>
                            {commands.filter((c) => c.group === group).map((command) => (
                                <div key={command.keys.join()}>
                                    <dt>{command.keys.map((key) => (
                                        <span key={key} className="key">{written(key).map((part) => <kbd key={part}>{part}</kbd>)}</span>
                                    ))}</dt>
                                    <dd>{command.does}</dd>
                                </div>
                            ))}
                        </dl>
                    </section>
                ))}
                <section aria-label="By hand">
                    <h2>By hand</h2>
                    <dl>{hands.map(([gesture, does]) => <div key={gesture}><dt>{gesture}</dt><dd>{does}</dd></div>)}</dl>
                </section>
            </div>
        </Frame>
    );
}
