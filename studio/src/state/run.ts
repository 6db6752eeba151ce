// Runs: what is recorded, how far they are, and their samples.
import type { Handle, RunPhase, RunProgress, RunSamples, RunState, Settings, Signal } from "../server/protocol";
import { ServerError } from "../server/rpc";
import { Recording } from "../run/recording";
import type { Slice } from "./store";

export interface Run {
    run: number;
    signals: Signal[];
    settings: Settings;
    steps: number;
    recording: Recording;
}

export interface RunSlice {
    run: Run | null;
    phase: RunPhase;
    step: number;
    time: number;
    /// Earlier runs that are drawn behind the present one, the newest last.
    earlier: Run[];
    overlay: boolean;
    /// Wires to record, by what feeds them: "block:port".
    probes: ReadonlyMap<string, Handle>;
    /// Signals that are not drawn.
    hidden: ReadonlySet<string>;
    /// Expressions that stand in for the written ones in the next run.
    trials: ReadonlyMap<Handle, Record<string, string>>;
    runSettings: Partial<Settings>;
    speed: number;
    firstBad: RunState["first_bad"];
    /// Rises with each batch of samples.
    samplesCount: number;
    startRun(paused?: boolean): Promise<void>;
    pauseRun(): Promise<void>;
    resumeRun(): Promise<void>;
    stepRun(): Promise<void>;
    stopRun(): Promise<void>;
    toggleProbe(wire: Handle): void;
    toggleSignal(name: string): void;
    setTrial(block: Handle, key: string, text: string | null): void;
    setRunSetting(key: keyof Settings, value: number | undefined): void;
    setSpeed(speed: number): void;
    setOverlay(overlay: boolean): void;
    takeProgress(progress: RunProgress): void;
    takeSamples(samples: RunSamples): void;
}

const mostEarlier = 3;

const hasEnded = (phase: RunPhase) => phase === "done" || phase === "stopped" || phase === "failed";

function without<T>(record: Record<string, T>, key: string): Record<string, T> {
    return Object.fromEntries(Object.entries(record).filter(([each]) => each !== key));
}

function withEarlier(list: Run[], before: Run | null): Run[] {
    if (!before || before.signals.length === 0 || list.includes(before)) return list;
    return [...list, before].slice(-mostEarlier);
}

