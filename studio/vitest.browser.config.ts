import { defineConfig } from "vitest/config";

// A real browser and the real server: one test file after the other, since both take a processor each.
export default defineConfig({
    test: {
        environment: "node",
        include: ["browser/**/*.browser.ts"],
        fileParallelism: false,
        testTimeout: 120_000,
        hookTimeout: 120_000,
        expect: { poll: { timeout: 20_000 } },
    },
});
