// Looking at a model: levels, search, what a screen reader is told, and that names are text.
import { afterAll, beforeAll, describe, expect, it } from "vitest";
import type { Browser } from "playwright-core";
import { block, openPage, picture, startBrowser, startStudio, type Opened, type Studio } from "./support";

let browser: Browser;
beforeAll(async () => {
    browser = await startBrowser();
});
afterAll(() => browser.close());

describe("the motor", () => {
    let studio: Studio, opened: Opened;
    beforeAll(async () => {
        studio = await startStudio("examples/motor/motor.json", ["examples/motor/workspace.py"]);
        opened = await openPage(browser, studio);
    });
    afterAll(() => studio.stop());

    it("is shown with its blocks, wires, ports and names", async () => {
        const { page } = opened;
        await expect.poll(() => page.locator(".react-flow__node").count()).toBe(6);
        expect(await page.locator(".wire-edge").count()).toBe(6);
        expect(await page.locator(".level-texts text", { hasText: "controller" }).count()).toBe(1);
        expect(await block(page, "controller").getAttribute("aria-label")).toContain("subsys");
        await picture(page, "light");
    });
    it("takes one inside a subsystem, up and back", async () => {
        const { page } = opened;
        await block(page, "controller").dblclick();
        await page.getByRole("button", { name: "controller", exact: true }).waitFor();
        await block(page, "limit").waitFor();
        await picture(page, "subsystem");
        await page.keyboard.press("u");
        await block(page, "motor").waitFor();
        await page.keyboard.press("Alt+ArrowLeft");
        await block(page, "limit").waitFor();
        await page.keyboard.press("u");
        await block(page, "motor").waitFor();
    });
    it("is searched by name and parameter, and the place is gone to", async () => {
        const { page } = opened;
        await page.keyboard.press("/");
        await page.getByRole("combobox", { name: "text to search for" }).fill("u_max");
        await page.locator("#hits [role=option]").first().waitFor();
        await page.keyboard.press("Enter");
        await expect.poll(() => page.locator(".breadcrumb [aria-current]").textContent()).toBe("controller");
        await block(page, "u_max").locator(".block-node.selected").waitFor();
        await page.keyboard.press("u");
        await block(page, "motor").waitFor();
    });
    it("has a dark page, and a page of keys", async () => {
        const { page } = opened;
        await page.keyboard.press("?");
        await page.getByRole("dialog", { name: "Keys" }).waitFor();
        await page.keyboard.press("Escape");
        await page.getByRole("button", { name: "dark page" }).click();
        await expect.poll(() => page.evaluate(() => document.documentElement.dataset.theme)).toBe("dark");
        await picture(page, "dark");
        await page.getByRole("button", { name: "light page" }).click();
    });
    it("is left to the policy of the server, without a complaint", () => expect(opened.complaints).toEqual([]));
});

describe("names that are markup", () => {
    const nasty = "<img src=x onerror=\"document.title='broken'\"><script>document.title='broken'</script>";
    let studio: Studio;
    beforeAll(async () => {
        studio = await startStudio({
            name: "nasty.json",
            text: JSON.stringify({ blocks: [
                { constant: { name: nasty, id: 1000000000000001, expression: nasty } },
                { display: { name: "d", id: 1000000000000002 } },
            ], links: [{ srcId: 1000000000000001, dstId: 1000000000000002, label: nasty }] }),
        });
    });
    afterAll(() => studio.stop());
    it("are texts everywhere", async () => {
        const { page, complaints } = await openPage(browser, studio);
        await page.locator(".react-flow__node").first().waitFor();
        await page.locator(".react-flow__node").first().click();
        await page.locator(".inspector .parameter").first().waitFor();
        expect(await page.locator(".studio img, .studio script").count()).toBe(0);
        expect(await page.title()).not.toBe("broken");
        expect(complaints).toEqual([]);
    });
});