export const runSlice: Slice<RunSlice> = (set, get) => {
    // a short run can have ended before the answer of its start is here
    let lastProgress: RunProgress | null = null;

    // answers and notes overtake each other: a run that has ended does not go on
    const isStale = ({ run, state }: { run: number; state: RunPhase }) =>
        run === get().run?.run && hasEnded(get().phase) && !hasEnded(state);

    const takeState = (state: RunState | null) => {
        if (!state || isStale(state)) return;
        set({ phase: state.state, step: state.step, time: state.time });
        if (state.first_bad !== undefined) set({ firstBad: state.first_bad });
    };

    // the stream is thinned for drawing; when a run has ended its whole data is fetched, in drawing density
    const finish = async (run: Run) => {
        const { server } = get();
        if (!server) return;
        for (const { signal } of run.signals) {
            try {
                const data = await server.call("run.data", { signal, run: run.run, points: Recording.drawnPoints });
                run.recording.replace(signal, data.t, data.v);
            } catch {
                return; // the server keeps the last few runs only
            }
        }
        set({ samplesCount: get().samplesCount + 1 });
        try {
            const state = await server.call("run.state");
            if (state.run === run.run && state.first_bad) set({ firstBad: state.first_bad });
        } catch {
            // a run that is gone has no first bad value to tell
        }
    };

    const start = async (paused: boolean) => {
        const { server, probes, runSettings, speed, trials, view } = get();
        if (!server || !view) return;
        const before = get().run;
        const wires = [...probes.values()];
        const answer = await server.call("run.start", {
            ...(Object.keys(runSettings).length > 0 ? { settings: runSettings } : {}),
            ...(wires.length > 0 ? { wires, also_shown: true } : {}),
            ...(speed > 0 ? { speed } : {}),
            ...(paused ? { paused } : {}),
            ...(trials.size > 0 ? { parameters: Object.fromEntries(trials) } : {}),
        });
        const { run, signals, ti, tf, ts, steps } = answer;
        // what came before the answer is in the recording already
        const early = get().run?.run === run ? get().run?.recording : undefined;
        set({
            run: { run, signals, settings: { ti, tf, ts }, steps, recording: early ?? new Recording() },
            earlier: withEarlier(get().earlier, before),
            phase: paused ? "paused" : "running",
            step: 0,
            time: ti,
            firstBad: null,
            bottom: "plots",
        });
        if (lastProgress?.run === run) get().takeProgress(lastProgress);
    };

    return {
        run: null,
        phase: "none",
        step: 0,
        time: 0,
        earlier: [],
        overlay: true,
        probes: new Map(),
        hidden: new Set(),
        trials: new Map(),
        runSettings: {},
        speed: 0,
        firstBad: null,
        samplesCount: 0,

        async startRun(paused = false) {
            try {
                await start(paused);
            } catch (error) {
                if (error instanceof ServerError && error.data.kind === "consent")
                    set({ dialog: { kind: "evaluate", then: () => void get().startRun(paused) } });
                else {
                    if (error instanceof ServerError && error.data.kind === "model") set({ bottom: "problems" });
                    if (error instanceof ServerError && error.data.console) get().takeConsole(error.data.console);
                    get().fail(error);
                }
            }
        },
        pauseRun: async () => takeState(await get().ask("run.pause")),
        resumeRun: async () => takeState(await get().ask("run.resume", { speed: get().speed })),
        async stepRun() {
            if (get().phase === "paused") takeState(await get().ask("run.step", { count: 1 }));
            else if (get().phase !== "running") await get().startRun(true);
        },
        stopRun: async () => takeState(await get().ask("run.stop")),

        toggleProbe(wire) {
            const from = get().wireById.get(wire)?.from;
            if (!from) return;
            const probes = new Map(get().probes), key = `${from.block}:${from.port}`;
            if (!probes.delete(key)) probes.set(key, wire);
            set({ probes });
        },
        toggleSignal(name) {
            const hidden = new Set(get().hidden);
            if (!hidden.delete(name)) hidden.add(name);
            set({ hidden });
        },
        setTrial(block, key, text) {
            const trials = new Map(get().trials);
            const rest = without(trials.get(block) ?? {}, key);
            if (text !== null) trials.set(block, { ...rest, [key]: text });
            else if (Object.keys(rest).length > 0) trials.set(block, rest);
            else trials.delete(block);
            set({ trials });
        },
        setRunSetting(key, value) {
            const rest = without(get().runSettings, key);
            set({ runSettings: value === undefined ? rest : { ...rest, [key]: value } });
        },
        setSpeed: (speed) => set({ speed }),
        setOverlay: (overlay) => set({ overlay }),

        takeProgress(progress) {
            const { run, phase } = get();
            lastProgress = progress;
            if (run?.run !== progress.run || isStale(progress)) return;
            set({ phase: progress.state, step: progress.step, time: progress.time });
            if (progress.state === "failed" && phase !== "failed") {
                get().say("error", progress.message ?? "The run failed.");
                if (progress.findings?.length) set({ bottom: "problems" });
            }
            if (hasEnded(progress.state) && run.signals.length > 0) void finish(run);
        },
        takeSamples(samples) {
            let { run } = get();
            if (run && samples.run < run.run) return;
            if (!run || run.run !== samples.run) {
                // the stream can be quicker than the answer of the start
                run = { run: samples.run, signals: [], settings: { ti: 0, tf: 0, ts: 0 }, steps: 0, recording: new Recording() };
                const before = get().run;
                set({
                    run,
                    earlier: withEarlier(get().earlier, before),
                });
            }
            for (const { signal, t, v } of samples.series) run.recording.append(signal, t, v);
            set({ samplesCount: get().samplesCount + 1 });
        },
    };
};
