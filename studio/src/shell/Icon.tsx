// The page's own icons, strokes in a square of 16.
const paths = {
    play: "M5 3.5v9l7.5-4.5z",
    pause: "M5 3.5v9M11 3.5v9",
    step: "M4 3.5v9l5.5-4.5zM12 3.5v9",
    stop: "M4 4h8v8H4z",
    undo: "M6 3.5L3 6.5l3 3M3 6.5h6a3.5 3.5 0 0 1 0 7H6",
    redo: "M10 3.5l3 3-3 3M13 6.5H7a3.5 3.5 0 0 0 0 7h3",
    save: "M3 3h8l2 2v8H3zM5.5 3v3.5h4V3M5 13V9.5h6V13",
    search: "M7 11.5a4.5 4.5 0 1 1 0-9a4.5 4.5 0 0 1 0 9zM10.3 10.3L14 14",
    back: "M10 3.5L5.5 8l4.5 4.5",
    forward: "M6 3.5L10.5 8L6 12.5",
    up: "M3.5 9.5L8 5l4.5 4.5",
    sun: "M8 5a3 3 0 1 1 0 6a3 3 0 0 1 0-6zM8 1v1.6M8 13.4V15M1 8h1.6M13.4 8H15M3 3l1.2 1.2M11.8 11.8L13 13M3 13l1.2-1.2M11.8 4.2L13 3",
    moon: "M13 9.8A5.6 5.6 0 0 1 6.2 3a5.6 5.6 0 1 0 6.8 6.8z",
    help: "M5.8 6a2.2 2.2 0 1 1 3.3 1.9c-.8.5-1.1.9-1.1 1.7M8 12v.3",
    deliver: "M8 2.5v7M5 6.5l3 3l3-3M3 11v2.5h10V11",
    layout: "M2.5 3h4v3.5h-4zM9.5 9.5h4V13h-4zM6.5 4.8h5v4.7",
    folder: "M2 4h4.5l1.5 1.8H14V13H2z",
    left: "M2.5 3h11v10h-11zM6.5 3v10",
    right: "M2.5 3h11v10h-11zM9.5 3v10",
    close: "M4 4l8 8M12 4l-8 8",
    comment: "M2.5 3.5h11v7h-6l-3 2.7v-2.7h-2z",
} as const;

export type IconName = keyof typeof paths;

export function Icon({ name }: { name: IconName }) {
    return (
        <svg className="icon-mark" viewBox="0 0 16 16" width="16" height="16" aria-hidden="true">
            <path d={paths[name]} />
        </svg>
    );
}
