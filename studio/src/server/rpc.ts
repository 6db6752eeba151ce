// Requests to the server, and what it says unasked.
import type { ErrorData, Method, Methods, Notifications } from "./protocol";

/// An answer that says no. `message` is a sentence for people.
export class ServerError extends Error {
    constructor(
        message: string,
        readonly code: number,
        readonly data: ErrorData,
    ) {
        super(message);
    }
}

/// The server does not answer at all.
export class Unreachable extends Error {}

export type Params<M extends Method> = Methods[M][0];
export type Answer<M extends Method> = Methods[M][1];
type Listener<N extends keyof Notifications> = (params: Notifications[N]) => void;

export interface Server {
    call<M extends Method>(method: M, params?: Params<M>): Promise<Answer<M>>;
    on<N extends keyof Notifications>(name: N, listener: Listener<N>): () => void;
    /// Told true when the stream of notifications stands, false when it broke.
    onLive(listener: (live: boolean) => void): () => void;
    stop(): void;
}

/// Cuts the text of server-sent events into the data of whole events; the rest waits for more.
export function cutEvents(text: string): { data: string[]; rest: string } {
    const parts = text.split(/\r?\n\r?\n/);
    const rest = parts.pop() ?? "";
    const data = parts
        .map((part) =>
            part
                .split(/\r?\n/)
                .filter((line) => line.startsWith("data:"))
                .map((line) => line.slice(5).trimStart())
                .join("\n"),
        )
        .filter((each) => each !== "");
    return { data, rest };
}

const retryDelays = [200, 500, 1000, 2000];

export class HttpServer implements Server {
    private next = 1;
    private readonly listeners = new Map<string, Set<(params: never) => void>>();
    private readonly liveListeners = new Set<(live: boolean) => void>();
    private readonly stopped = new AbortController();

    constructor(
        private readonly token: string,
        private readonly base = "",
    ) {
        void this.listen();
    }

    async call<M extends Method>(method: M, params?: Params<M>): Promise<Answer<M>> {
        const body = JSON.stringify({ jsonrpc: "2.0", id: this.next++, method, ...(params ? { params } : {}) });
        let response: Response;
        try {
            response = await fetch(this.base + "/rpc", {
                method: "POST",
                headers: { "Content-Type": "application/json", Authorization: `Bearer ${this.token}` },
                body,
            });
        } catch {
            throw new Unreachable("the server does not answer; start zarn studio again");
        }
        if (response.status === 401)
            throw new Unreachable("this address has an old token; open the one that zarn studio printed");
        if (!response.ok) throw new Unreachable(`the server refuses: ${response.status} ${await response.text()}`);
        const answer = (await response.json()) as {
            result?: Answer<M>;
            error?: { code: number; message: string; data?: ErrorData };
        };
        if (answer.error) throw new ServerError(answer.error.message, answer.error.code, answer.error.data ?? {});
        return answer.result as Answer<M>;
    }

    on<N extends keyof Notifications>(name: N, listener: Listener<N>): () => void {
        const set = this.listeners.get(name) ?? new Set();
        this.listeners.set(name, set);
        set.add(listener as (params: never) => void);
        return () => set.delete(listener as (params: never) => void);
    }

    onLive(listener: (live: boolean) => void): () => void {
        this.liveListeners.add(listener);
        return () => this.liveListeners.delete(listener);
    }

    stop(): void {
        this.stopped.abort();
    }

    private async listen(): Promise<void> {
        for (let attempt = 0; !this.stopped.signal.aborted; ++attempt) {
            try {
                if (await this.readEvents()) attempt = 0;
            } catch {
                // told below, tried again
            }
            if (this.stopped.signal.aborted) return;
            for (const listener of this.liveListeners) listener(false);
            const delay = retryDelays[Math.min(attempt, retryDelays.length - 1)];
            await new Promise((done) => setTimeout(done, delay));
        }
    }

    private async readEvents(): Promise<boolean> {
        const response = await fetch(this.base + "/events", {
            headers: { Authorization: `Bearer ${this.token}` },
            signal: this.stopped.signal,
        });
        if (!response.ok || !response.body) return false;
        for (const listener of this.liveListeners) listener(true);
        const reader = response.body.pipeThrough(new TextDecoderStream()).getReader();
        let rest = "";
        for (;;) {
            const { done, value } = await reader.read();
            if (done) return true;
            const cut = cutEvents(rest + value);
            rest = cut.rest;
            for (const data of cut.data) this.tell(data);
        }
    }

    private tell(data: string): void {
        const { method, params } = JSON.parse(data) as { method: string; params: never };
        for (const listener of this.listeners.get(method) ?? []) {
            // what a listener does wrong must not end the stream for the others
            try {
                listener(params);
            } catch (error) {
                console.error(error);
            }
        }
    }
}

/// The token of the address, taken out of it so that it stands in no history; kept for a reload of this tab.
export function takeToken(): string {
    const found = /(?:^#|&)token=([^&]+)/.exec(window.location.hash)?.[1];
    if (found) {
        sessionStorage.setItem("zarn.token", found);
        history.replaceState(null, "", window.location.pathname + window.location.search);
        return found;
    }
    return sessionStorage.getItem("zarn.token") ?? "";
}
