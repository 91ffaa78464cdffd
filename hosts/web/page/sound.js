// @ts-check
// What is heard: the phrase, a file or an input, through the effect.

import { createKelvane } from "./kelvane.js";
import { parameters } from "./parameters.js";
import { requireStereo } from "./wav.js";

/** @typedef {import("./wav.js").Sound} Sound */
/**
 * @typedef {object} PlayedSound
 * @property {AudioBuffer} buffer of one or two channels
 * @property {File} [file] the WAV file that it is the sound of
 * @property {number} [stated] frames that the file says it has
 * @property {boolean} [isUnfinished] whether the file has more than it says, as its recording was never finished
 * @property {boolean} [isExact] whether it is all of a stereo file without tags and markers, to the very sample
 */

const closed = "The browser has closed the sound output. Reload the page.";
const largestFile = 1 << 29; // bytes; decoded it is several times as large

/** A worker with a sound, which does one job after the other. */
export class Offline {
    /**
     * @param {ArrayBuffer} bytes of kelvane.wasm
     * @param {File | Sound} [source] a WAV file or a sound; without one the built-in phrase
     */
    constructor(bytes, source) {
        this.start = () => {
            const worker = new Worker(new URL("./job.js", import.meta.url), { type: "module" });
            worker.postMessage({ bytes, source });
            return worker;
        };
        /** From the first request on. @type {Worker | undefined} */
        this.worker = undefined;
        /** Rejected by end(). @type {Promise<never>} */
        this.ended = new Promise((_, fail) => (this.fail = fail));
        /** @type {Promise<any>} */
        this.last = Promise.resolve();
    }

    /** Stops the worker; what it was asked for and has not answered is rejected. */
    end() {
        this.worker?.terminate();
        this.ended.catch(() => {}); // nobody may be waiting
        this.fail?.(new Error("ended")); // the page tells it in its own way
    }

    /**
     * @param {{at?: number, values?: number[], isMeasured?: boolean}} request
     * @returns {Promise<any>}
     */
    request(request) {
        const job = () =>
            new Promise((done, fail) => {
                const worker = (this.worker ??= this.start());
                worker.onmessage = ({ data }) => (data instanceof Error ? fail(data) : done(data));
                worker.onerror = () => fail(new Error("The browser cannot run the page's worker."));
                worker.postMessage(request);
            });
        this.last = this.last.then(job, job);
        return Promise.race([this.last, this.ended]);
    }

    /**
     * A WAV file of the sound with these values, or its figures.
     * @param {number[]} values of the parameters
     * @param {boolean} isMeasured
     */
    ask(values, isMeasured) {
        return this.request({ values, isMeasured });
    }

    /**
     * The sound as a context plays it, part by part, so that the page goes on; the bytes of a file that is not WAV.
     * @param {BaseAudioContext} context
     * @returns {Promise<PlayedSound | ArrayBuffer>}
     */
    async load(context) {
        const about = await this.request({});
        if (about instanceof ArrayBuffer) return about;
        const { frames, rate, ...read } = about;
        let buffer;
        try {
            buffer = context.createBuffer(2, frames, rate);
        } catch {
            throw new Error(`the browser cannot play ${frames} frames at ${rate} Hz`);
        }
        for (let at = 0; at < frames; ) {
            const channels = await this.request({ at });
            for (const side of [0, 1]) buffer.copyToChannel(channels[side], side, at);
            at += channels[0].length;
        }
        return { buffer, ...read };
    }
}

/**
 * What a worker gets for a sound.
 * @param {PlayedSound} sound
 * @returns {File | Sound}
 */
export function sourceOf({ file, buffer }) {
    if (file) return file;
    const channel = (/** @type {number} */ side) => buffer.getChannelData(Math.min(side, buffer.numberOfChannels - 1));
    return { rate: buffer.sampleRate, channels: [channel(0), channel(1)] };
}

/**
 * A file as sound: WAV to the very samples, others as the browser decodes them. Throws an Error with one line. Without a
 * file the built-in phrase, which takes the better part of a second to play.
 * @param {ArrayBuffer} bytes of kelvane.wasm
 * @param {BaseAudioContext} context
 * @param {File} [file]
 * @returns {Promise<PlayedSound>}
 */
export async function readSound(bytes, context, file) {
    if (file?.size === 0) throw new Error("the file is empty");
    if (file && file.size > largestFile) throw new Error("the file is too large for a page; `kelvane render` takes it");
    const offline = new Offline(bytes, file);
    try {
        const sound = await offline.load(context);
        if (!(sound instanceof ArrayBuffer)) return { ...sound, file };
        const buffer = await context.decodeAudioData(sound).catch(() => {
            throw new Error("the browser cannot read this file as sound");
        });
        requireStereo(buffer.numberOfChannels);
        return { buffer };
    } finally {
        offline.end();
    }
}

/** @param {MediaStream} stream */
export function stopTracks(stream) {
    stream.getTracks().forEach((track) => track.stop());
}

