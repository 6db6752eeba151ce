import react from "@vitejs/plugin-react";
import { defineConfig } from "vitest/config";

export default defineConfig({
    plugins: [react()],
    base: "./",
    build: {
        target: "es2022",
        // the layout engine is one worker of 1.6 MB, loaded when it is first asked for
        chunkSizeWarningLimit: 2000,
        // a worker or font inside a data: address would need a wider content security policy
        assetsInlineLimit: 0,
    },
    worker: { format: "es" },
    test: {
        environment: "jsdom",
        include: ["test/**/*.test.{ts,tsx}"],
        setupFiles: ["test/setup.ts"],
        testTimeout: 60_000,
        expect: { poll: { timeout: 15_000 } },
    },
});
