// @ts-check
// The effect for Web Audio: a node, and a panel for it.

import { makeInput, Panel, showOn } from "./panel.js";
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
 * @property {boolean} [isAutomated] whether the node has AudioParams; it does unless this is false
 * @property {{groupId: string, moduleId: string, instanceId: string}} [wam] as which a Web Audio Module's host knows it
 */

/**
 * The effect in the audio thread, with what the panel and the thread send each other. After a fault there the node's
 * `onprocessorerror` is called.
 */
export class KelvaneNode extends AudioNodeBase {
    /**
     * @param {BaseAudioContext} context
     * @param {ArrayBuffer} bytes
     * @param {Options} options
     */
    constructor(context, bytes, { values: given = [], events = [], canvas, isAutomated = true, wam }) {
        const values = parameters.map(({ address, initial }) => given[address] ?? initial);
        super(context, isAutomated ? processorName : `${processorName} fixed`, {
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
                this.note(address, value);
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
        this.panel?.setValue(address, this.values[address]);
    }

    /**
     * @param {number} address
     * @param {number} value
     */
    send(address, value) {
        if (!parameters[address] || !Number.isFinite(value)) throw new TypeError(`not a value of a parameter: ${address}, ${value}`);
        const set = Math.min(Math.max(value, 0), 1);
        this.port.postMessage({ set: [address, set] });
        this.note(address, set);
    }

    /**
     * Keeps a value and notifies listeners.
     * @param {number} address
     * @param {number} value
     */
    note(address, value) {
        this.values[address] = value;
        this.dispatchEvent(new CustomEvent("kelvane-value", { detail: { address, value } }));
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

/** For keyboard and screen reader: each control appears with its focus. */
const elementStyle = `
:host { display: block; position: relative; aspect-ratio: 680 / 440; }
canvas { position: absolute; inset: 0; width: 100%; height: 100%; }
label { position: absolute; inset: auto 0 0; display: flex; gap: 1em; padding: 0.5em; opacity: 0; pointer-events: none; color: #fff; background: #222; }
label:focus-within { opacity: 1; }
input[type="range"] { flex: 1; }
`;

/**
 * The panel as an element: `<kelvane-panel>`, whose property `node` is what it shows: a node that was made without a
 * canvas.
 */
export class KelvanePanel extends ElementBase {
    /** @type {KelvaneNode | undefined} */
    #node;
    /** @type {Panel | undefined} */
    #panel;
    #ended = new AbortController();
    #root;

    constructor() {
        super();
        this.#root = this.attachShadow({ mode: "open" });
        const style = new CSSStyleSheet();
        style.replaceSync(elementStyle);
        this.#root.adoptedStyleSheets = [style];
    }

    connectedCallback() {
        if (!this.hasAttribute("role")) this.setAttribute("role", "group");
        if (!this.hasAttribute("aria-label")) this.setAttribute("aria-label", "QOV Kelvane");
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
        const node = this.#node;
        if (!node) return;
        const canvas = document.createElement("canvas");
        this.#root.append(canvas);
        const panel = new Panel(canvas, node.bytes);
        node.show((this.#panel = panel));
        const inputs = parameters.map(({ address, name, isSwitch }) => {
            const input = makeInput(isSwitch);
            input.addEventListener("input", () => node.set(address, isSwitch ? Number(input.checked) : input.valueAsNumber));
            const label = document.createElement("label");
            label.append(name, input);
            this.#root.append(label);
            return input;
        });
        const show = (/** @type {number} */ address, /** @type {number} */ value) =>
            showOn(inputs[address], value, panel.valueText(address, value));
        node.values.forEach((value, address) => show(address, value));
        this.#ended = new AbortController();
        const changed = (/** @type {any} */ { detail }) => show(detail.address, detail.value);
        node.addEventListener("kelvane-value", changed, { signal: this.#ended.signal });
    }

    #close() {
        // The node may show another one by now.
        if (this.#panel && this.#node?.panel === this.#panel) this.#node.hide();
        this.#panel = undefined;
        this.#ended.abort();
        this.#root.replaceChildren();
    }
}

// Another copy of this module may have defined it.
if (globalThis.customElements && !customElements.get("kelvane-panel")) customElements.define("kelvane-panel", KelvanePanel);
