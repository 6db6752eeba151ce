// A server that gives recorded answers, and notes what it was asked.
import type { Method, Methods, Notifications } from "../src/server/protocol";
import { ServerError, type Answer, type Params, type Server } from "../src/server/rpc";
import recorded from "./recorded/motor.json";

type Answers = { [M in Method]?: Methods[M][1] | ((params: Methods[M][0]) => Methods[M][1]) };

export class FakeServer implements Server {
    readonly asked: { method: Method; params: unknown }[] = [];
    private readonly listeners = new Map<string, ((params: never) => void)[]>();
    private live: (live: boolean) => void = () => undefined;

    constructor(private readonly answers: Answers = {}) {}

    async call<M extends Method>(method: M, params?: Params<M>): Promise<Answer<M>> {
        this.asked.push({ method, params });
        const own: unknown = this.answers[method];
        if (typeof own === "function") return (own as (params: Params<M>) => Answer<M>)(params as Params<M>);
        if (own !== undefined) return own as Answer<M>;
        const level = (params as { level?: string } | undefined)?.level;
        const key = method === "view" && level !== undefined ? `view ${level}` : method;
        const answer = (recorded as Record<string, unknown>)[key];
        if (answer === undefined) throw new ServerError(`no recorded answer of ${key}`, 1, { kind: "refused" });
        return structuredClone(answer) as Answer<M>;
    }

    on<N extends keyof Notifications>(name: N, listener: (params: Notifications[N]) => void): () => void {
        this.listeners.set(name, [...(this.listeners.get(name) ?? []), listener]);
        return () => undefined;
    }
    onLive(listener: (live: boolean) => void): () => void {
        this.live = listener;
        listener(true);
        return () => undefined;
    }
    stop(): void {
        this.live(false);
    }
    tell<N extends keyof Notifications>(name: N, params: Notifications[N]): void {
        for (const listener of this.listeners.get(name) ?? []) listener(params as never);
    }
    methods(): Method[] {
        return this.asked.map(({ method }) => method);
    }
}
