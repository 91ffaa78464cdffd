// @ts-check
// A copy of the WebAssembly module, for the page or for its AudioWorklet, which has neither fetch() nor
// TextDecoder.

/**
 * @typedef {object} Canvases What draws; the worklet has none.
 * @property {(words: Float64Array, memory: ArrayBuffer) => void} replay
 * @property {(canvas: number) => Uint8ClampedArray} read
 */

const nothing = () => 0;
const notThere = () => 52; // ENOSYS of WASI

/** One effect, with what it shares with JavaScript. */
export class Module {
    /**
     * @param {BufferSource} bytes of kelvane.wasm
     * @param {() => number} clock milliseconds, never going back
     * @param {Canvases} [canvases]
     */
    constructor(bytes, clock, canvases) {
        const imports = {
            canvas: {
                replay: (/** @type {number} */ words, /** @type {number} */ count) =>
                    canvases?.replay(new Float64Array(this.memory.buffer, words, count), this.memory.buffer),
                read: (/** @type {number} */ canvas, /** @type {number} */ pixels) => {
                    const read = canvases?.read(canvas);
                    if (read) new Uint8ClampedArray(this.memory.buffer, pixels, read.length).set(read);
                },
            },
            // What the C library asks of a system: a clock, and otherwise an empty one.
            wasi_snapshot_preview1: new Proxy(
                {
                    clock_time_get: (/** @type {unknown[]} */ ...given) => {
                        const nanoseconds = BigInt(Math.round(clock() * 1e6));
                        new DataView(this.memory.buffer).setBigUint64(Number(given.at(-1)), nanoseconds, true);
                        return 0;
                    },
                    proc_exit: () => {
                        throw new Error("the effect has ended with a fault");
                    },
                },
                { get: (/** @type {Record<string, Function>} */ known, name) => known[String(name)] ?? notThere },
            ),
            env: { emscripten_notify_memory_growth: nothing },
        };
        const instance = new WebAssembly.Instance(new WebAssembly.Module(bytes), imports);
        /** @type {Record<string, (...values: number[]) => number>} */
        this.call = /** @type {any} */ (instance.exports);
        this.memory = /** @type {WebAssembly.Memory} */ (instance.exports.memory);
        this.call._initialize?.();
    }

    /**
     * Floats of the module's; valid until the next call that may allocate.
     * @param {number} address
     * @param {number} count
     */
    floats(address, count) {
        return new Float32Array(this.memory.buffer, address, count);
    }

    /**
     * The text that a call has left, which is ASCII but for a preset's name.
     * @param {number} length
     */
    takeText(length) {
        const bytes = new Uint8Array(this.memory.buffer, this.call.text(), length);
        return decodeURIComponent(Array.from(bytes, (byte) => `%${byte.toString(16).padStart(2, "0")}`).join(""));
    }
}
