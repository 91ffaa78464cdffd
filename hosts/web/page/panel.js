// @ts-check
// The effect's panel on a canvas: passes the canvas's events to the module and has it drawn when something is due.

import { Canvases } from "./canvas.js";
import { Module } from "./module.js";

const keys = ["ArrowLeft", "ArrowRight", "ArrowUp", "ArrowDown", " ", "Escape", "Enter", "Backspace", "Delete", "Home", "End"];
const phases = { pointerdown: 0, pointermove: 1, pointerup: 2, pointercancel: 3 };
const wheelNotch = 100; // CSS pixels
const quietAfter = 1500; // milliseconds without an event, after which nothing on the panel moves

/** @param {MouseEvent | KeyboardEvent} event */
function modifiers(event) {
    return (event.shiftKey ? 1 : 0) | (event.ctrlKey || event.metaKey ? 2 : 0);
}

export class Panel {
    /**
     * @param {HTMLCanvasElement} canvas
     * @param {BufferSource} bytes of kelvane.wasm
     */
    constructor(canvas, bytes) {
        this.canvas = canvas;
        this.module = new Module(bytes, () => performance.now(), new Canvases(canvas));
        /** Called with each value that the panel sets. @type {(address: number, value: number) => void} */
        this.onEdit = () => {};
        /** Called after each gesture. */
        this.onGesture = () => {};
        this.pumps = 0;
        this.lastEvent = -Infinity;
        this.wheel = 0;
        /** @type {ReturnType<typeof setTimeout> | undefined} */
        this.timer = undefined;
        this.isFrameAsked = false;
        this.setRate(44100);
        const { width, height, scale } = this.size();
        this.resizeCanvas(width, height, scale);
        this.module.call.openPanel(width, height, scale);
        this.listen();
        this.wake();
    }

    /** @param {number} rate frames a second */
    setRate(rate) {
        this.module.call.start(rate, 128);
    }

    size() {
        const box = this.canvas.getBoundingClientRect();
        return { width: Math.max(1, box.width), height: Math.max(1, box.height), scale: devicePixelRatio };
    }

    /**
     * @param {number} width
     * @param {number} height
     * @param {number} scale
     */
    resizeCanvas(width, height, scale) {
        const size = { width: Math.max(1, Math.round(width * scale)), height: Math.max(1, Math.round(height * scale)) };
        // Even the same size would clear it.
        if (size.width !== this.canvas.width || size.height !== this.canvas.height) Object.assign(this.canvas, size);
    }

    listen() {
        const { canvas } = this;
        const { call } = this.module;
        for (const type of /** @type {const} */ (["pointerdown", "pointermove", "pointerup", "pointercancel"]))
            canvas.addEventListener(type, (event) => this.point(type, event));
        canvas.addEventListener("pointerleave", (event) => {
            if (event.pointerType !== "mouse" || event.buttons) return;
            call.leavePanel();
            this.wake();
        });
        canvas.addEventListener("wheel", (event) => this.turnWheel(event), { passive: false });
        canvas.addEventListener("keydown", (event) => {
            const key = keys.indexOf(event.key) + 1; // 0 is any other
            const character = event.key.length === 1 ? event.key.charCodeAt(0) : 0;
            if (call.keyPanel(key, character < 127 ? character : 0, modifiers(event))) event.preventDefault();
            this.wake();
        });
        new ResizeObserver(() => this.fit()).observe(canvas);
        matchMedia(`(resolution: ${devicePixelRatio}dppx)`).addEventListener("change", () => this.fit(), { once: true });
        document.addEventListener("visibilitychange", () => this.wake());
    }

    fit() {
        const { width, height, scale } = this.size();
        this.resizeCanvas(width, height, scale);
        this.module.call.resizePanel(width, height, scale);
        this.wake(true);
    }

    /**
     * @param {keyof typeof phases} type
     * @param {PointerEvent} event
     */
    point(type, event) {
        const { call } = this.module;
        const isMouse = event.pointerType === "mouse";
        if (isMouse && type === "pointermove" && !event.buttons) call.hoverPanel(event.offsetX, event.offsetY);
        else if (!isMouse || event.button <= 0)
            call.touchPanel(event.pointerId, phases[type], event.offsetX, event.offsetY, modifiers(event));
        if (type === "pointerdown") {
            this.canvas.setPointerCapture(event.pointerId);
            this.canvas.focus({ preventScroll: true });
        }
        this.wake();
    }

    /** @param {WheelEvent} event */
    turnWheel(event) {
        event.preventDefault();
        const { call } = this.module;
        const isSmooth = event.deltaMode === 0 && Math.abs(event.deltaY) < wheelNotch / 2;
        // A trackpad's pinch arrives as a smooth wheel with Ctrl.
        if (event.ctrlKey && isSmooth) call.zoomPanel(event.offsetX, event.offsetY, Math.exp(-event.deltaY / wheelNotch));
        else {
            this.wheel -= event.deltaMode === 0 ? event.deltaY / wheelNotch : event.deltaY / 3;
            const steps = Math.trunc(this.wheel);
            this.wheel -= steps;
            if (steps) call.wheelPanel(event.offsetX, event.offsetY, steps, modifiers(event));
        }
        this.wake();
    }

    /**
     * Has what an event has changed drawn with the next frame, and what follows from it when it is due.
     * @param {boolean} [now] draws at once: the canvas has been cleared
     */
    wake(now = false) {
        this.lastEvent = performance.now();
        if (document.hidden) return;
        if (now) return this.pump();
        if (this.isFrameAsked) return;
        this.isFrameAsked = true;
        requestAnimationFrame(() => {
            this.isFrameAsked = false;
            this.pump();
        });
    }

    pump() {
        clearTimeout(this.timer);
        this.pumps++;
        const next = this.module.call.pump() * 1000;
        for (let edit = this.module.call.takeEdit(); edit; edit = this.module.call.takeEdit()) {
            const [kind, address, value] = new Float64Array(this.module.memory.buffer, edit, 3);
            if (kind === 1) this.onEdit(address, value);
            if (kind === 2) this.onGesture();
        }
        this.timer = undefined;
        const isQuiet = document.hidden || performance.now() - this.lastEvent > quietAfter;
        if (!isQuiet && Number.isFinite(next)) this.timer = setTimeout(() => this.pump(), next);
    }

    /** @param {number} address */
    value(address) {
        return this.module.call.value(address);
    }

    /**
     * A value from elsewhere, which the panel shows.
     * @param {number} address
     * @param {number} value
     */
    setValue(address, value) {
        this.module.call.setValue(address, value);
        this.wake();
    }

    /**
     * @param {number} address
     * @param {number} value
     */
    valueText(address, value) {
        return this.module.takeText(this.module.call.valueText(address, value));
    }

    get state() {
        return this.module.takeText(this.module.call.saveState());
    }

    /** @param {string} state */
    restore(state) {
        const isRead = Boolean(this.module.call.restoreState(this.module.giveText(state)));
        this.wake();
        return isRead;
    }

    /**
     * The last frames of the output, left and then right.
     * @param {Float32Array} ring
     */
    show(ring) {
        const frames = ring.length / 2;
        for (const channel of [0, 1])
            this.module
                .floats(this.module.call.ring(channel), frames)
                .set(ring.subarray(channel * frames, (channel + 1) * frames));
        // The editor's timer draws it; a frame of the browser's own for each ring would be one too many.
        if (this.timer === undefined) this.wake();
        else this.lastEvent = performance.now();
    }
}
