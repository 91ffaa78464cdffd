// @ts-check
// The effect in the audio thread: an instance that renders 128 frames at a time. The build puts module.js and
// parameters.js in front of it, so that whoever serves or bundles it has one file to bring along.

import { Module } from "./module.js";
import { parameters, processorName } from "./parameters.js";

const ringFrames = 2048;

/** @typedef {[frame: number, ...event: number[]]} Scheduled An address and a value, or MIDI as -1 and its bytes. */
/** @typedef {{type: string, time?: number, data: any}} WamEvent */
/** @typedef {{addWam: (wam: object) => void, removeWam: (wam: object) => void}} WamHost */

/**
 * @typedef {object} Settings What the node is made with.
 * @property {ArrayBuffer} bytes of kelvane.wasm
 * @property {number[]} values of the parameters, as the AudioParams have them, too
 * @property {Scheduled[]} events sorted
 * @property {{groupId: string, moduleId: string, instanceId: string}} [wam] as which a WAM host knows it
 */

/** @typedef {{set?: [number, number], event?: Scheduled, wam?: WamEvent[], clear?: boolean, midi?: number[], watch?: boolean}} ToSound */

class KelvaneProcessor extends AudioWorkletProcessor {
    static get parameterDescriptors() {
        return parameters.map(({ option, initial }) => ({
            name: option,
            defaultValue: initial,
            minValue: 0,
            maxValue: 1,
            automationRate: /** @type {const} */ ("a-rate"),
        }));
    }

    /** @param {{processorOptions: Settings}} options */
    constructor(options) {
        super();
        const { bytes, values, events, wam } = options.processorOptions;
        // In frames: no clock of the machine is near, and nothing here waits for one.
        this.module = new Module(bytes, () => (currentFrame / sampleRate) * 1000);
        if (!this.module.call.start(sampleRate, 4096)) throw new Error(`the effect does not run at ${sampleRate} Hz`);
        /** The last one first. */
        this.events = events.reverse();
        /** What each AudioParam was last. */
        this.automated = Float32Array.from(values);
        this.ring = new Float32Array(2 * ringFrames);
        this.isWatched = false;
        /** Addresses whose values the page does not know. @type {Set<number>} */
        this.heard = new Set();
        this.reported = -ringFrames;
        this.isAlive = true;
        this.expected = -1;
        this.lost = 0;
        const { call } = this.module;
        this.atOnce(() => values.forEach((value, address) => call.setAt(0, address, value)));
        // The module's blocks of input and output, anew whenever its memory grows.
        /** @type {Float32Array[]} */
        this.blocks = [];
        /** @type {WamHost | undefined} */
        this.wamHost = wam && /** @type {any} */ (globalThis).webAudioModules;
        this.wamHost?.addWam(Object.assign(this, wam));
        this.port.onmessage = ({ data }) => this.take(data);
    }

    /** @param {ToSound & {end?: boolean, count?: boolean}} data */
    take({ set, event, wam, clear, midi, watch, count, end }) {
        if (set) this.atOnce(() => this.module.call.setAt(0, ...set));
        if (midi) this.atOnce(() => this.sendMidi(0, midi));
        if (event) this.schedule(event);
        if (wam) this.scheduleEvents(...wam);
        if (clear) this.clearEvents();
        if (watch !== undefined) this.isWatched = watch;
        if (count) this.port.postMessage({ lost: this.lost, frame: currentFrame, time: Date.now() });
        if (!end) return;
        this.isAlive = false;
        this.wamHost?.removeWam(this);
    }

    /**
     * Has what is set take effect before the next block: nothing queues up while the context is suspended.
     * @param {() => void} act
     */
    atOnce(act) {
        this.module.call.beginBlock(0);
        act();
        this.module.call.endBlock();
    }

    /** @param {Scheduled} event */
    schedule(event) {
        const before = this.events.findIndex(([time]) => time <= event[0]);
        this.events.splice(before < 0 ? this.events.length : before, 0, event);
    }

