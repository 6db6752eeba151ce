// The protocol's messages as types; docs/protocol.md says what each means.

export type Handle = string;

export interface PortRef {
    block: Handle;
    port: number;
}

/// What draws a block: shapes as data, styled by words of the server's style sheet.
export interface Piece {
    shape: "rect" | "ellipse" | "path" | "text";
    style?: string;
    fill?: string;
    opacity?: number;
    turn?: [number, number, number];
    x?: number;
    y?: number;
    width?: number;
    height?: number;
    radius?: number;
    rx?: number;
    ry?: number;
    d?: string;
    size?: number;
    anchor?: "start" | "middle" | "end";
    text?: string;
    raised?: string;
}

export interface Hello {
    protocol: number;
    product: string;
    version: string;
    folder: string;
    file: string | null;
    revision: number;
    modified: boolean;
    evaluates: boolean;
    methods: string[];
    features: { edit?: boolean; run?: boolean; evaluate?: boolean; generate?: string[]; export?: string[] };
    recovered?: { revision: number; saved: string } | null;
}

export interface Word {
    word: string;
    sign: string;
}

export interface ClassParameter {
    key?: string;
    default: string | number | null;
    unit?: string;
    meaning?: string;
    kind?: string;
    words?: Word[];
}

export interface BlockClass {
    class: string;
    summary?: string;
    description?: string;
    everyday?: string[];
    family: string;
    inputs: number | null;
    outputs: number | null;
    input_names?: string[];
    output_names?: string[];
    fewest_inputs?: number;
    parameters?: Record<string, ClassParameter>;
    types_in_words?: string;
    picture: { width: number; height: number; pieces: Piece[] };
}

export interface Classes {
    classes: BlockClass[];
    aliases?: Record<string, string>;
    families: string[];
}

export interface Port {
    index: number;
    name: string;
    x: number;
    y: number;
    side: "left" | "right" | "top" | "bottom";
    linked: boolean;
    broken?: boolean;
}

export interface Block {
    id: Handle;
    class: string;
    name: string;
    path: string;
    x: number;
    y: number;
    width: number;
    height: number;
    rotation: number;
    placed: boolean;
    picture: string;
    inputs: Port[];
    outputs: Port[];
    state: "ok" | "disabled" | "unread" | "unknown";
    problem: "error" | "warning" | null;
    inside: Handle | null;
    reference: string | null;
    hint: string;
}

export type Points = [number, number][];

export interface Wire {
    id: Handle;
    from: PortRef | null;
    to: PortRef | null;
    stray?: string;
    points: Points;
    bends: Points;
    label: string;
    type: string;
    style: string;
    late: boolean;
    broken: boolean;
}

export interface Joint {
    x: number;
    y: number;
    style: string;
}

export interface Label {
    kind: string;
    style: string;
    text: string;
    x: number;
    y: number;
    size: number;
    anchor: "start" | "middle" | "end";
    hint?: string;
    of?: Handle | null;
}

export interface Comment {
    id: Handle;
    text: string;
    x: number;
    y: number;
    width: number;
    height: number;
}

export interface Settings {
    ti: number;
    tf: number;
    ts: number;
}

export interface View {
    revision: number;
    /// The revision whose check is shown; null before the first check.
    checked: number | null;
    level: Handle;
    path: string;
    title: string;
    file: string;
    editable: boolean;
    breadcrumb: { level: Handle; name: string }[];
    bounds: { x: number; y: number; width: number; height: number };
    settings: Settings;
    pictures: Record<string, Piece[]>;
    blocks: Block[];
    wires: Wire[];
    joints: Joint[];
    labels: Label[];
    comments: Comment[];
    notes: string[];
    remarks: string[];
    partial?: boolean;
    removed?: { blocks: Handle[]; wires: Handle[] };
}

export interface Parameter {
    key: string;
    text: string | number;
    written: boolean;
    default: string | number | null;
    unit?: string;
    meaning?: string;
    kind?: string;
    words?: Word[];
}

