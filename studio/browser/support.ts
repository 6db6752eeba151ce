// What the tests in a browser share: a folder with a model, a server for it, and a page that looks at it.
import { spawn, type ChildProcess } from "node:child_process";
import { cpSync, existsSync, mkdirSync, mkdtempSync, readFileSync, rmSync, writeFileSync } from "node:fs";
import { tmpdir } from "node:os";
import { basename, dirname, join } from "node:path";
import { fileURLToPath } from "node:url";
import { chromium, type Browser, type Locator, type Page } from "playwright-core";

export const root = fileURLToPath(new URL("../..", import.meta.url)).replace(/\/$/, "");
const zarn = process.env.ZARN ?? join(root, "build/release/zarn");
const chromiumPaths = [process.env.ZARN_CHROMIUM ?? "", "/usr/bin/chromium", "/usr/bin/chromium-browser"];

/// How many times longer than on an idle machine something may take.
export const patience = Number(process.env.ZARN_PATIENCE ?? "1");

export interface Studio {
    address: string;
    folder: string;
    file: string;
    process: ChildProcess;
    /// One request to the server, past the page.
    call(method: string, params?: unknown): Promise<unknown>;
    text(): string;
    stop(): Promise<void>;
}

/// Starts the command on a model in a folder of its own. `model` is a file of the repository, or the text of a new one.
export async function startStudio(model: string | { name: string; text: string }, beside: string[] = []): Promise<Studio> {
    const folder = mkdtempSync(join(tmpdir(), "zarn-studio-"));
    const name = typeof model === "string" ? basename(model) : model.name;
    if (typeof model === "string") cpSync(join(root, model), join(folder, name));
    else writeFileSync(join(folder, name), model.text);
    for (const each of beside) cpSync(join(root, each), join(folder, basename(each)));
    return serve(folder, name);
}

export async function serve(folder: string, name: string, more: { keep?: boolean } = {}): Promise<Studio> {
    const server = spawn(zarn, ["studio", join(folder, name), "--no-open"], { stdio: ["ignore", "pipe", "pipe"] });
    let told = "";
    server.stderr.on("data", (data: Buffer) => (told += data.toString()));
    const address = await new Promise<string>((done, fail) => {
        let text = "";
        server.stdout.on("data", (data: Buffer) => {
            text += data.toString();
            const found = /http:\S+/.exec(text);
            if (found) done(found[0]);
        });
        server.on("exit", (code) => fail(new Error(`zarn studio ended with ${code}: ${told}`)));
    });
    const { origin, hash } = new URL(address);
    const token = hash.replace("#token=", "");
    return {
        address, folder, file: join(folder, name), process: server,
        async call(method, params) {
            const response = await fetch(`${origin}/rpc`, {
                method: "POST",
                headers: { Authorization: `Bearer ${token}`, "Content-Type": "application/json" },
                body: JSON.stringify({ jsonrpc: "2.0", id: 1, method, params: params ?? {} }),
            });
            const answer = (await response.json()) as { result?: unknown; error?: { message: string } };
            if (answer.error) throw new Error(`${method}: ${answer.error.message}`);
            return answer.result;
        },
        text: () => readFileSync(join(folder, name), "utf8"),
        async stop() {
            const ended = new Promise((done) => server.on("exit", done));
            server.removeAllListeners("exit");
            server.kill("SIGKILL");
            await Promise.race([ended, new Promise((done) => setTimeout(done, 1000))]);
            if (!more.keep) rmSync(folder, { recursive: true, force: true });
        },
    };
}

export async function startBrowser(): Promise<Browser> {
    const executablePath = chromiumPaths.find((path) => path !== "" && existsSync(path));
    if (!executablePath) throw new Error("no chromium: tools/setup.sh chromium");
    // root has no sandbox of its own in a container
    return chromium.launch({ executablePath, args: ["--no-sandbox", "--font-render-hinting=none"] });
}

export interface Options {
    theme?: "light" | "dark";
    width?: number;
    height?: number;
}

export interface Opened {
    page: Page;
    /// What the browser complained of: errors of scripts, and what the security policy refused.
    complaints: string[];
}

export async function openPage(browser: Browser, studio: Studio, { theme = "light", width = 1360, height = 860 }: Options = {}): Promise<Opened> {
    const context = await browser.newContext({
        viewport: { width, height }, colorScheme: theme, permissions: ["clipboard-read", "clipboard-write"],
    });
    const page = await context.newPage();
    page.setDefaultTimeout(20_000 * patience);
    const complaints: string[] = [];
    page.on("console", (message) => message.type() === "error" && complaints.push(message.text()));
    page.on("pageerror", (error) => complaints.push(String(error)));
    await page.goto(studio.address);
    await page.locator(".canvas").waitFor();
    return { page, complaints };
}

/// The element of a block with a name.
export const block = (page: Page, name: string): Locator => page.locator(`.react-flow__node[aria-label^="${name}, "]`);

/// The middle of an element, on the screen.
export async function middle(of: Locator): Promise<{ x: number; y: number }> {
    const box = await of.boundingBox();
    if (!box) throw new Error("the element is not in sight");
    return { x: box.x + box.width / 2, y: box.y + box.height / 2 };
}

export async function dragTo(page: Page, from: { x: number; y: number }, to: { x: number; y: number }): Promise<void> {
    await page.mouse.move(from.x, from.y);
    await page.mouse.down();
    await page.mouse.move((from.x + to.x) / 2, (from.y + to.y) / 2, { steps: 4 });
    await page.mouse.move(to.x, to.y, { steps: 4 });
    await page.mouse.up();
}

/// Clicks in the middle of a wire's line, by the start of what a screen reader says of it.
export async function clickWire(page: Page, label: string): Promise<void> {
    const line = page.locator(`.react-flow__edge[aria-label^="${label}"] path.react-flow__edge-interaction`);
    const at = await line.evaluate((element) => {
        const path = element as SVGPathElement, screen = path.getScreenCTM() ?? new DOMMatrix();
        const p = path.getPointAtLength(path.getTotalLength() * 0.45);
        return { x: screen.a * p.x + screen.e, y: screen.d * p.y + screen.f };
    });
    await page.mouse.click(at.x, at.y);
}

/// A picture for docs/images when ZARN_PICTURES is set, else beside other results of tests.
export async function picture(page: Page, name: string): Promise<string> {
    const file = process.env.ZARN_PICTURES ? join(root, "docs/images", `studio-${name}.png`) : join(tmpdir(), `studio-${name}.png`);
    mkdirSync(dirname(file), { recursive: true });
    await page.mouse.move(700, 12);
    await page.waitForTimeout(400);
    await page.screenshot({ path: file });
    return file;
}

/// Agrees to what evaluating executes, by the bar and its question.
export async function evaluate(page: Page): Promise<void> {
    await page.getByRole("button", { name: "Evaluate expressions..." }).click();
    await page.getByRole("button", { name: "Evaluate them" }).click();
    await page.getByText("Expressions of this model are evaluated.").waitFor();
}
