// Which lines a plot has: the present run of a signal, and earlier ones behind it.
import uPlot from "uplot";
import type { Run } from "../state/run";
import type { Series } from "./recording";

export interface Line {
    name: string;
    /// 0 is the present run, 1 the one before it.
    age: number;
    type: string;
    series: Series;
}

/// The lines of the signals of a name, oldest first, so that the present one is drawn on top.
export function linesOf(name: string, run: Run, earlier: readonly Run[], overlay: boolean): Line[] {
    const runs = overlay ? [...earlier, run] : [run];
    return runs.flatMap((each, i) => {
        const signal = each.signals.find((s) => s.name === name);
        if (!signal) return [];
        return [{ name, age: runs.length - 1 - i, type: signal.type, series: each.recording.of(signal.signal) }];
    });
}

/// What the plot takes: one list of times, and of each line the values at them; undefined between its own times.
export function tableOf(lines: readonly Line[]): uPlot.AlignedData {
    const first = lines[0];
    if (!first) return [[]];
    if (lines.length === 1) return [first.series.t, first.series.v];
    return uPlot.join(lines.map(({ series }): uPlot.AlignedData => [series.t, series.v]));
}

/// A truth value or a whole number keeps its value until the next step.
export const isStepped = (type: string) => type === "bool" || type.startsWith("int") || type.startsWith("uint");
