// What is drawn is kept: nothing else of the file changes, and nothing is lost.
import { readFileSync, writeFileSync } from "node:fs";
import type { Browser } from "playwright-core";
import { afterAll, beforeAll, describe, expect, it } from "vitest";
import { block, dragTo, middle, openPage, serve, startBrowser, startStudio } from "./support";

let browser: Browser;
beforeAll(async () => {
    browser = await startBrowser();
});
afterAll(() => browser.close());

const differing = (a: string, b: string) => {
    const [x, y] = [a.split("\n"), b.split("\n")];
    expect(y.length).toBe(x.length);
    return x.flatMap((line, i) => (line === y[i] ? [] : [`${line.trim()} -> ${(y[i] ?? "").trim()}`]));
};

describe("a block that is moved", () => {
    it("changes its place in the file, and no other byte", async () => {
        const studio = await startStudio("examples/motor/motor.json");
        const before = studio.text();
        const { page } = await openPage(browser, studio);
        const from = await middle(block(page, "voltage"));
        await dragTo(page, from, { x: from.x - 60, y: from.y - 40 });
        await page.getByRole("img", { name: "not saved" }).waitFor();
        await page.keyboard.press("Control+s");
        await page.getByText("motor.json is saved").waitFor();
        const lines = differing(before, studio.text());
        expect(lines.length).toBeGreaterThan(0);
        for (const line of lines) expect(line).toMatch(/^"(x|y)": /);
        await page.keyboard.press("Control+z");
        await page.keyboard.press("Control+s");
        await expect.poll(() => studio.text() === before).toBe(true);
        await studio.stop();
    });
});

describe("a server that is killed", () => {
    it("loses nothing that was drawn two seconds before", async () => {
        const studio = await startStudio("examples/motor/motor.json");
        const before = studio.text();
        const { page } = await openPage(browser, studio);
        await block(page, "voltage").click();
        await page.keyboard.press("F2");
        await page.locator(".rename-box").fill("kept");
        await page.keyboard.press("Enter");
        await block(page, "kept").waitFor();
        await page.waitForTimeout(2500);
        studio.process.kill("SIGKILL");
        const again = await serve(studio.folder, "motor.json", { keep: true });
        expect(again.text()).toBe(before);
        const { page: second } = await openPage(browser, again);
        await block(second, "kept").waitFor();
        await second.getByRole("img", { name: "not saved" }).waitFor();
        await again.stop();
        await studio.stop();
    });
});

describe("a file that somebody else changed", () => {
    it("is asked about where both changed the same, and never overwritten", async () => {
        const studio = await startStudio("examples/motor/motor.json");
        const { page } = await openPage(browser, studio);
        await block(page, "voltage").click();
        await page.keyboard.press("F2");
        await page.locator(".rename-box").fill("mine");
        await page.keyboard.press("Enter");
        await block(page, "mine").waitFor();
        const theirs = studio.text().replace('"name": "voltage"', '"name": "theirs"');
        writeFileSync(studio.file, theirs);
        await page.keyboard.press("Control+s");
        const dialog = page.getByRole("dialog", { name: "The file changed on disk" });
        await dialog.waitFor();
        expect(readFileSync(studio.file, "utf8")).toBe(theirs);
        await dialog.getByRole("button", { name: "Take the file, drop mine" }).click();
        await block(page, "theirs").waitFor();
        await studio.stop();
    });
});