export interface Color {
    red: number;
    green: number;
    blue: number;
    alpha: number;
}

export interface BlockFacts {
    id: Handle;
    class: string;
    name: string;
    path: string;
    level: Handle;
    inputs: number;
    outputs: number;
    geometry: { x: number; y: number; width: number; height: number; rotation?: number } | null;
    color: Color | null;
    parameters: Parameter[];
    other?: Record<string, unknown>;
}

export type NewBlock = {
    class: string;
    level: Handle;
    x: number;
    y: number;
    name?: string;
    width?: number;
    height?: number;
    rotation?: number;
    inputs?: number;
    outputs?: number;
    parameters?: Record<string, string>;
};

export type Operation =
    | ({ op: "add_block" } & NewBlock)
    | { op: "remove"; blocks?: Handle[]; wires?: Handle[]; comments?: Handle[]; join?: boolean }
    | { op: "connect"; from: PortRef; to: PortRef; bends?: Points; label?: string; replace?: boolean }
    | { op: "reconnect"; wire: Handle; from?: PortRef; to?: PortRef }
    | { op: "move"; blocks: Handle[]; dx: number; dy: number }
    | { op: "geometry"; block: Handle; x?: number; y?: number; width?: number; height?: number; rotation?: number }
    | { op: "rename"; block: Handle; name: string }
    | { op: "set_parameter"; block: Handle; key: string; value: string | number | null }
    | { op: "set_ports"; block: Handle; inputs?: number; outputs?: number }
    | { op: "set_color"; block: Handle; color: Color | null }
    | { op: "set_setting"; key: keyof Settings; value: number }
    | { op: "bends"; wire: Handle; points: Points }
    | { op: "label"; wire: Handle; text: string }
    | { op: "comment"; level: Handle; text: string; x: number; y: number; width?: number; height?: number }
    | { op: "comment"; comment: Handle; text: string }
    | { op: "group"; blocks: Handle[]; name?: string }
    | { op: "ungroup"; block: Handle }
    | { op: "paste"; fragment: unknown; level: Handle; x: number; y: number }
    | { op: "insert_on_wire"; wire: Handle; block: Handle }
    | ({ op: "insert_on_wire"; wire: Handle } & NewBlock)
    | { op: "layout"; level: Handle; only?: Handle[] };

export interface EditAnswer {
    revision: number;
    created: Handle[];
    changed: { levels: Handle[]; blocks: Handle[] };
    modified: boolean;
    undo: string | null;
    redo: string | null;
}

export interface Finding {
    code: string;
    severity: "error" | "warning" | "note";
    path: string | null;
    class?: string | null;
    block: Handle | null;
    wire: Handle | null;
    level: Handle | null;
    what: string;
    mend: string;
    steps?: unknown[];
    file?: string;
    line?: number | null;
    column?: number | null;
    mends?: { title: string; mend: string }[];
}

export interface Findings {
    revision: number;
    checked: number;
    evaluated: boolean;
    findings: Finding[];
    counts: { error: number; warning: number; note: number };
}

export interface Hit {
    block: Handle;
    level: Handle;
    path: string;
    class: string;
    name: string;
    where: string;
    text: string;
}

export interface Consent {
    evaluates: boolean;
    scripts: string[];
    expressions: { block: Handle; path: string; key: string; text: string }[];
    count: number;
}

export interface Signal {
    signal: number;
    name: string;
    type: string;
    block: Handle;
    port: number;
}

export interface RunStart {
    run: number;
    signals: Signal[];
    ti: number;
    tf: number;
    ts: number;
    steps: number;
}

export type RunPhase = "none" | "running" | "paused" | "done" | "stopped" | "failed";

export interface RunState {
    run: number;
    state: RunPhase;
    step: number;
    time: number;
    signals?: Signal[];
    first_bad?: { signal: number; block: Handle; step: number; time: number } | null;
}

export type Sample = number | string | boolean;

