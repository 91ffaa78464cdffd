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
    /** Of the parameters, 0 to 1, by address. */
    values?: number[];
    /** Sorted by frame: an address and a value each, or -1 and the bytes of a MIDI message. */
    events?: [frame: number, ...event: number[]][];
    /** Shows the panel, which is then kept in step with the sound. */
    canvas?: HTMLCanvasElement;
}

/** The effect in the audio thread. Its `parameters` are AudioParams of 0 to 1 by option. */
export interface KelvaneNode extends AudioWorkletNode {
    /** What was last set, by address. */
    values: number[];
    /** Frames by which the output is late: 2048, or 0 while it is bypassed. */
    readonly latency: number;
    /** Called with values that the effect got by automation or MIDI. */
    onHeard: (address: number, value: number) => void;
    set(address: number, value: number): void;
    /** At a frame of the context: an address and a value, or -1 and the bytes of a MIDI message. */
    schedule(frame: number, ...event: number[]): void;
    clearSchedule(): void;
    midi(bytes: number[]): void;
    /** Ends the effect. */
    end(): void;
}

/** `<kelvane-panel>` */
export class KelvanePanel extends HTMLElement {
    /** What it shows: a node that was made without a canvas. */
    set node(node: KelvaneNode);
}

/** Makes the effect. */
export function createKelvane(context: BaseAudioContext, options?: Options): Promise<KelvaneNode>;
