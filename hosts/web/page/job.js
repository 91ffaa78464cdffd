// @ts-check
// A worker with one sound, which it reads from a WAV file, gets, or plays: the phrase. It renders the whole sound as the
// command `kelvane render --subtype float` does, and measures it before and after as `kelvane measure` does.

import { Module } from "./module.js";
import { readWav, writeWav } from "./wav.js";

const chunk = 8192;
const partFrames = 1 << 18; // that are passed on at a time: 2 MB

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

/** @typedef {import("./wav.js").Sound} Sound */

/** @param {Module} module */
function playPhrase(module) {
    const frames = module.call.phraseFrames();
    const channels = [0, 1].map((side) => module.floats(module.call.phraseChannel(side), frames).slice());
    return /** @type {Sound} */ ({ rate: 44100, channels });
}

/**
 * The sound, or the bytes of a file that is left to the browser.
 * @param {File} file
 * @param {boolean} isAgain whether it was a WAV file when it was opened
 */
async function readFile(file, isAgain) {
    const bytes = await file.arrayBuffer().catch((error) => {
        if (isAgain) return new ArrayBuffer(0);
        throw new Error(`the browser cannot load it, which may be for want of memory: ${error.message}`);
    });
    const sound = readWav(bytes);
    if (isAgain && !sound) throw new Error(`${file.name}: the file has changed since it was opened; open it again`);
    return sound ?? bytes;
}

/** @type {ArrayBuffer} */
let bytes;
/** @type {File | Sound | undefined} */
let source;
/** @type {Promise<Sound | ArrayBuffer> | undefined} */
let held;

/** @param {boolean} isAgain */
async function take(isAgain) {
    if (source instanceof Blob) return readFile(source, isAgain);
    return source ?? playPhrase(new Module(bytes, () => performance.now()));
}

/**
 * The answer to a request: what the sound is, a part of its frames, a file with the rendered sound, or its figures.
 * @param {{at?: number, values?: number[], isMeasured?: boolean}} request
 */
async function answer({ at, values, isMeasured }) {
    held ??= take(values !== undefined);
    const sound = await held.catch((error) => {
        held = undefined; // the file may be there again
        throw error;
    });
    if (sound instanceof ArrayBuffer) return sound;
    const { channels, ...about } = sound;
    if (at !== undefined) return channels.map((frames) => frames.slice(at, at + partFrames));
    if (!values) return { ...about, frames: channels[0].length };
    const { figures, ...rendered } = render(new Module(bytes, () => performance.now()), values, sound, isMeasured);
    return figures ?? new Blob([writeWav(rendered)], { type: "audio/wav" });
}

/** The first message has what the sound is made from; each other is a request. */
self.onmessage = async ({ data: request }) => {
    try {
        if (request.bytes) {
            bytes = request.bytes;
            source = request.source;
            return;
        }
        const made = await answer(request);
        const transfer = made instanceof ArrayBuffer ? [made] : Array.isArray(made) ? made.map(({ buffer }) => buffer) : [];
        self.postMessage(made, { transfer });
    } catch (error) {
        const isMemory = error instanceof RangeError || error === "out of memory"; // the latter in Firefox
        if (isMemory) self.postMessage(new Error("there is too little memory for this sound; `kelvane render` takes it"));
        else self.postMessage(error instanceof Error ? error : new Error(String(error)));
    }
};
