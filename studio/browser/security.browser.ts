// What a stranger tries from outside, and what the page shows of it.
import { request } from "node:http";
import type { Browser } from "playwright-core";
import { afterAll, beforeAll, describe, expect, it } from "vitest";
import { openPage, startBrowser, startStudio, type Studio } from "./support";

let browser: Browser, studio: Studio;
beforeAll(async () => {
    browser = await startBrowser();
    studio = await startStudio("examples/motor/motor.json");
});
afterAll(async () => {
    await studio.stop();
    await browser.close();
});

/// The status of a request whose every header is chosen; fetch sets some of them by itself.
function statusOf(path: string, headers: Record<string, string>, method = "GET", body = ""): Promise<{ status: number; text: string }> {
    const { port } = new URL(studio.address);
    return new Promise((done, fail) => {
        const sent = request({ host: "127.0.0.1", port, path, method, headers }, (answer) => {
            let text = "";
            answer.on("data", (data: Buffer) => (text += data.toString()));
            answer.on("end", () => done({ status: answer.statusCode ?? 0, text }));
        });
        sent.on("error", fail);
        sent.end(body);
    });
}

const hello = JSON.stringify({ jsonrpc: "2.0", id: 1, method: "hello" });
const own = () => new URL(studio.address).host;
const token = () => new URL(studio.address).hash.replace("#token=", "");

describe("the server", () => {
    const ask = (headers: Record<string, string>) => statusOf("/rpc", { Host: own(), "Content-Type": "application/json", ...headers }, "POST", hello);
    it("answers to its token, and to no other", async () => {
        expect((await ask({ Authorization: `Bearer ${token()}` })).status).toBe(200);
        expect((await ask({})).status).toBe(401);
        expect((await ask({ Authorization: `Bearer ${token().replace(/.$/, (c) => (c === "0" ? "1" : "0"))}` })).status).toBe(401);
        expect((await statusOf("/events", { Host: own() })).status).toBe(401);
    });
    it("answers no other page and no other host name", async () => {
        const mine = { Authorization: `Bearer ${token()}` };
        expect((await ask({ ...mine, Origin: "http://evil.example" })).status).toBe(403);
        expect((await ask({ ...mine, Host: "evil.example" })).status).toBe(403);
    });
    it("gives no file outside of the page", async () => {
        for (const path of ["/../../../etc/passwd", "/%2e%2e/%2e%2e/etc/passwd", "/assets/..%2f..%2fpackage.json"]) {
            const { status, text } = await statusOf(path, { Host: own() });
            expect([path, status >= 400]).toEqual([path, true]);
            expect(text).not.toContain("root:");
        }
    });
    it("opens nothing outside of its folder", async () => {
        for (const file of ["../motor.json", "/etc/passwd"]) await expect(studio.call("open", { file })).rejects.toThrow();
    });
});

describe("the page", () => {
    it("takes the token out of its address", async () => {
        const { page } = await openPage(browser, studio);
        expect(page.url()).not.toContain(token());
    });
    it("says that there is no connection when the token is wrong", async () => {
        const page = await (await browser.newContext()).newPage();
        await page.goto(studio.address.replace(token(), "0".repeat(32)));
        await page.getByRole("alertdialog", { name: "no connection" }).waitFor();
    });
    it("is not shown inside of another page, and runs no script but its own", async () => {
        const policy = await fetch(studio.address).then((r) => r.headers.get("content-security-policy") ?? "");
        expect(policy).toContain("frame-ancestors 'none'");
        expect(policy).toContain("script-src 'self'");
        expect(policy).not.toContain("unsafe-inline");
    });
});
