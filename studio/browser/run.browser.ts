// A run from the page: consent, probes, plots, pause and step, a slider, two runs over each other.
import { readFileSync } from "node:fs";
import type { Browser } from "playwright-core";
import { afterAll, beforeAll, describe, expect, it } from "vitest";
import { block, clickWire, evaluate, openPage, picture, startBrowser, startStudio, type Opened, type Studio } from "./support";

let browser: Browser, studio: Studio, opened: Opened;
beforeAll(async () => {
    browser = await startBrowser();
    studio = await startStudio("examples/motor/motor.json", ["examples/motor/workspace.py"]);
    opened = await openPage(browser, studio, { height: 940 });
});
afterAll(async () => {
    await studio.stop();
    await browser.close();
});

describe("a run", () => {
    it("asks before it executes anything, and names what", async () => {
        const { page } = opened;
        await page.getByRole("button", { name: "run", exact: true }).click();
        const dialog = page.getByRole("dialog", { name: "Evaluate expressions?" });
        await dialog.getByText("workspace.py").waitFor();
        await dialog.getByText("ki * mainsys.ts").waitFor();
        await dialog.getByRole("button", { name: "Not now" }).click();
        expect(await page.locator(".run-phase").count()).toBe(0);
        await evaluate(page);
    });
    it("records what is probed, and draws it", async () => {
        const { page } = opened;
        await clickWire(page, "wire from ref to controller");
        await page.keyboard.press("p");
        await page.locator(".probe-value").waitFor();
        await page.keyboard.press("F5");
        await page.locator(".run-phase.done").waitFor({ timeout: 60_000 });
        await page.locator(".plot canvas").first().waitFor();
        const names = await page.locator(".signals li").allTextContents();
        expect(names.join()).toContain("mainsys.ref");
        expect(names.join()).toContain("mainsys.speed");
        expect(await page.locator(".probe-value text").textContent()).not.toBe("probe");
    });
    it("is saved as numbers and as a picture", async () => {
        const { page } = opened;
        for (const [button, ending, start] of [["Save CSV", ".csv", "time,"], ["Save NPZ", ".npz", "PK"], ["Save picture", ".png", "\x89PNG"]] as const) {
            const [saved] = await Promise.all([page.waitForEvent("download"), page.getByRole("button", { name: button }).click()]);
            expect(saved.suggestedFilename()).toBe(`motor${ending}`);
            expect(readFileSync(await saved.path(), "latin1").startsWith(start)).toBe(true);
        }
    });
    it("is stepped, paused and stopped", async () => {
        const { page } = opened;
        // without a probe what the model shows by itself is recorded
        await page.keyboard.press("p");
        await page.locator(".probe-value").waitFor({ state: "detached" });
        await page.getByLabel("speed of the run").selectOption("1");
        await page.keyboard.press("F5");
        await page.locator(".run-phase.running").waitFor();
        await page.keyboard.press("F5");
        await page.locator(".run-phase.paused").waitFor();
        const before = await page.locator(".run-phase output").textContent();
        await page.keyboard.press("F10");
        await expect.poll(() => page.locator(".run-phase output").textContent()).not.toBe(before);
        expect((await page.locator(".signals li").allTextContents()).length).toBe(3);
        await picture(page, "running");
        await page.keyboard.press("Shift+F5");
        await page.locator(".run-phase.stopped").waitFor();
        await page.getByLabel("speed of the run").selectOption("0");
    });
    it("takes the value of a slider, and is drawn over the one before it", async () => {
        const { page } = opened;
        await block(page, "ref").click();
        const slider = page.getByLabel("initialValue of the next run");
        await slider.focus();
        await page.keyboard.press("End");
        await page.getByText("in the next run").waitFor();
        await page.keyboard.press("F5");
        await page.locator(".run-phase.done").waitFor({ timeout: 60_000 });
        await page.keyboard.press("F5");
        await page.locator(".run-phase.done").waitFor({ timeout: 60_000 });
        expect(await page.getByLabel("earlier runs behind").isChecked()).toBe(true);
        expect(await page.locator(".plot .u-legend", { hasText: "before" }).count()).toBeGreaterThan(0);
        await page.locator(".canvas").click({ position: { x: 5, y: 5 } });
        await picture(page, "plots");
    });
    it("leaves no complaint of the browser", () => expect(opened.complaints).toEqual([]));
});
