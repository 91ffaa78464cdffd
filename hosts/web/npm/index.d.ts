/** One parameter. `option` is its name among a node's AudioParams. */
export interface Parameter {
    address: number;
    name: string;
    option: string;
    isSwitch: boolean;
    initial: number;
    help: string;
}
export const parameters: Parameter[];
/** The names of the factory presets, by number. */
export const presets: string[];

export interface Options {
    /** Of the parameters, 0 to 1, by address; also what the AudioParams begin with. */
    values?: number[];
    /** Sorted by frame: an address and a value each, or -1 and the bytes of a MIDI message. */
    events?: [frame: number, ...event: number[]][];
    /** Shows the panel, which is then kept in step with the sound. */
    canvas?: HTMLCanvasElement;
    /** False for a node without AudioParams, which takes a sixth less of the audio thread. */
    isAutomated?: boolean;
}

/** Makes the effect. */
export function createKelvane(context: BaseAudioContext, options?: Options): Promise<KelvaneNode>;

/** The bytes of the WebAssembly module, fetched once. */
export function moduleBytes(): Promise<ArrayBuffer>;

/**
 * The effect in the audio thread. Its `parameters` are AudioParams of 0 to 1 by option. After a fault there
 * its `onprocessorerror` is called (Chromium names the event "error"); each change of a value, wherever it came from, is its event `kelvane-value`, a CustomEvent with
 * `detail: { address, value }`.
 */
export class KelvaneNode extends AudioWorkletNode {
    constructor(context: BaseAudioContext, bytes: ArrayBuffer, options: Options);
    /** What was last set, by address. */
    values: number[];
    /** Frames by which the output is late: 2048, or 0 while it is bypassed. */
    readonly latency: number;
    /** Called with values that the effect got by automation or MIDI. */
    onHeard: (address: number, value: number) => void;
    /** Called with the last 2048 frames of the left and then the right output while they are watched. */
    onRing: (ring: Float32Array) => void;
    /** Sets a parameter, also on the panel. Below 0 and above 1 is cut; what is no number is a TypeError. */
    set(address: number, value: number): void;
    /** At a frame of the context: an address and a value, or -1 and the bytes of a MIDI message. */
    schedule(frame: number, ...event: number[]): void;
    clearSchedule(): void;
    /** One message, now. */
    midi(bytes: number[]): void;
    /** Whether onRing() is wanted; a panel that is seen asks for it by itself. */
    watch(isWatched: boolean): void;
    /** What is shown. */
    panel: Panel | undefined;
    /** Keeps a panel in step with the sound, instead of the one before, which is closed. */
    show(panel: Panel): void;
    /** Closes the panel. */
    hide(): void;
    /** Ends the effect and closes its panel. */
    end(): void;
}

/** The panel on a canvas. */
export class Panel {
    constructor(canvas: HTMLCanvasElement, bytes: BufferSource);
    /** Called with each value that the panel sets. */
    onEdit: (address: number, value: number) => void;
    /** Called after each gesture. */
    onGesture: () => void;
    /** Called when the panel appears or disappears. */
    onSeen: (isSeen: boolean) => void;
    readonly isSeen: boolean;
    setRate(framesPerSecond: number): void;
    value(address: number): number;
    /** A value from elsewhere, which the panel shows. */
    setValue(address: number, value: number): void;
    valueText(address: number, value: number): string;
    /** The last frames of the output, left and then right. */
    show(ring: Float32Array): void;
    /** Ends it: the canvas keeps its last picture and may get another panel. */
    close(): void;
}

/** `<kelvane-panel>`, with controls for keyboard and screen reader that appear with the focus. */
export class KelvanePanel extends HTMLElement {
    /** What it shows: a node that was made without a canvas. */
    get node(): KelvaneNode | undefined;
    set node(node: KelvaneNode | undefined);
}

declare global {
    interface HTMLElementTagNameMap {
        "kelvane-panel": KelvanePanel;
    }
}
