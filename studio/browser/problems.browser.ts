// What the checks say appears where it is, soon, and a click mends it.
import type { Browser } from "playwright-core";
import { afterAll, beforeAll, describe, expect, it } from "vitest";
import { block, clickWire, middle, openPage, patience, picture, startBrowser, startStudio, type Opened, type Studio } from "./support";

let browser: Browser, studio: Studio, opened: Opened;
beforeAll(async () => {
    browser = await startBrowser();
    studio = await startStudio("examples/motor/motor.json", ["examples/motor/workspace.py"]);
    opened = await openPage(browser, studio);
});
afterAll(async () => {
    await studio.stop();
    await browser.close();
});

describe("a problem", () => {
    it("is told on its block within half a second of the change", async () => {
        const { page } = opened;
        await page.locator(".status-bar", { hasText: "warning" }).waitFor();
        await clickWire(page, "wire from ref to controller");
        const start = Date.now();
        await page.keyboard.press("Delete");
        await block(page, "controller").locator(".badge.error").waitFor();
        const took = Date.now() - start;
        expect(took).toBeLessThan(500 * patience + 500); // half a second for the key, the drawing and this look
        await page.getByRole("button", { name: /1 error/ }).click();
        await page.locator(".problems .finding.error").first().waitFor();
        await picture(page, "error");
    });
    it("is gone to by a click, from another level as well", async () => {
        const { page } = opened;
        await block(page, "motor").dblclick();
        await page.locator(".breadcrumb [aria-current]", { hasText: "motor" }).waitFor();
        await page.locator(".problems .finding.error button.where").first().click();
        await page.locator(".breadcrumb [aria-current]", { hasText: "controller" }).waitFor();
        await block(page, "ref").locator(".block-node.selected").waitFor();
    });
    it("goes when its cause is undone", async () => {
        const { page } = opened;
        await page.locator(".canvas").click({ position: { x: 5, y: 5 } });
        await page.keyboard.press("Control+z");
        await expect.poll(() => page.locator(".badge.error").count()).toBe(0);
        await page.keyboard.press("u");
        await block(page, "motor").waitFor();
    });
});

describe("a wire that cannot be", () => {
    it("is refused while it is drawn, with the reason", async () => {
        const { page } = opened;
        const from = await middle(block(page, "ref").locator(".react-flow__handle.source"));
        const to = await middle(block(page, "controller").locator('.react-flow__handle[data-handleid="in:1"]'));
        await page.mouse.move(from.x, from.y);
        await page.mouse.down();
        await page.mouse.move(to.x - 20, to.y, { steps: 3 });
        await page.mouse.move(to.x, to.y, { steps: 3 });
        const hint = page.locator(".connect-hint");
        await hint.waitFor();
        expect(await hint.textContent()).toMatch(/wire/);
        await page.mouse.up();
        expect(await page.locator(".wire-edge").count()).toBe(6);
    });
});
