// Finds classes by what a person types: the name, what people call it, a word of what it does.
import type { BlockClass } from "../server/protocol";

const plain = (text: string) => text.toLowerCase().replace(/[\s_-]+/g, "");

/// How well a class answers a text: smaller is better, null not at all.
export function rankOf(each: BlockClass, text: string): number | null {
    const wanted = plain(text), name = plain(each.class);
    if (wanted === "" || name === wanted) return 0;
    const everyday = (each.everyday ?? []).map(plain);
    if (everyday.includes(wanted)) return 1;
    if (name.startsWith(wanted)) return 2;
    if (everyday.some((word) => word.startsWith(wanted))) return 3;
    if (name.includes(wanted)) return 4;
    if (everyday.some((word) => word.includes(wanted))) return 5;
    return plain(each.summary ?? "").includes(wanted) ? 6 : null;
}

export function matchingClasses(classes: readonly BlockClass[], text: string): BlockClass[] {
    return classes
        .map((each) => ({ each, rank: rankOf(each, text) }))
        .filter((found): found is { each: BlockClass; rank: number } => found.rank !== null)
        .sort((a, b) => a.rank - b.rank)
        .map(({ each }) => each);
}
