// Gestures beyond blocks and wires: layout, groups, the clipboard, comments, and undo of it.
import type { Browser } from "playwright-core";
import { afterAll, beforeAll, describe, expect, it } from "vitest";
import { block, openPage, startBrowser, startStudio, type Opened, type Studio } from "./support";

let browser: Browser, studio: Studio, opened: Opened;
beforeAll(async () => {
    browser = await startBrowser();
    studio = await startStudio("examples/motor/motor.json");
    opened = await openPage(browser, studio);
    await block(opened.page, "motor").waitFor();
});
afterAll(async () => {
    await studio.stop();
    await browser.close();
});

const count = () => opened.page.locator(".react-flow__node").count();
const undo = async (blocks: number) => {
    await opened.page.keyboard.press("Control+z");
    await expect.poll(count).toBe(blocks);
};

describe("by hand", () => {
    it("a block out of the palette that is dropped on a wire stands in it, and joins its neighbours when it goes", async () => {
        const { page } = opened;
        const wires = await page.locator(".wire-edge").count();
        const line = page.locator('.react-flow__edge[aria-label^="wire from controller to motor"] path.react-flow__edge-interaction');
        const box = await line.boundingBox();
        const canvas = await page.locator(".canvas").boundingBox();
        if (!box || !canvas) throw new Error("no wire in sight");
        await page.getByRole("button", { name: "abs", exact: true }).dragTo(page.locator(".canvas"), {
            targetPosition: { x: box.x + box.width * 0.7 - canvas.x, y: box.y + box.height / 2 - canvas.y } });
        await block(page, "abs").waitFor();
        await expect.poll(() => page.locator(".wire-edge").count()).toBe(wires + 1);
        await page.keyboard.press("Delete");
        await expect.poll(count).toBe(6);
        await expect.poll(() => page.locator(".wire-edge").count()).toBe(wires);
        await undo(7);
        await undo(6);
    });
});

describe("by keys", () => {
    it("a level is laid out by the engine in its worker, and put back", async () => {
        const { page } = opened;
        const place = () => block(page, "voltage").evaluate((e) => (e as HTMLElement).style.transform);
        const before = await place();
        await page.keyboard.press("l");
        await expect.poll(place).not.toBe(before);
        await page.keyboard.press("Control+z");
        await expect.poll(place).toBe(before);
    });
    it("blocks become a subsystem with its ports, and blocks again", async () => {
        const { page } = opened;
        await block(page, "speed").click();
        await block(page, "current").click({ modifiers: ["Shift"] });
        await page.keyboard.press("Control+g");
        await page.locator(".rename-box").fill("shown");
        await page.keyboard.press("Enter");
        await block(page, "shown").waitFor();
        expect(await count()).toBe(5);
        expect(await block(page, "shown").locator(".react-flow__handle.target").count()).toBe(2);
        await page.keyboard.press("Control+Shift+g");
        await expect.poll(count).toBe(6);
        for (const blocks of [5, 5, 6]) await undo(blocks);
    });
    it("blocks are copied and pasted", async () => {
        const { page } = opened;
        await block(page, "ref").click();
        await page.keyboard.press("Control+c");
        await expect.poll(() => page.evaluate(() => navigator.clipboard.readText())).toContain("finalValue");
        await page.keyboard.press("Control+v");
        await expect.poll(count).toBe(7);
        await undo(6);
        await block(page, "ref").click();
        await page.keyboard.press("Control+d");
        await expect.poll(count).toBe(7);
        await undo(6);
    });
    it("a comment is written", async () => {
        const { page } = opened;
        await block(page, "motor").waitFor();
        await page.keyboard.press("m");
        await page.getByLabel("text of the comment").fill("to be tuned");
        await page.keyboard.press("Control+Enter");
        await page.locator(".comment-node", { hasText: "to be tuned" }).waitFor();
        expect(opened.complaints).toEqual([]);
    });
});
