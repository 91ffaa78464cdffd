// @ts-check
// WAV files: read to the very samples, and written as `kelvane render --subtype float` writes them.

/**
 * @typedef {object} Sound
 * @property {number} rate frames a second
 * @property {[Float32Array, Float32Array]} channels
 * @property {number} [stated] frames that a WAV file says it has
 * @property {boolean} [isUnfinished] whether a WAV file has more than it says, as its recording was never finished
 * @property {boolean} [isExact] whether it is all of a stereo WAV file without tags and markers, to the very sample
 */

const headerSize = 88;
const largest = 0xfff00000; // bytes of a file
const mostFrames = 1 << 27; // in memory 1 GB, of which a sound takes several
/** Chunks that `kelvane render` does not carry over. */
const ownChunks = ["fmt ", "fact", "PEAK", "JUNK", "junk", "ds64", "levl", "FLLR", "PAD ", "free"];

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
 * Whether a size of samples in bytes, about 2 or about 4 GiB, stands for an unknown one.
 * @param {number} bytes
 */
function isOpenSize(bytes) {
    return (
        (bytes > 0x7f000000 - 8 && bytes <= 0x7f000000) ||
        (bytes >= 0x7fffe000 && bytes <= 0x7fffffff) ||
        (bytes >= 0xffffe000 && bytes <= 0xffffffff) ||
        bytes === -1
    );
}

/**
 * Whether samples go on from here: more bytes than a tag has, and not only the zeros that files are padded with.
 * @param {DataView} view
 * @param {number} at
 */
function hasSamplesFrom(view, at) {
    if (view.byteLength - at <= 4096 || identifier(view, at).startsWith("ID3")) return false;
    return new Uint8Array(view.buffer, at).some((byte) => byte !== 0);
}

/**
 * Null for what is no WAV file, RF64 among them, or of a kind that is left to the browser. Throws an Error with one line
 * for a file that cannot be played: no frames or too many, or neither one nor two channels.
 * @param {ArrayBuffer} file
 * @returns {Sound | null}
 */
export function readWav(file) {
    const view = new DataView(file);
    const length = view.byteLength;
    const magic = length < 36 ? "" : identifier(view, 0);
    if (!["RIFF", "RF64"].includes(magic) || identifier(view, 8) !== "WAVE") return null;
    let read, channels = 0, rate = 0, bytes = 0;
    let data, isPacked = true, isPlain = true, isUnfinished = false;
    let at = 12;
    while (at < length) {
        const name = at + 8 <= length ? identifier(view, at) : "";
        if (!/^[ -~]{4}$/.test(name)) {
            isUnfinished = data !== undefined && hasSamplesFrom(view, at);
            break;
        }
        let size = view.getUint32(at + 4, true);
        const start = at + 8;
        if (name === "fmt " && start + 16 <= length) {
            let tag = view.getUint16(start, true);
            if (tag === 0xfffe && start + 26 <= length) tag = view.getUint16(start + 24, true);
            channels = view.getUint16(start + 2, true);
            rate = view.getUint32(start + 4, true);
            bytes = view.getUint16(start + 12, true) / channels;
            const bits = 8 * Math.ceil(view.getUint16(start + 14, true) / 8);
            isPacked = bits === bytes * 8; // integers may be at the upper end of more bytes
            if (isPacked || (tag === 1 && bits < bytes * 8)) read = readers[`${tag}/${bytes * 8}`];
        } else if (name === "data" && !data) {
            if (magic === "RF64" && size === 0xffffffff) size = Number(view.getBigInt64(28, true)); // that of its ds64
            data = { start, size, isOpen: isOpenSize(size) && size !== length - start };
            if (data.isOpen) break;
        } else if (start + size > length) break;
        else if (!ownChunks.includes(name)) isPlain = false;
        at = start + size + (size & 1);
    }
    if (!data) return null;
    requireStereo(channels);
    if (!read) return null;
    const available = length - data.start;
    if (data.size === 0) isUnfinished = at < length;
    const stated = Math.floor((data.isOpen || isUnfinished ? available : data.size) / (channels * bytes));
    const frames = Math.min(stated, Math.floor(available / (channels * bytes)));
    if (frames < 1) throw new Error("the file has no sound in it");
    if (frames > mostFrames)
        throw new Error(`the file has ${frames} frames, a page takes ${mostFrames}; \`kelvane render\` takes it`);
    /** @type {[Float32Array, Float32Array]} */
    const sound = [new Float32Array(frames), new Float32Array(frames)];
    for (let i = 0; i < frames; i++)
        for (const side of [0, 1])
            sound[side][i] = read(view, data.start + (i * channels + Math.min(side, channels - 1)) * bytes);
    const isExact = channels === 2 && (data.isOpen || data.size <= available) && !isUnfinished && isPacked && isPlain;
    return { rate, channels: sound, stated, isUnfinished, isExact };
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
