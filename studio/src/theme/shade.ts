// Colours of light pages for dark ones: light becomes dark, hue stays.

interface Hsl {
    h: number;
    s: number;
    l: number;
}

function hslOf(hex: string): Hsl {
    const digits = hex.length === 4 ? [...hex.slice(1)].map((c) => c + c).join("") : hex.slice(1, 7);
    const [r, g, b] = [0, 2, 4].map((i) => parseInt(digits.slice(i, i + 2), 16) / 255) as [number, number, number];
    const high = Math.max(r, g, b), low = Math.min(r, g, b), l = (high + low) / 2, d = high - low;
    if (d === 0) return { h: 0, s: 0, l };
    const s = d / (1 - Math.abs(2 * l - 1));
    const h = high === r ? ((g - b) / d + 6) % 6 : high === g ? (b - r) / d + 2 : (r - g) / d + 4;
    return { h: h * 60, s, l };
}

const paper = { hue: 222, saturation: 0.16 }; // of what was grey
const darkest = 0.115, lightest = 0.93, strongest = 0.62;

/// The colour on a dark page that stands for a colour ("#rrggbb" or "#rgb") of a light one.
export function shade(hex: string): string {
    const { h, s, l } = hslOf(hex);
    const light = darkest + (1 - l) * (lightest - darkest);
    const chroma = s * (1 - Math.abs(2 * l - 1));
    const grey = chroma < 0.012;
    // a tint stays as pale as it was: what is kept is the distance of its channels, not the share of it
    const saturation = grey ? paper.saturation : Math.min(strongest, (chroma * 1.1) / (1 - Math.abs(2 * light - 1)));
    const lifted = !grey && l > 0.85 ? light + 0.035 : light;
    return `hsl(${Math.round(grey ? paper.hue : h)} ${Math.round(saturation * 100)}% ${Math.round(lifted * 100)}%)`;
}

/// The server's style sheet for a theme, for what stands inside of ".diagram".
export function diagramSheet(css: string, dark: boolean): string {
    const themed = dark ? css.replace(/#[0-9a-fA-F]{6}\b|#[0-9a-fA-F]{3}\b/g, shade) : css;
    return `.diagram {\n${themed}\n}`;
}
