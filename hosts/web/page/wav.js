// @ts-check
// WAV files: read to the very samples, and written as `kelvane render --subtype float` writes them.

/**
 * @typedef {object} Sound
 * @property {number} rate frames a second
 * @property {[Float32Array, Float32Array]} channels
 * @property {number} [stated] frames that a WAV file says it has
 * @property {boolean} [isExact] whether it is all of a stereo WAV file, to the very sample
 */

const headerSize = 88;
const largest = 0xfff00000; // bytes of a file
const unknownSize = 0xffffffff; // of the samples, where a program wrote into a pipe

/**
 * @param {DataView} view
 * @param {number} at
 */
function identifier(view, at) {
    return String.fromCharCode(...Array.from({ length: 4 }, (_, i) => view.getUint8(at + i)));
}

/** Reads one sample. @type {Record<string, (view: DataView, at: number) => number>} */
const readers = {
    "1/8": (view, at) => (view.getUint8(at) - 128) / 0x80,
    "1/16": (view, at) => view.getInt16(at, true) / 0x8000,
    "1/24": (view, at) => (view.getUint16(at, true) | (view.getInt8(at + 2) << 16)) / 0x800000,
    "1/32": (view, at) => Math.fround(view.getInt32(at, true)) / 0x80000000,
    "3/32": (view, at) => view.getFloat32(at, true),
    "3/64": (view, at) => view.getFloat64(at, true),
};

/**
 * Null for what is no WAV file, or of a kind that is left to the browser. Throws an Error with one line for a file
 * that cannot be played: no frames, or neither one nor two channels.
 * @param {ArrayBuffer} file
 * @returns {Sound | null}
 */
export function readWav(file) {
    const view = new DataView(file);
    if (view.byteLength < 12 || identifier(view, 0) !== "RIFF" || identifier(view, 8) !== "WAVE") return null;
    let read, channels = 0, rate = 0, bytes = 0;
    for (let at = 12; at + 8 <= view.byteLength; ) {
        const name = identifier(view, at);
        const size = view.getUint32(at + 4, true);
        const start = at + 8;
        if (name === "fmt " && start + 16 <= view.byteLength) {
            const tag = view.getUint16(start, true);
            const isExtensible = tag === 0xfffe && start + 26 <= view.byteLength;
            channels = view.getUint16(start + 2, true);
            rate = view.getUint32(start + 4, true);
            bytes = view.getUint16(start + 14, true) / 8;
            read = readers[`${isExtensible ? view.getUint16(start + 24, true) : tag}/${bytes * 8}`];
        } else if (name === "data") {
            if (!read) return null;
            requireStereo(channels);
            const present = Math.floor((view.byteLength - start) / (channels * bytes));
            const stated = size === unknownSize ? present : Math.floor(size / (channels * bytes));
            const frames = Math.min(stated, present);
            if (frames < 1) throw new Error("the file has no sound in it");
            /** @type {[Float32Array, Float32Array]} */
            const sound = [new Float32Array(frames), new Float32Array(frames)];
            for (let i = 0; i < frames; i++)
                for (const side of [0, 1])
                    sound[side][i] = read(view, start + (i * channels + Math.min(side, channels - 1)) * bytes);
            return { rate, channels: sound, stated, isExact: channels === 2 && frames === stated };
        }
        at = start + size + (size & 1);
    }
    return null;
}

/** @param {number} channels */
export function requireStereo(channels) {
    if (channels < 1 || channels > 2) throw new Error(`the file has ${channels} channels; the effect takes one or two`);
}

/**
 * A WAV file of 32-bit floats.
 * @param {Sound} sound
 */
export function writeWav({ rate, channels: [left, right] }) {
    const frames = left.length;
    const size = frames * 8;
    if (headerSize + size > largest) throw new Error("the sound is too long for a WAV file");
    const view = new DataView(new ArrayBuffer(headerSize + size));
    /** @param {number} at @param {string} text */
    const text = (at, text) => [...text].forEach((c, i) => view.setUint8(at + i, c.charCodeAt(0)));
    text(0, "RIFF");
    view.setUint32(4, headerSize - 8 + size, true);
    text(8, "WAVEfmt ");
    view.setUint32(16, 16, true);
    view.setUint16(20, 3, true);
    view.setUint16(22, 2, true);
    view.setUint32(24, rate, true);
    view.setUint32(28, rate * 8, true);
    view.setUint16(32, 8, true);
    view.setUint16(34, 32, true);
    text(36, "fact");
    view.setUint32(40, 4, true);
    view.setUint32(44, frames, true);
    text(48, "PAD "); // 24 bytes, as libsndfile leaves them where a list of peaks would be
    view.setUint32(52, 24, true);
    text(80, "data");
    view.setUint32(84, size, true);
    for (let i = 0; i < frames; i++) {
        view.setFloat32(headerSize + i * 8, left[i], true);
        view.setFloat32(headerSize + i * 8 + 4, right[i], true);
    }
    return view.buffer;
}
