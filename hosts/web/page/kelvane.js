// @ts-check
// The effect for Web Audio: a node, and a panel for it.

import { Panel } from "./panel.js";
import { parameters, presets, processorName } from "./parameters.js";

export { Panel, parameters, presets };

const captureFrames = 2048;
const bypass = parameters.findIndex(({ option }) => option === "bypass");
// Without a browser, as where pages are rendered on a server, this module can be imported all the same.
const AudioNodeBase = /** @type {typeof AudioWorkletNode} */ (globalThis.AudioWorkletNode ?? Object);
const ElementBase = /** @type {typeof HTMLElement} */ (globalThis.HTMLElement ?? Object);

/** @type {WeakMap<BaseAudioContext, Promise<void>>} */
const prepared = new WeakMap();
/** @type {Promise<ArrayBuffer> | undefined} */
let fetched;

/** The bytes of the WebAssembly module, fetched once; after a failure the next call tries again. */
export function moduleBytes() {
    if (fetched) return fetched;
    const asked = fetch(new URL("./kelvane.wasm", import.meta.url)).then((answer) => {
        if (!answer.ok) throw new Error(`kelvane.wasm: ${answer.status}`);
        return answer.arrayBuffer();
    });
    asked.catch(() => (fetched = undefined));
    return (fetched = asked);
}

/**
 * @typedef {object} Options
 * @property {number[]} [values] of the parameters, 0 to 1 by address
 * @property {[frame: number, ...event: number[]][]} [events] of the first frames, sorted: an address and a value each,
 *     or -1 and the bytes of a MIDI message
 * @property {HTMLCanvasElement} [canvas] shows the panel, which is then kept in step with the sound
 * @property {{groupId: string, moduleId: string, instanceId: string}} [wam] as which a Web Audio Module's host knows it
 */

/**
 * The effect in the audio thread, with what the panel and the thread send each other. A fault there is the node's event
 * `processorerror`.
 */
export class KelvaneNode extends AudioNodeBase {
    /**
     * @param {BaseAudioContext} context
     * @param {ArrayBuffer} bytes
     * @param {Options} options
     */
    constructor(context, bytes, { values: given = [], events = [], canvas, wam }) {
        const values = parameters.map(({ address, initial }) => given[address] ?? initial);
        super(context, processorName, {
            numberOfInputs: 1,
            numberOfOutputs: 1,
            outputChannelCount: [2],
            channelCount: 2,
            channelCountMode: "clamped-max",
            parameterData: Object.fromEntries(parameters.map(({ option, address }) => [option, values[address]])),
            processorOptions: { bytes, values, events, wam },
        });
        this.bytes = bytes;
        /** Called with values that the effect got by automation or MIDI. @type {(address: number, value: number) => void} */
        this.onHeard = () => {};
        /** Called with the last frames of the output while they are watched. @type {(ring: Float32Array) => void} */
        this.onRing = () => {};
        /** Called with frames that were skipped, the present one, and the time. @type {(count: {lost: number, frame: number, time: number}) => void} */
        this.onCount = () => {};
        /** What was last set here, on the panel or by MIDI, by address. */
        this.values = values;
        /** What is shown. @type {Panel | undefined} */
        this.panel = undefined;
        this.port.onmessage = ({ data }) => {
            for (const [address, value] of data.heard ?? []) {
                this.values[address] = value;
                this.panel?.setValue(address, value);
                this.onHeard(address, value);
            }
            if (data.lost !== undefined) this.onCount(data);
            if (!data.ring) return;
            this.panel?.show(data.ring);
            this.onRing(data.ring);
        };
        if (canvas) this.show(new Panel(canvas, bytes));
    }

    /**
     * Keeps a panel in step with the sound, instead of the one before.
     * @param {Panel} panel
     */
    show(panel) {
        this.hide();
        this.panel = panel;
        panel.setRate(this.context.sampleRate);
        this.values.forEach((value, address) => panel.setValue(address, value));
        panel.onEdit = (address, value) => this.send(address, value);
        panel.onSeen = (isSeen) => this.watch(isSeen);
        this.watch(panel.isSeen);
    }

    /** Closes the panel. */
    hide() {
        this.panel?.close();
        this.panel = undefined;
    }

    /**
     * Sets a parameter, also on the panel.
     * @param {number} address
     * @param {number} value 0 to 1
     */
    set(address, value) {
        this.send(address, value);
        this.panel?.setValue(address, value);
    }

    /**
     * @param {number} address
     * @param {number} value
     */
    send(address, value) {
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

    /** Ends the effect and closes its panel. */
    end() {
        this.hide();
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
        ready.catch(() => prepared.delete(context));
    }
    const [bytes] = await Promise.all([moduleBytes(), ready]);
    return new KelvaneNode(context, bytes, options);
}

/**
 * The panel as an element: `<kelvane-panel>`, whose property `node` is what it shows: a node that was made without a
 * canvas.
 */
export class KelvanePanel extends ElementBase {
    /** @type {KelvaneNode | undefined} */
    #node;
    /** @type {Panel | undefined} */
    #panel;

    constructor() {
        super();
        this.attachShadow({ mode: "open" });
    }

    connectedCallback() {
        if (!this.style.aspectRatio) this.style.aspectRatio = "680 / 440";
        if (!this.style.display) this.style.display = "block";
        if (!this.style.position) this.style.position = "relative";
        this.#open();
    }

    disconnectedCallback() {
        this.#close();
    }

    get node() {
        return this.#node;
    }

    set node(node) {
        this.#close();
        this.#node = node;
        if (this.isConnected) this.#open();
    }

    #open() {
        if (!this.#node) return;
        const canvas = document.createElement("canvas");
        canvas.style.cssText = "position: absolute; inset: 0; width: 100%; height: 100%";
        this.shadowRoot?.replaceChildren(canvas);
        this.#panel = new Panel(canvas, this.#node.bytes);
        this.#node.show(this.#panel);
    }

    #close() {
        // The node may show another one by now.
        if (this.#panel && this.#node?.panel === this.#panel) this.#node.hide();
        this.#panel = undefined;
        this.shadowRoot?.replaceChildren();
    }
}

// Another copy of this module may have defined it.
if (globalThis.customElements && !customElements.get("kelvane-panel")) customElements.define("kelvane-panel", KelvanePanel);
