// The samples of one run as they are drawn.
import type { Sample } from "../server/protocol";

/// One signal. A value that is no finite number is null, which breaks the line.
export interface Series {
    t: number[];
    v: (number | null)[];
}

/// What can be drawn of a value.
export function drawable(value: Sample): number | null {
    if (typeof value === "number") return Number.isFinite(value) ? value : null;
    if (typeof value === "boolean") return value ? 1 : 0;
    const number = Number(value); // 64-bit integers are texts where a number cannot hold them
    return value !== "" && Number.isFinite(number) ? number : null;
}

export class Recording {
    /// So many points of a signal are asked for when a run has ended: two a pixel of a wide screen.
    static readonly drawnPoints = 4000;
    /// A stream beyond this is thinned here, so that a long run does not grow the page without end.
    static readonly mostPoints = 60_000;

    private readonly series = new Map<number, Series>();

    of(signal: number): Series {
        let series = this.series.get(signal);
        if (!series) this.series.set(signal, (series = { t: [], v: [] }));
        return series;
    }

    append(signal: number, t: readonly number[], v: readonly Sample[]): void {
        const series = this.of(signal);
        for (let i = 0; i < t.length; ++i) {
            series.t.push(t[i] as number);
            series.v.push(drawable(v[i] as Sample));
        }
        if (series.t.length > Recording.mostPoints) this.thin(signal, series);
    }

    replace(signal: number, t: readonly number[], v: readonly Sample[]): void {
        this.series.set(signal, { t: [...t], v: v.map(drawable) });
    }

    // of each four points the lowest and the highest stay, in their order
    private thin(signal: number, { t, v }: Series): void {
        const kept: Series = { t: [], v: [] };
        for (let i = 0; i < t.length; i += 4) {
            const end = Math.min(i + 4, t.length);
            let low = i, high = i;
            for (let k = i + 1; k < end; ++k) {
                if ((v[k] ?? Infinity) < (v[low] ?? Infinity)) low = k;
                if ((v[k] ?? -Infinity) > (v[high] ?? -Infinity)) high = k;
            }
            for (const k of low === high ? [low] : [Math.min(low, high), Math.max(low, high)]) {
                kept.t.push(t[k] as number);
                kept.v.push(v[k] ?? null);
            }
        }
        this.series.set(signal, kept);
    }
}
