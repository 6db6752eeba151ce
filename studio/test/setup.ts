// What a browser has and the tests' document does not.
import { afterEach } from "vitest";
import { cleanup, configure } from "@testing-library/react";

afterEach(cleanup);
// on a machine with other work a page takes its time
configure({ asyncUtilTimeout: 15_000 });

class Observer {
    observe() {}
    unobserve() {}
    disconnect() {}
}
globalThis.ResizeObserver ??= Observer as unknown as typeof ResizeObserver;
globalThis.DOMMatrixReadOnly ??= class {
    m22 = 1;
} as unknown as typeof DOMMatrixReadOnly;
Object.defineProperty(window, "matchMedia", {
    value: () => ({ matches: false, addEventListener() {}, removeEventListener() {} }),
});
if (!("replaceSync" in CSSStyleSheet.prototype))
    Object.assign(CSSStyleSheet.prototype, { replaceSync() {} });
