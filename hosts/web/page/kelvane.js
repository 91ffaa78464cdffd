// @ts-check
// The effect for Web Audio: a node, and a panel for it.

import { Panel } from "./panel.js";
import { parameters, presets } from "./parameters.js";

export { Panel, parameters, presets };

const captureFrames = 2048;
const bypass = parameters.findIndex(({ option }) => option === "bypass");

/** @type {WeakMap<BaseAudioContext, Promise<void>>} */
const prepared = new WeakMap();
/** @type {Promise<ArrayBuffer> | undefined} */
let fetched;

/** The bytes of the WebAssembly module, fetched once. */
export function moduleBytes() {
    fetched ??= fetch(new URL("./kelvane.wasm", import.meta.url)).then((answer) => {
        if (!answer.ok) throw new Error(`kelvane.wasm: ${answer.status}`);
        return answer.arrayBuffer();
    });
    return fetched;
}

/**
 * @typedef {object} Options
 * @property {number[]} [values] of the parameters, 0 to 1 by address
 * @property {[frame: number, ...event: number[]][]} [events] of the first frames, sorted: an address and a value each,
 *     or -1 and the bytes of a MIDI message
 * @property {HTMLCanvasElement} [canvas] shows the panel, which is then kept in step with the sound
 */

/** The effect in the audio thread, with what the panel and the thread tell each other. */
export class KelvaneNode extends AudioWorkletNode {
    /**
     * @param {BaseAudioContext} context
     * @param {ArrayBuffer} bytes
     * @param {Options} options
     */
    constructor(context, bytes, { values = [], events = [], canvas }) {
        super(context, "kelvane", {
            numberOfInputs: 1,
            numberOfOutputs: 1,
            outputChannelCount: [2],
            channelCount: 2,
            channelCountMode: "clamped-max",
            processorOptions: { bytes, values, events },
        });
        /** Called with values that the effect got by automation or MIDI. @type {(address: number, value: number) => void} */
        this.onHeard = () => {};
        /** Called with the last frames of the output while they are watched. @type {(ring: Float32Array) => void} */
        this.onRing = () => {};
        /** Called with frames that were skipped, the present one, and the time. @type {(count: {lost: number, frame: number, time: number}) => void} */
        this.onCount = () => {};
        /** What was last set here, on the panel or by MIDI, by address. */
        this.values = parameters.map(({ address, initial }) => values[address] ?? initial);
        this.port.onmessage = ({ data }) => {
            for (const [address, value] of data.heard ?? []) {
                this.values[address] = value;
                this.onHeard(address, value);
            }
            if (data.lost !== undefined) this.onCount(data);
            if (!data.ring) return;
            this.onRing(data.ring);
            this.port.postMessage({ spare: data.ring }, [data.ring.buffer]);
        };
        this.panel = canvas ? this.show(new Panel(canvas, bytes)) : undefined;
    }

    /**
     * Keeps a panel in step with the sound.
     * @param {Panel} panel
     */
    show(panel) {
        panel.setRate(this.context.sampleRate);
        this.values.forEach((value, address) => panel.setValue(address, value));
        panel.onEdit = (address, value) => this.set(address, value);
        this.onHeard = (address, value) => panel.setValue(address, value);
        this.onRing = (ring) => panel.show(ring);
        this.watch(true);
        return panel;
    }

    /**
     * @param {number} address
     * @param {number} value 0 to 1
     */
    set(address, value) {
        this.values[address] = value;
        this.port.postMessage({ set: [address, value] });
    }

    /** Frames by which the output is late. */
    get latency() {
        return this.values[bypass] > 0.5 ? 0 : captureFrames;
    }

    /**
     * Does something at a frame of the context.
     * @param {number} frame
     * @param {number[]} event an address and a value, or -1 and the bytes of a MIDI message
     */
    schedule(frame, ...event) {
        this.port.postMessage({ event: [frame, ...event] });
    }

    /** Drops what is scheduled. */
    clearSchedule() {
        this.port.postMessage({ clear: true });
    }

    /** @param {number[]} bytes one MIDI message */
    midi(bytes) {
        this.port.postMessage({ midi: bytes });
    }

    /** @param {boolean} isWatched whether onRing() is wanted */
    watch(isWatched) {
        this.port.postMessage({ watch: isWatched });
    }

    /** Ends the effect. */
    end() {
        this.port.postMessage({ end: true });
        this.disconnect();
    }
}

/**
 * Makes the effect.
 * @param {BaseAudioContext} context
 * @param {Options} [options]
 */
export async function createKelvane(context, options = {}) {
    let ready = prepared.get(context);
    if (!ready) {
        ready = context.audioWorklet.addModule(new URL("./processor.js", import.meta.url));
        prepared.set(context, ready);
    }
    const [bytes] = await Promise.all([moduleBytes(), ready]);
    return new KelvaneNode(context, bytes, options);
}

/** The panel as an element: `<kelvane-panel>`, whose property `node` is what it shows. */
export class KelvanePanel extends HTMLElement {
    constructor() {
        super();
        this.canvas = document.createElement("canvas");
        this.canvas.tabIndex = 0;
        this.canvas.style.cssText = "position: absolute; inset: 0; width: 100%; height: 100%; touch-action: none";
        this.attachShadow({ mode: "open" }).append(this.canvas);
    }

    connectedCallback() {
        if (!this.style.aspectRatio) this.style.aspectRatio = "680 / 440";
        if (!this.style.display) this.style.display = "block";
        if (!this.style.position) this.style.position = "relative";
    }

    /**
     * Shows a node that was made without a canvas.
     * @param {KelvaneNode} node
     */
    async use(node) {
        return node.show(new Panel(this.canvas, await moduleBytes()));
    }

    /** @param {KelvaneNode} node as for use() */
    set node(node) {
        this.use(node);
    }
}

// Another copy of this module may have defined it.
if (!customElements.get("kelvane-panel")) customElements.define("kelvane-panel", KelvanePanel);