export class Player {
    /** @param {(address: number) => number} valueOf the present settings */
    constructor(valueOf) {
        this.context = new AudioContext({ latencyHint: "interactive" });
        const values = parameters.map(({ address }) => valueOf(address));
        this.node = createKelvane(this.context, { values, isAutomated: false }).catch((error) => {
            if (!isSecureContext) throw new Error("Sound needs an address with https."); // elsewhere there are no worklets
            if (!this.context.audioWorklet) throw new Error("This browser has no audio worklets; a newer one plays the sound.");
            throw new Error(`The browser cannot run the effect: ${error.message}`);
        });
        /** When the first sound is there. @type {Promise<unknown>} */
        this.ready = Promise.resolve();
        /** @type {PlayedSound | undefined} */
        this.sound = undefined;
        /** @type {AudioBufferSourceNode | undefined} */
        this.playing = undefined;
        /** @type {MediaStream | undefined} */
        this.stream = undefined;
        /** @type {MediaStreamAudioSourceNode | undefined} */
        this.input = undefined;
        this.isLoop = true;
        this.offset = 0; // seconds into the sound, at startedAt on the context's clock
        this.startedAt = 0;
        /** Called when it starts or stops by itself. */
        this.onChange = () => {};
        /** The output has gone. @type {(what: string) => void} */
        this.onFault = () => {};
        /** The input has gone; the sound of before is there, and rests. */
        this.onLost = () => {};
        this.context.onstatechange = () => {
            if (this.context.state === "closed") {
                this.stop();
                this.onFault(closed);
            }
            this.onChange();
        };
        this.context.addEventListener("error", () => {
            this.pause();
            this.onFault("The sound output has failed. Press Play to try again.");
        });
        this.withNode((node) => node.connect(this.context.destination));
    }

    /**
     * Once the effect is there. Where it cannot be, `node` is rejected, and this is nothing.
     * @param {(node: import("./kelvane.js").KelvaneNode) => void} act
     */
    withNode(act) {
        this.node.then(act, () => {});
    }

    get isPlaying() {
        return this.isWanted && this.context.state === "running";
    }

    /** Whether it plays or is about to. */
    get isWanted() {
        return Boolean(this.playing || this.input);
    }

    get duration() {
        return this.sound && !this.stream ? this.sound.buffer.duration : 0;
    }

    get position() {
        if (!this.playing) return this.offset;
        const at = this.offset + this.context.currentTime - this.startedAt;
        return this.isLoop ? at % this.duration : Math.min(at, this.duration);
    }

    /** @param {PlayedSound} sound */
    use(sound) {
        const isWanted = this.isWanted;
        this.closeInput();
        if (isWanted) this.pause(); // Play may have been touched before the first sound
        this.sound = sound;
        this.offset = 0;
        this.onChange();
    }

    /** Asks for a microphone or interface. */
    async askInput() {
        await this.node; // without it the question would be in vain
        return navigator.mediaDevices.getUserMedia({
            audio: { channelCount: 2, echoCancellation: false, noiseSuppression: false, autoGainControl: false },
        });
    }

    /** @param {MediaStream} stream */
    useInput(stream) {
        this.pause();
        this.closeInput();
        this.stream = stream;
        stream.getTracks().forEach((track) => {
            track.onended = () => {
                this.closeInput();
                this.pause();
                this.onLost();
            };
        });
    }

    closeInput() {
        this.input?.disconnect();
        if (this.stream) stopTracks(this.stream);
        this.input = this.stream = undefined;
    }

    /** From a touch or key, as browsers demand. */
    async play() {
        if (this.context.state === "closed") throw new Error(closed);
        const resumed = this.context.resume();
        const [node] = await Promise.all([this.node, this.ready]);
        if (this.stream) {
            this.input ??= this.context.createMediaStreamSource(this.stream);
            this.input.connect(node);
        } else if (this.sound) {
            this.offset = this.position;
            this.stop();
            const source = new AudioBufferSourceNode(this.context, { buffer: this.sound.buffer, loop: this.isLoop });
            source.connect(node);
            source.onended = () => {
                // What the effect and the browser still hold is heard before the context rests.
                const late = node.latency / this.context.sampleRate + (this.context.outputLatency || 0);
                setTimeout(() => this.playing === source && this.rewind(), 1000 * late);
            };
            this.startedAt = this.context.currentTime;
            source.start(0, this.offset);
            this.playing = source;
        } else throw new Error("There is no sound to play; choose a file.");
        await resumed;
        this.onChange();
    }

    /** After the end. */
    rewind() {
        this.pause();
        this.offset = 0;
        this.onChange();
    }

    stop() {
        const source = this.playing;
        this.playing = undefined;
        source?.stop();
        source?.disconnect();
    }

    pause() {
        const at = this.position;
        this.stop();
        this.offset = at;
        this.input?.disconnect();
        this.input = undefined;
        this.context.suspend();
        this.onChange();
    }

    /** @param {number} seconds */
    seek(seconds) {
        const isPlaying = this.playing;
        this.stop();
        this.offset = seconds;
        if (isPlaying) this.play().catch((error) => this.onFault(error.message));
    }

    /** @param {boolean} isLoop */
    setLoop(isLoop) {
        const at = this.position;
        this.isLoop = isLoop;
        if (!this.playing) return;
        this.offset = at;
        this.startedAt = this.context.currentTime;
        this.playing.loop = isLoop;
    }
}
