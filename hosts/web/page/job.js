// @ts-check
// A worker that renders a whole sound as the command `kelvane render --subtype float` does.

import { Module } from "./module.js";
import { writeWav } from "./wav.js";

const chunk = 8192;

/**
 * @param {ArrayBuffer} bytes of kelvane.wasm
 * @param {number[]} values of the parameters
 * @param {import("./wav.js").Sound} sound
 * @returns {import("./wav.js").Sound}
 */
export function render(bytes, values, { rate, channels }) {
    const module = new Module(bytes, () => performance.now());
    const { call } = module;
    if (!call.start(rate, chunk)) throw new Error(`the effect does not run at ${rate} Hz`);
    call.beginBlock(0);
    values.forEach((value, address) => call.setAt(0, address, value));
    call.endBlock();
    call.beginJob(rate);
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
    return { rate, channels: rendered };
}

self.onmessage = ({ data: { bytes, values, sound } }) => {
    try {
        const file = writeWav(render(bytes, values, sound));
        self.postMessage({ file }, { transfer: [file] });
    } catch (error) {
        self.postMessage({ error: error instanceof Error ? error.message : String(error) });
    }
};
