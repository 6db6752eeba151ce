// A text that is kept when it is left or Enter is pressed, and taken back by Escape.
import { useEffect, useState } from "react";

export function Field({ id, label, value, onKeep, placeholder, disabled = false, multiline = false }: {
    id?: string;
    label: string;
    value: string;
    onKeep: (text: string) => void;
    placeholder?: string;
    disabled?: boolean;
    multiline?: boolean;
}) {
    const [text, setText] = useState(value);
    useEffect(() => setText(value), [value]);
    const keep = () => {
        if (text !== value) onKeep(text);
    };
    const common = {
        id,
        "aria-label": label,
        value: text,
        placeholder,
        disabled,
        spellCheck: false,
        onBlur: keep,
    };
    if (multiline) return <textarea {...common} rows={3} onChange={(e) => setText(e.target.value)} />;
    return (
        <input
            {...common}
            onChange={(e) => setText(e.target.value)}
            onKeyDown={(e) => {
                if (e.key === "Enter") keep();
                if (e.key === "Escape") {
                    setText(value);
                    e.stopPropagation();
                }
            }}
        />
    );
}