    /**
     * Of the page, or of another Web Audio Module.
     * @param {WamEvent[]} events
     */
    scheduleEvents(...events) {
        for (const { type, time = 0, data } of events) {
            const frame = Math.round(time * sampleRate);
            const row = type === "wam-automation" && parameters.find(({ option }) => option === data.id);
            if (row) this.schedule([frame, row.address, data.value]);
            if (type === "wam-midi") this.schedule([frame, -1, ...data.bytes]);
        }
    }

    clearEvents() {
        this.events.length = 0;
    }

    /**
     * @param {Float32Array[][]} inputs
     * @param {Float32Array[][]} outputs
     * @param {Record<string, Float32Array>} automation
     */
    process(inputs, outputs, automation) {
        const output = outputs[0];
        const frames = output[0].length;
        const { call } = this.module;
        if (this.expected >= 0) this.lost += currentFrame - this.expected;
        this.expected = currentFrame + frames;

        const input = inputs[0];
        const blocks = this.blocksOf(frames);
        for (let side = 0; side < 2; side++) {
            // One channel is heard on both sides, and none is silence.
            const from = input[Math.min(side, input.length - 1)];
            if (from) blocks[side].set(from);
            else blocks[side].fill(0);
        }
        call.beginBlock(frames);
        this.automate(automation);
        if (this.events.length) this.sendEvents(frames);
        call.endBlock();
        for (let side = 0; side < output.length; side++) output[side].set(this.blocksOf(frames)[2 + side]);
        if (this.heard.size && currentFrame - this.reported >= ringFrames) this.report();
        if (this.isWatched && call.ringIsNew()) this.sendRing();
        return this.isAlive;
    }

    /** @param {number} frames */
    blocksOf(frames) {
        if (this.blocks[0]?.buffer !== this.module.memory.buffer || this.blocks[0].length !== frames)
            this.blocks = [0, 1, 2, 3].map((channel) => this.module.floats(this.module.call.channel(channel), frames));
        return this.blocks;
    }

    /**
     * A value that the page has set stands until the automation moves.
     * @param {Record<string, Float32Array>} automation
     */
    automate(automation) {
        const { automated } = this;
        for (let address = 0; address < automated.length; address++) {
            const values = automation[parameters[address].option];
            for (let frame = 0; frame < values.length; frame++) {
                if (values[frame] === automated[address]) continue;
                automated[address] = values[frame];
                this.set(frame, address, values[frame]);
            }
        }
    }

    /** @param {number} frames */
    sendEvents(frames) {
        for (let event = this.events.at(-1); event && event[0] < currentFrame + frames; event = this.events.at(-1)) {
            const [time, address, ...data] = event;
            const frame = Math.max(time - currentFrame, 0);
            if (address < 0) this.sendMidi(frame, data);
            else this.set(frame, address, data[0]);
            this.events.pop();
        }
    }

    /**
     * A value that did not come from the page, which hears of it.
     * @param {number} frame
     * @param {number} address
     * @param {number} value
     */
    set(frame, address, value) {
        this.module.call.setAt(frame, address, value);
        this.heard.add(address);
    }

    /**
     * @param {number} frame
     * @param {number[]} bytes
     */
    sendMidi(frame, bytes) {
        const address = this.module.call.midiAt(frame, bytes.length, ...bytes);
        if (address >= 0 && address < parameters.length) this.heard.add(address);
    }

    /** Sends the page the values that it does not know. */
    report() {
        this.port.postMessage({ heard: [...this.heard].map((address) => [address, this.module.call.value(address)]) });
        this.heard.clear();
        this.reported = currentFrame;
    }

    /** Sends the page a copy of a full ring. */
    sendRing() {
        for (const channel of [0, 1])
            this.ring.set(this.module.floats(this.module.call.ring(channel), ringFrames), channel * ringFrames);
        this.port.postMessage({ ring: this.ring });
    }
}

/** Without AudioParams, whose upkeep costs a browser more than the effect does. */
class FixedProcessor extends KelvaneProcessor {
    static get parameterDescriptors() {
        return [];
    }

    automate() {}
}

try {
    registerProcessor(processorName, KelvaneProcessor);
    registerProcessor(`${processorName} fixed`, FixedProcessor);
} catch {
    // The context has it from another copy of this package.
}
