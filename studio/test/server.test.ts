import { afterEach, describe, expect, it, vi } from "vitest";
import { cutEvents, HttpServer, ServerError, takeToken, Unreachable } from "../src/server/rpc";

afterEach(() => vi.unstubAllGlobals());

describe("server-sent events", () => {
    it("are cut where they end, however they arrive", () => {
        expect(cutEvents('data: {"a":1}\n\n: still here\n\ndata: {"b"')).toEqual({ data: ['{"a":1}'], rest: 'data: {"b"' });
    });
    it("may have lines that end in two signs, and several lines of data", () => {
        expect(cutEvents("data: [1,\r\ndata: 2]\r\n\r\n")).toEqual({ data: ["[1,\n2]"], rest: "" });
    });
});

function serverAnswering(response: () => Response): { server: HttpServer; requests: Request[] } {
    const requests: Request[] = [];
    vi.stubGlobal("fetch", async (address: string, options: RequestInit) => {
        if (address.endsWith("/events")) return new Promise(() => undefined);
        requests.push(new Request(new URL(address, "http://127.0.0.1"), options));
        return response();
    });
    return { server: new HttpServer("secret"), requests };
}

describe("a request", () => {
    it("carries the token and the parameters", async () => {
        const { server, requests } = serverAnswering(() => Response.json({ result: { ok: true } }));
        await server.call("can_connect", { from: { block: "1", port: 0 }, to: { block: "2", port: 0 } });
        expect(requests[0]?.headers.get("Authorization")).toBe("Bearer secret");
        expect(await requests[0]?.json()).toMatchObject({ jsonrpc: "2.0", method: "can_connect", params: { to: { block: "2" } } });
    });
    it("that is refused raises the server's sentence and its mend", async () => {
        const { server } = serverAnswering(() =>
            Response.json({ error: { code: 1, message: "no", data: { kind: "refused", mend: "do this" } } }));
        await expect(server.call("undo")).rejects.toMatchObject({ message: "no", data: { mend: "do this" } });
        await expect(server.call("undo")).rejects.toBeInstanceOf(ServerError);
    });
    it("with an old token, or to a server that is gone, says so", async () => {
        await expect(serverAnswering(() => new Response("", { status: 401 })).server.call("hello")).rejects.toThrow(/old token/);
        await expect(serverAnswering(() => Response.error()).server.call("hello")).rejects.toBeInstanceOf(Unreachable);
    });
});

it("the token is taken out of the address", () => {
    window.location.hash = "#token=abc123";
    expect(takeToken()).toBe("abc123");
    expect(window.location.hash).toBe("");
    expect(takeToken()).toBe("abc123");
});
