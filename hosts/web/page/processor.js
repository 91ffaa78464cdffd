// @ts-check
// The effect in the audio thread: an instance that renders 128 frames at a time.

import { Module } from "./module.js";
import { parameters as table } from "./parameters.js";

const ringFrames = 2048;

/**
 * @typedef {object} Settings What the node is made with.
 * @property {ArrayBuffer} bytes of kelvane.wasm
 * @property {number[]} values of the parameters
 * @property {[frame: number, ...event: number[]][]} [events] sorted: an address and a value, or "MIDI" as -1 and three bytes
 */

/** @typedef {{set?: [number, number], event?: [number, ...number[]], clear?: boolean, midi?: number[], state?: string, watch?: boolean, spare?: Float32Array<ArrayBuffer>}} ToSound */

class KelvaneProcessor extends AudioWorkletProcessor {
    static get parameterDescriptors() {
        return table.map(({ option, initial }) => ({
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
        const { bytes, values, events = [] } = options.processorOptions;
        // In frames: no clock of the machine is near, and nothing here waits for one.
        this.module = new Module(bytes, () => (currentFrame / sampleRate) * 1000);
        this.isRunning = Boolean(this.module.call.start(sampleRate, 4096));
        this.events = events;
        this.nextEvent = 0;
        /** What each AudioParam was last. @type {(number | undefined)[]} */
        this.automated = [];
        /** @type {[number, number][]} */
        this.pending = [];
        /** @type {number[][]} */
        this.messages = [];
        /** @type {Float32Array[]} */
        this.blocks = [];
        this.isWatched = false;
        /** Addresses whose values the page does not know. @type {Set<number>} */
        this.heard = new Set();
        this.reported = -ringFrames;
        this.isAlive = true;
        /** @type {Float32Array<ArrayBuffer>[]} */
        this.spare = [];
        this.expected = -1;
        this.lost = 0;
        this.module.call.beginBlock(0);
        values.forEach((value, address) => this.module.call.setAt(0, address, value));
        this.module.call.endBlock();
        this.port.onmessage = ({ data }) => this.take(data);
    }

    /** @param {ToSound & {end?: boolean, count?: boolean}} data */
    take(data) {
        if (data.set) this.pending.push(data.set);
        if (data.event) {
            const [frame] = data.event;
            const after = this.events.findIndex(([time], i) => i >= this.nextEvent && time > frame);
            this.events.splice(after < 0 ? this.events.length : after, 0, data.event);
        }
        if (data.clear) this.events.length = this.nextEvent;
        if (data.midi) this.messages.push(data.midi);
        if (data.state !== undefined) this.module.call.restoreState(this.module.giveText(data.state));
        if (data.watch !== undefined) this.isWatched = data.watch;
        if (data.spare) this.spare.push(data.spare);
        if (data.count) this.port.postMessage({ lost: this.lost, frame: currentFrame, time: Date.now() });
        if (data.end) this.isAlive = false;
    }

    /**
     * @param {Float32Array[][]} inputs
     * @param {Float32Array[][]} outputs
     * @param {Record<string, Float32Array>} parameters
     */
    process(inputs, outputs, parameters) {
        const output = outputs[0];
        const frames = output[0].length;
        const { call } = this.module;
        if (this.expected >= 0) this.lost += currentFrame - this.expected;
        this.expected = currentFrame + frames;
        if (!this.isRunning) return this.isAlive;

        const input = inputs[0];
        const blocks = this.blocksOf(frames);
        for (let side = 0; side < 2; side++) {
            // One channel is heard on both sides, and none is silence.
            const from = input[Math.min(side, input.length - 1)];
            if (from) blocks[side].set(from);
            else blocks[side].fill(0);
        }
        call.beginBlock(frames);
        this.sendEvents(frames, parameters);
        call.endBlock();
        for (let side = 0; side < output.length; side++) output[side].set(this.blocksOf(frames)[2 + side]);
        this.report();
        return this.isAlive;
    }

    /**
     * The module's blocks of input and output, kept until its memory grows.
     * @param {number} frames
     */
    blocksOf(frames) {
        if (this.blocks[0]?.buffer !== this.module.memory.buffer || this.blocks[0].length !== frames)
            this.blocks = [0, 1, 2, 3].map((channel) => this.module.floats(this.module.call.channel(channel), frames));
        return this.blocks;
    }

    /**
     * @param {number} frames
     * @param {Record<string, Float32Array>} parameters
     */
    sendEvents(frames, parameters) {
        const { call } = this.module;
        for (const { address, option } of table) {
            const values = parameters[option];
            // A value that the page has set stands until the automation moves.
            for (let frame = 0; frame < values.length; frame++) {
                if (values[frame] === this.automated[address]) continue;
                if (this.automated[address] !== undefined) this.set(frame, address, values[frame]);
                this.automated[address] = values[frame];
            }
        }
        for (const [address, value] of this.pending) call.setAt(0, address, value);
        for (const bytes of this.messages) this.sendMidi(0, bytes);
        this.pending.length = this.messages.length = 0;
        for (; this.nextEvent < this.events.length; this.nextEvent++) {
            const [time, address, ...data] = this.events[this.nextEvent];
            if (time >= currentFrame + frames) break;
            const frame = Math.max(time - currentFrame, 0);
            if (address < 0) this.sendMidi(frame, data);
            else this.set(frame, address, data[0]);
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
    sendMidi(frame, [status, data1 = 0, data2 = 0]) {
        const address = this.module.call.midiAt(frame, 3, status, data1, data2);
        if (address >= 0 && address < table.length) this.heard.add(address);
    }

    /** Tells the page what it does not know, and passes a full ring on to one that shows it. */
    report() {
        const { call } = this.module;
        if (this.heard.size && currentFrame - this.reported >= ringFrames) {
            this.port.postMessage({ heard: [...this.heard].map((address) => [address, call.value(address)]) });
            this.heard.clear();
            this.reported = currentFrame;
        }
        if (!this.isWatched || !call.ringIsNew()) return;
        const ring = this.spare.pop() ?? new Float32Array(2 * ringFrames);
        for (const channel of [0, 1])
            ring.set(this.module.floats(call.ring(channel), ringFrames), channel * ringFrames);
        this.port.postMessage({ ring }, [ring.buffer]);
    }
}

registerProcessor("kelvane", KelvaneProcessor);