export interface RunProgress {
    run: number;
    state: RunPhase;
    step: number;
    time: number;
    tf: number;
    late?: number;
    message?: string;
    findings?: Finding[];
}

export interface RunSamples {
    run: number;
    series: { signal: number; t: number[]; v: Sample[] }[];
    decimated: boolean;
}

export interface SavedState {
    file: string | null;
    modified: boolean;
    autosaved: number | null;
    disk: "same" | "changed" | "gone";
}

export interface Delivered {
    files: string[];
    notes: string[];
}

/// Parameters and answer of each method.
export interface Methods {
    hello: [undefined, Hello];
    files: [undefined, { files: { file: string; size: number }[]; complete: boolean }];
    open: [{ file: string; create?: boolean; recover?: boolean }, Hello];
    classes: [undefined, Classes];
    view: [{ level: Handle; since?: number } | { path: string }, View];
    block: [{ block: Handle }, BlockFacts];
    edit: [{ operations: Operation[]; revision?: number }, EditAnswer];
    can_connect: [{ from: PortRef; to: PortRef }, { ok: boolean; why?: string; mend?: string }];
    copy: [{ blocks: Handle[] }, { fragment: unknown; text: string }];
    undo: [undefined, EditAnswer];
    redo: [undefined, EditAnswer];
    findings: [{ wait?: boolean } | undefined, Findings];
    apply_mend: [{ mend: string }, EditAnswer];
    search: [{ text: string; limit?: number }, { hits: Hit[]; complete: boolean }];
    explain: [{ block: Handle }, { text: string }];
    describe_code: [{ code: string }, { markdown: string }];
    evaluate: [{ allow?: boolean | null; scripts?: string[] } | undefined, Consent];
    value: [{ block: Handle; key: string }, { text: string; value?: string; type?: string; problem?: string }];
    "workspace.read": [{ file?: string }, { file: string; text: string; exists: boolean }];
    "workspace.write": [{ file: string; text: string; seen: string }, { file: string }];
    "run.start": [
        {
            settings?: Partial<Settings>;
            probes?: string[];
            wires?: Handle[];
            also_shown?: boolean;
            speed?: number;
            paused?: boolean;
            parameters?: Record<Handle, Record<string, string>>;
        },
        RunStart,
    ];
    "run.pause": [undefined, RunState];
    "run.resume": [{ speed?: number } | undefined, RunState];
    "run.step": [{ count?: number } | undefined, RunState];
    "run.stop": [undefined, RunState];
    "run.state": [undefined, RunState];
    "run.data": [
        { signal: number; from?: number; to?: number; points?: number; run?: number },
        { signal: number; t: number[]; v: Sample[]; exact: boolean },
    ];
    "run.results": [
        { form: "csv" | "npz"; file?: string; run?: number },
        { text?: string; base64?: string; file?: string },
    ];
    save: [{ file?: string | null; overwrite?: boolean } | undefined, { file: string; revision: number; merged: boolean }];
    saved_state: [undefined, SavedState];
    revert: [undefined, unknown];
    generate: [{ form: string; folder: string }, Delivered];
    export: [{ form: string; folder: string }, Delivered];
    picture: [{ level?: Handle; depth?: number }, { svg: string }];
    stylesheet: [undefined, { css: string }];
}

export type Method = keyof Methods;

/// What the server says unasked.
export interface Notifications {
    changed: EditAnswer;
    findings: Findings;
    saved: { file: string; revision: number };
    disk: { file: string; state: "changed" | "gone" | "same"; merged?: boolean };
    "run.progress": RunProgress;
    "run.samples": RunSamples;
    console: { text: string };
    closed: { file: string };
}

export type ErrorKind = "protocol" | "refused" | "file" | "conflict" | "consent" | "model" | "state" | "failed";

export interface ErrorData {
    kind?: ErrorKind;
    mend?: string;
    findings?: Finding[];
    blocks?: string[];
    console?: string;
}
