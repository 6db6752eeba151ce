// The motor, drawn from nothing by mouse and keyboard, run, and compared with what it must give.
import { readFileSync } from "node:fs";
import { join } from "node:path";
import type { Browser, Page } from "playwright-core";
import { afterAll, beforeAll, describe, expect, it } from "vitest";
import { block, dragTo, evaluate, middle, openPage, picture, root, startBrowser, startStudio, type Studio } from "./support";

interface Member {
    id: number;
    name: string;
    parent?: number;
    inportCount: number;
    geometry: { x: number; y: number; width: number; height: number };
    [key: string]: unknown;
}
interface Wanted {
    className: string;
    block: Member;
}
interface Link {
    srcId: number;
    dstId: number;
    srcPort: number;
    dstPort: number;
}

const example = JSON.parse(readFileSync(join(root, "examples/motor/motor.json"), "utf8")) as {
    blocks: Record<string, Member>[];
    links: Link[];
    model: { ti: number; tf: number; ts: number };
};
const wanted = example.blocks.flatMap((each): Wanted[] => Object.entries(each).map(([className, b]) => ({ className, block: b })));
const levelOf = (parent: number) => wanted.filter((w) => (w.block.parent ?? 0) === parent);
const structure = new Set(["id", "name", "parent", "inportCount", "outportCount", "geometry", "bg", "portNumber"]);

let browser: Browser;
beforeAll(async () => {
    browser = await startBrowser();
});
afterAll(() => browser.close());

/// Where a place of an empty level is on the screen.
async function onScreen(page: Page, x: number, y: number) {
    const canvas = await page.locator(".canvas").boundingBox();
    const viewport = await page.locator(".react-flow__viewport").evaluate((e) => new DOMMatrix(getComputedStyle(e).transform).toFloat64Array());
    if (!canvas) throw new Error("no canvas");
    const [zoom = 1, tx = 0, ty = 0] = [viewport[0], viewport[12], viewport[13]];
    return { x: canvas.x + tx + x * zoom, y: canvas.y + ty + y * zoom };
}

/// Types a class at a place, gives the block its name, and fills in its form.
async function place(page: Page, { className, block: b }: Wanted) {
    const at = await onScreen(page, b.geometry.x + b.geometry.width / 2, b.geometry.y + b.geometry.height / 2);
    const count = await page.locator(".react-flow__node").count();
    await page.mouse.dblclick(at.x, at.y);
    await page.getByRole("combobox", { name: "class of the new block" }).fill(className);
    await page.locator(".quick-insert [role=option]").first().waitFor();
    await page.keyboard.press("Enter");
    await expect.poll(() => page.locator(".react-flow__node").count(), { timeout: 30_000 }).toBe(count + 1);
    await page.locator(".block-node.selected").waitFor();
    await page.keyboard.press("F2");
    await page.locator(".rename-box").fill(b.name);
    await page.keyboard.press("Enter");
    await block(page, b.name).waitFor();
    if (b.inportCount > 2) {
        const inputs = page.getByLabel("inputs", { exact: true });
        if (await inputs.count()) await inputs.fill(String(b.inportCount));
    }
    for (const [key, text] of Object.entries(b)) {
        if (structure.has(key)) continue;
        const control = page.locator(`#parameter-${key}`);
        await control.waitFor();
        if (await control.evaluate((e) => e.tagName === "SELECT")) await control.selectOption(String(text));
        else {
            await control.fill(String(text));
            await control.press("Enter");
        }
    }
    await page.locator(".breadcrumb").click({ position: { x: 400, y: 8 } });
}

const portOf = (page: Page, name: string, kind: "in" | "out", port: number) =>
    block(page, name).locator(`.react-flow__handle[data-handleid="${kind}:${port}"]`);

async function wireIsThere(page: Page, count: number) {
    try {
        await expect.poll(() => page.locator(".wire-edge").count(), { timeout: 20_000 }).toBe(count);
    } catch (error) {
        await picture(page, "failed");
        throw error;
    }
}

/// From port to port by hand.
async function wireByHand(page: Page, from: string, output: number, to: string, input: number) {
    await dragTo(page, await middle(portOf(page, from, "out", output)), await middle(portOf(page, to, "in", input)));
}

/// By keys alone: both ends are chosen from lists.
async function wireByKeys(page: Page, from: string, output: number, to: string, input: number) {
    await page.keyboard.press("Shift+C");
    const ends = [["from the output", from, "out", output], ["to the input", to, "in", input]] as const;
    for (const [label, name, kind, port] of ends) {
        const id = await block(page, name).getAttribute("data-id");
        expect(await portOf(page, name, kind, port).count()).toBe(1);
        await page.getByLabel(label).selectOption(`${id} ${port}`);
    }
    await page.keyboard.press("Enter");
}

/// All blocks of a level, then all its wires, a few of them by keys.
async function drawLevel(page: Page, parent: number) {
    const blocks = levelOf(parent), byId = new Map(blocks.map((w) => [w.block.id, w.block]));
    for (const each of blocks) await place(page, each);
    return async () => {
        let drawn = 0;
        for (const { srcId, dstId, srcPort, dstPort } of example.links) {
            const from = byId.get(srcId), to = byId.get(dstId);
            if (!from || !to) continue;
            await (drawn % 5 === 4 ? wireByKeys : wireByHand)(page, from.name, srcPort, to.name, dstPort);
            await wireIsThere(page, ++drawn);
        }
    };
}

function columnsOf(csv: string): Map<string, number[]> {
    const [head = "", ...rows] = csv.trim().split(/\r?\n/);
    return new Map(head.split(",").map((name, i) => [name, rows.map((row) => Number(row.split(",")[i]))]));
}

describe("the motor from nothing", () => {
    let studio: Studio;
    beforeAll(async () => {
        studio = await startStudio({ name: "drawn.json", text: "{}" }, ["examples/motor/workspace.py"]);
    });
    afterAll(() => studio.stop());

    it("is drawn by hand, runs, and gives what it must", { timeout: 900_000 }, async () => {
        const { page, complaints } = await openPage(browser, studio, { width: 1760, height: 1000 });
        for (const key of ["tf", "ts"] as const) {
            await page.getByLabel(key, { exact: true }).fill(String(example.model[key]));
            await page.keyboard.press("Enter");
        }
        const wireRoot = await drawLevel(page, 0);
        for (const { block: b } of levelOf(0).filter((w) => w.className === "subsys")) {
            await block(page, b.name).click();
            await page.keyboard.press("Enter");
            await page.locator(".breadcrumb [aria-current]", { hasText: b.name }).waitFor();
            await (await drawLevel(page, b.id))();
            await page.keyboard.press("u");
            await block(page, b.name).waitFor();
        }
        await wireRoot();
        await picture(page, "drawn");
        await evaluate(page);
        await page.keyboard.press("F5");
        await page.locator(".run-phase.done").waitFor({ timeout: 60_000 });
        const [saved] = await Promise.all([page.waitForEvent("download"), page.getByRole("button", { name: "Save CSV" }).click()]);
        const got = columnsOf(readFileSync(await saved.path(), "utf8"));
        for (const [name, values] of columnsOf(readFileSync(join(root, "examples/motor/expected.csv"), "utf8")))
            expect(got.get(name), name).toEqual(values);
        await page.keyboard.press("Control+s");
        await page.getByText("drawn.json is saved").waitFor();
        expect(JSON.parse(studio.text())).toMatchObject({ model: { tf: 2, ts: 0.001 } });
        expect(complaints).toEqual([]);
    });
});
