// @ts-check
// A worker that renders a whole sound as the command `kelvane render --subtype float` does, and measures it before and
// after as `kelvane measure` does. Without a sound it plays the phrase.

import { Module } from "./module.js";
import { writeWav } from "./wav.js";

const chunk = 8192;

/**
 * @typedef {object} FigureTable
 * @property {[name: string, unit: string, before: string, after: string][]} rows
 * @property {[before: string[], after: string[]]} remarks
 */

/**
 * @param {Module} module
 * @param {number[]} values of the parameters
 * @param {import("./wav.js").Sound} sound
 * @param {boolean} [isMeasured] whether its figures are wanted
 * @returns {import("./wav.js").Sound & {figures?: FigureTable}}
 */
export function render(module, values, { rate, channels }, isMeasured = false) {
    const { call } = module;
    if (!call.start(rate, chunk)) throw new Error(`the effect does not run at ${rate} Hz`);
    call.beginBlock(0);
    values.forEach((value, address) => call.setAt(0, address, value));
    call.endBlock();
    call.beginJob(rate, Number(isMeasured));
    const frames = channels[0].length;
    /** @type {[Float32Array, Float32Array]} */
    const rendered = [new Float32Array(frames), new Float32Array(frames)];
    let done = 0;
    // The last part is shorter than a chunk, and may be empty.
    for (let at = 0; at <= frames; at += chunk) {
        const count = Math.min(chunk, frames - at);
        for (const side of [0, 1])
            module.floats(call.jobInput(side), count).set(channels[side].subarray(at, at + count));
        const made = call.runJob(count);
        for (const side of [0, 1]) rendered[side].set(module.floats(call.jobOutput(side), made), done);
        done += made;
    }
    return { rate, channels: rendered, figures: isMeasured ? JSON.parse(module.takeText(call.jobFigures())) : undefined };
}

/** @type {{module: Module, sound: import("./wav.js").Sound}} */
let held;
self.onmessage = ({ data: { bytes, sound, values, isMeasured } }) => {
    try {
        if (!sound && bytes) {
            const module = new Module(bytes, () => performance.now());
            const { call } = module;
            const frames = call.phraseFrames();
            const channels = [0, 1].map((side) => module.floats(call.phraseChannel(side), frames).slice());
            self.postMessage({ rate: 44100, channels });
        } else if (sound) held = { module: new Module(bytes, () => performance.now()), sound };
        else {
            const { figures, ...rendered } = render(held.module, values, held.sound, isMeasured);
            self.postMessage(figures ?? writeWav(rendered));
        }
    } catch (error) {
        self.postMessage(error instanceof Error ? error : new Error(String(error)));
    }
};
