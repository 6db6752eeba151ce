// The page of a finding's code, as plain text.
import { useEffect, useState } from "react";
import { useStudio } from "../state/store";
import { Frame } from "./Frame";

export function DescribeDialog({ code }: { code: string }) {
    const ask = useStudio((s) => s.ask);
    const [text, setText] = useState("");
    useEffect(() => {
        void ask("describe_code", { code }).then((answer) => setText(answer?.markdown ?? ""));
    }, [ask, code]);
    return <Frame title={code}><pre className="described">{text}</pre></Frame>;
}
