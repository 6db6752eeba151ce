// One parameter: its text or keyword, its unit, its value beside, and a slider for the next run.
import { useEffect, useState } from "react";
import type { BlockFacts, Parameter } from "../server/protocol";
import { ServerError } from "../server/rpc";
import { useStudio } from "../state/store";
import { Field } from "./Field";

interface Value {
    text: string;
    problem: boolean;
}

/// What an expression gives, asked again after each change.
function useValue(block: string, parameter: Parameter): Value | null {
    const server = useStudio((s) => s.server);
    const revision = useStudio((s) => s.valuesRevision);
    const [value, setValue] = useState<Value | null>(null);
    const { key, text, kind } = parameter;
    useEffect(() => {
        let current = true;
        const asks = kind === undefined || kind === "value" || kind === "list" || kind === "series";
        if (!server || !asks) return setValue(null);
        server.call("value", { block, key }).then(
            (answer) => {
                if (!current) return;
                if (answer.problem) setValue({ text: answer.problem, problem: true });
                else setValue({ text: `${answer.value ?? ""} ${answer.type ?? ""}`.trim(), problem: false });
            },
            (error: unknown) => {
                if (!current) return;
                // without consent there is no value, and that is no fault
                const told = error instanceof ServerError && error.data.kind !== "consent" && error.data.kind !== "protocol";
                setValue(told ? { text: error.message, problem: true } : null);
            },
        );
        return () => {
            current = false;
        };
    }, [server, revision, block, key, text, kind]);
    return value;
}

const isNumber = (text: string) => /^\s*[-+]?(\d+\.?\d*|\.\d+)([eE][-+]?\d+)?\s*$/.test(text);

/// A number to be tried in the next run, without a change of the model. It goes from nought to twice the written one.
function Slider({ block, parameter }: { block: string; parameter: Parameter }) {
    const trial = useStudio((s) => s.trials.get(block)?.[parameter.key]);
    const setTrial = useStudio((s) => s.setTrial);
    const edit = useStudio((s) => s.edit);
    const written = Number(parameter.text);
    const reach = written === 0 ? 1 : Math.abs(written) * 2;
    const whole = Number.isInteger(written) && !String(parameter.text).includes(".");
    const [low, high] = [written < 0 ? -reach : 0, written < 0 ? 0 : reach];
    const textOf = (value: number) => (whole ? String(Math.round(value)) : Number.isInteger(value) ? value.toFixed(1) : String(Number(value.toPrecision(4))));
    return (
        <div className="slider">
            <input
                type="range"
                aria-label={`${parameter.key} of the next run`}
                title="the value of the next run; the model stays as it is"
                min={low}
                max={high}
                step={whole ? 1 : (high - low) / 200}
                value={trial === undefined ? written : Number(trial)}
                onChange={(e) => setTrial(block, parameter.key, textOf(Number(e.target.value)))}
            />
            {trial === undefined ? null : (
                <>
                    <output>{trial} in the next run</output>
                    <button type="button" onClick={() => {
                        setTrial(block, parameter.key, null);
                        void edit([{ op: "set_parameter", block, key: parameter.key, value: trial }]);
                    }}>keep</button>
                    <button type="button" onClick={() => setTrial(block, parameter.key, null)}>reset</button>
                </>
            )}
        </div>
    );
}

export function ParameterField({ facts, parameter, editable }: { facts: BlockFacts; parameter: Parameter; editable: boolean }) {
    const edit = useStudio((s) => s.edit);
    const value = useValue(facts.id, parameter);
    const id = `parameter-${parameter.key}`, text = String(parameter.text ?? "");
    const keep = (next: string) => {
        // ports are whole numbers in the file; an empty field is the default
        const number = parameter.kind === "port" && /^\d+$/.test(next);
        void edit([{ op: "set_parameter", block: facts.id, key: parameter.key, value: next === "" ? null : number ? Number(next) : next }]);
    };
    const known = parameter.words?.some((each) => each.word === text) ?? false;
    return (
        <div className="parameter">
            <label htmlFor={id}>
                {parameter.key}
                {parameter.unit ? <span className="unit">{parameter.unit}</span> : null}
                {parameter.written ? null : <span className="default">default</span>}
            </label>
            {parameter.words && parameter.words.length > 0 ? (
                <select id={id} value={text} disabled={!editable} onChange={(e) => keep(e.target.value)}>
                    {known ? null : <option value={text}>{text}</option>}
                    {parameter.words.map(({ word, sign }) => (
                        <option key={word} value={word}>
                            {sign && sign !== word ? `${word}  ${sign}` : word}
                        </option>
                    ))}
                </select>
            ) : (
                <Field id={id} label={parameter.key} value={text} disabled={!editable} onKeep={keep}
                    placeholder={parameter.default === null ? "" : String(parameter.default)} />
            )}
            {parameter.meaning ? <p className="meaning">{parameter.meaning}</p> : null}
            {value && value.text !== "" && value.text !== text ? (
                <p className={value.problem ? "value problem" : "value"}>{value.problem ? value.text : `= ${value.text}`}</p>
            ) : null}
            {parameter.kind === "value" && isNumber(text) ? <Slider block={facts.id} parameter={parameter} /> : null}
        </div>
    );
}
