// How quick the page is, in headless Chromium: figures for the bench, not a test of the suite.
import type { Browser, Page } from "playwright-core";
import { afterAll, beforeAll, describe, expect, it } from "vitest";
import { block, middle, openPage, startBrowser, startStudio, type Studio } from "./support";

let browser: Browser;
beforeAll(async () => {
    browser = await startBrowser();
});
afterAll(() => browser.close());

/// A level of `count` blocks in rows, each wired to the one before it; `levels` of them in subsystems.
function wideModel(count: number, levels = 0): string {
    const blocks: unknown[] = [], links: unknown[] = [];
    const first = 1_000_000_000_000_000, perRow = 50;
    let id = first;
    const parents = levels === 0 ? [0] : Array.from({ length: levels }, (_, i) => {
        blocks.push({ subsys: { name: `s${i}`, id: ++id, geometry: { x: (i % 20) * 140, y: Math.floor(i / 20) * 110, width: 90, height: 60, rotation: 0 } } });
        return id;
    });
    parents.forEach((parent) => {
        for (let i = 0; i < count / parents.length; ++i) {
            const geometry = { x: (i % perRow) * 90, y: Math.floor(i / perRow) * 80, width: 50, height: 40, rotation: 0 };
            const name = `b${i}`, start = i % perRow === 0;
            blocks.push(start ? { constant: { name, id: ++id, parent, geometry } } : { poly1st: { name, id: ++id, parent, geometry } });
            if (!start) links.push({ srcId: id - 1, dstId: id, srcPort: 0, dstPort: 0 });
        }
    });
    return JSON.stringify({ blocks, links, model: { ti: 0, tf: 1, ts: 0.1 } });
}

const tell = (what: string, value: string) => console.log(`studio  ${what.padEnd(52)} ${value}`);

/// Frames a second while a gesture goes on, and the longest frame.
async function framesOf(page: Page, gesture: () => Promise<void>): Promise<string> {
    await page.evaluate(() => {
        const w = window as unknown as { frames: number[]; counting: boolean };
        w.frames = [];
        w.counting = true;
        const count = (t: number) => {
            w.frames.push(t);
            if (w.counting) requestAnimationFrame(count);
        };
        requestAnimationFrame(count);
    });
    await gesture();
    const times = await page.evaluate(() => {
        const w = window as unknown as { frames: number[]; counting: boolean };
        w.counting = false;
        return w.frames;
    });
    const gaps = times.slice(1).map((t, i) => t - (times[i] ?? t));
    const rate = (times.length - 1) / (((times.at(-1) ?? 0) - (times[0] ?? 0)) / 1000);
    return `${rate.toFixed(0)} frames/s, longest ${Math.max(...gaps).toFixed(0)} ms`;
}

async function opening(studio: Studio, blocks: string): Promise<{ page: Page; took: number }> {
    const start = performance.now();
    const { page } = await openPage(browser, studio);
    await page.locator(blocks).first().waitFor();
    return { page, took: performance.now() - start };
}

async function gestures(page: Page, name: string) {
    const canvas = await middle(page.locator(".canvas"));
    tell(`${name}: pan`, await framesOf(page, async () => {
        await page.mouse.move(canvas.x, canvas.y);
        await page.mouse.down({ button: "middle" });
        for (let i = 0; i < 60; ++i) await page.mouse.move(canvas.x + 4 * i, canvas.y + (i % 20) * 5);
        await page.mouse.up({ button: "middle" });
    }));
    tell(`${name}: zoom`, await framesOf(page, async () => {
        for (let i = 0; i < 40; ++i) await page.mouse.wheel(0, i < 25 ? -60 : 60);
        await page.waitForTimeout(200);
    }));
}

describe("the speed of the page", () => {
    it("from the address to the first picture of the motor", { timeout: 300_000 }, async () => {
        const studio = await startStudio("examples/motor/motor.json");
        await opening(studio, ".react-flow__node");
        const { took } = await opening(studio, ".react-flow__node");
        tell("address to the first picture of motor.json", `${took.toFixed(0)} ms`);
        await studio.stop();
    });
    it("with 1,000 blocks on a level", { timeout: 300_000 }, async () => {
        const studio = await startStudio({ name: "wide.json", text: wideModel(1000) });
        const { page, took } = await opening(studio, ".react-flow__node, .overview");
        tell("1,000 blocks: open", `${took.toFixed(0)} ms`);
        await gestures(page, "1,000 blocks");
        await page.keyboard.press("/");
        await page.getByRole("combobox", { name: "text to search for" }).fill("b525");
        await page.locator("#hits [role=option]").first().waitFor();
        await page.keyboard.press("Enter");
        await block(page, "b525").locator(".block-node.selected").waitFor();
        const at = await middle(block(page, "b525"));
        tell("1,000 blocks: drag a block", await framesOf(page, async () => {
            await page.mouse.move(at.x, at.y);
            await page.mouse.down();
            for (let i = 0; i < 60; ++i) await page.mouse.move(at.x + 2 * i, at.y + i);
            await page.mouse.up();
        }));
        await studio.stop();
    });
    for (const [count, levels, name] of [[10_000, 0, "10,000 blocks on a level"], [80_000, 100, "80,000 blocks in subsystems"]] as const)
        it(`with ${name}`, { timeout: 300_000 }, async () => {
            const studio = await startStudio({ name: "wide.json", text: wideModel(count, levels) });
            const { page, took } = await opening(studio, ".react-flow__node, .overview");
            tell(`${name}: open`, `${took.toFixed(0)} ms`);
            await gestures(page, name);
            expect(took).toBeGreaterThan(0);
            await studio.stop();
        });
});
