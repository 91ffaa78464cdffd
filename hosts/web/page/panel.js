// @ts-check
// The effect's panel on a canvas: passes the canvas's events to the module and has it drawn when something is due.

import { Canvases } from "./canvas.js";
import { Module } from "./module.js";

const keys = ["ArrowLeft", "ArrowRight", "ArrowUp", "ArrowDown", " ", "Escape", "Enter", "Backspace", "Delete", "Home", "End"];
const phases = { pointerdown: 0, pointermove: 1, pointerup: 2, pointercancel: 3 };
// The buttons that touch, a mouse's first or a pen's tip and a pen's eraser: among those that are down, and by number.
const pressing = 1 | 32;
const pressers = [0, 5];
const wheelNotch = 100; // CSS pixels
const quietAfter = 1500; // milliseconds without an event, after which nothing on the panel moves
const longestRing = 100; // milliseconds from one picture of the sound to the next, while it plays
export const stillMotion = globalThis.matchMedia?.("(prefers-reduced-motion: reduce)");
export const stillInterval = 1000; // milliseconds between two pictures of the sound, or figures, where motion is unwanted

/** @param {MouseEvent | KeyboardEvent} event */
function modifiers(event) {
    return (event.shiftKey ? 1 : 0) | (event.ctrlKey || event.metaKey ? 2 : 0);
}

/**
 * A parameter's slider or switch.
 * @param {boolean} isSwitch
 */
export function makeInput(isSwitch) {
    const input = document.createElement("input");
    Object.assign(input, isSwitch ? { type: "checkbox" } : { type: "range", min: 0, max: 1, step: 0.005 });
    if (isSwitch) input.setAttribute("role", "switch");
    return input;
}

/**
 * Shows a value and its text on one of these.
 * @param {HTMLInputElement} input
 * @param {number} value
 * @param {string} text
 */
export function showOn(input, value, text) {
    if (input.type === "checkbox") input.checked = value > 0.5;
    else {
        input.value = String(value);
        input.setAttribute("aria-valuetext", text);
    }
}

export class Panel {
    /**
     * @param {HTMLCanvasElement} canvas
     * @param {BufferSource} bytes of kelvane.wasm
     */
    constructor(canvas, bytes) {
        this.canvas = canvas;
        this.canvases = new Canvases(canvas);
        this.module = new Module(bytes, () => performance.now(), this.canvases);
        /** Called with each value that the panel sets. @type {(address: number, value: number) => void} */
        this.onEdit = () => {};
        /** Called after each gesture. */
        this.onGesture = () => {};
        /** Called when the panel appears or disappears: scrolled away, behind another tab, closed. @type {(isSeen: boolean) => void} */
        this.onSeen = () => {};
        this.isSeen = !document.hidden;
        this.isInView = true;
        this.lastEvent = this.lastShown = -Infinity;
        this.due = -Infinity; // when pump() next has something to do
        this.wheel = 0;
        /** The pointers that are down. @type {Set<number>} */
        this.down = new Set();
        /** @type {ReturnType<typeof setTimeout> | undefined} */
        this.timer = undefined;
        /** @type {number | undefined} */
        this.frame = undefined;
        this.ended = new AbortController();
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
        const { signal } = this.ended;
        /**
         * @template {keyof HTMLElementEventMap} T
         * @param {T} type
         * @param {(event: HTMLElementEventMap[T]) => void} act
         */
        const on = (type, act) => canvas.addEventListener(type, act, { signal, passive: false });
        for (const type of /** @type {const} */ (["pointerdown", "pointermove", "pointerup", "pointercancel"]))
            on(type, (event) => this.point(type, event));
        on("pointerleave", ({ pointerType, pointerId }) => {
            if (pointerType === "touch" || this.down.has(pointerId)) return;
            call.leavePanel();
            this.wake();
        });
        on("wheel", (event) => this.turnWheel(event));
        on("keydown", (event) => this.press(event));
        on("blur", () => {
            call.blurPanel();
            this.wake();
        });
        on("contextrestored", () => {
            this.canvases.restore();
            // The pictures of its parts are lost, too; they are made anew for another scale.
            this.fit(1.01);
            call.pump();
            this.fit();
        });
        this.listenToPinch();
        // It gets keys after a touch or click; a user without either needs controls beside it.
        canvas.tabIndex = -1;
        Object.assign(canvas.style, { touchAction: "none", outline: "none" });
        if (!canvas.hasAttribute("role")) {
            canvas.setAttribute("role", "img");
            canvas.setAttribute("aria-label", "The effect's panel");
        }

        const resized = new ResizeObserver(() => this.fit());
        resized.observe(canvas);
        const scrolled = new IntersectionObserver((entries) => {
            this.isInView = entries[entries.length - 1].isIntersecting;
            this.look();
        });
        scrolled.observe(canvas);
        signal.addEventListener("abort", () => {
            resized.disconnect();
            scrolled.disconnect();
        });
        document.addEventListener("visibilitychange", () => this.look(), { signal });
        const watchScale = () => {
            const isSame = matchMedia(`(resolution: ${devicePixelRatio}dppx)`);
            const changed = () => {
                this.fit();
                watchScale();
            };
            isSame.addEventListener("change", changed, { once: true, signal });
        };
        watchScale();
    }

    /** Safari reports a trackpad's pinch by events of its own; on a touch screen they come beside the pointers. */
    listenToPinch() {
        let scale = 1;
        for (const type of ["gesturestart", "gesturechange", "gestureend"])
            this.canvas.addEventListener(
                type,
                (/** @type {any} */ event) => {
                    event.preventDefault();
                    const { left, top } = this.canvas.getBoundingClientRect();
                    if (type === "gesturechange" && !this.down.size)
                        this.module.call.zoomPanel(event.clientX - left, event.clientY - top, event.scale / scale);
                    scale = event.scale;
                    this.wake();
                },
                { signal: this.ended.signal },
            );
    }

    /** Whether it is seen now. */
    look() {
        const isSeen = this.isInView && !document.hidden && !this.ended.signal.aborted;
        if (isSeen === this.isSeen) return;
        this.isSeen = isSeen;
        this.onSeen(isSeen);
        // The browser may have dropped the picture.
        if (isSeen) this.fit();
    }

    /** Ends it: the canvas keeps its last picture and may get another panel. */
    close() {
        this.ended.abort();
        clearTimeout(this.timer);
        if (this.frame !== undefined) cancelAnimationFrame(this.frame);
        this.look();
    }

    /** @param {number} [factor] of the scale */
    fit(factor = 1) {
        const { width, height, scale } = this.size();
        this.resizeCanvas(width, height, scale);
        this.module.call.resizePanel(width, height, scale * factor);
        this.wake(true);
    }

    /**
     * @param {keyof typeof phases} type
     * @param {PointerEvent} event
     */
    point(type, event) {
        const { call } = this.module;
        const { pointerId, offsetX, offsetY } = event;
        const wasDown = this.down.has(pointerId);
        let phase = phases[type];
        // Further buttons of a mouse or pen arrive as moves, whichever went down first.
        if (event.pointerType !== "touch" && type !== "pointercancel") {
            const isPressed = event.buttons & pressing;
            if (!wasDown) phase = isPressed && pressers.includes(event.button) ? phases.pointerdown : phases.pointermove;
            else phase = isPressed ? phases.pointermove : phases.pointerup;
        }
        if (phase === phases.pointerdown) {
            this.down.add(pointerId);
            this.canvas.setPointerCapture(pointerId);
            this.canvas.focus({ preventScroll: true });
        } else if (!wasDown) {
            if (event.pointerType !== "touch" && !event.buttons) call.hoverPanel(offsetX, offsetY);
            return this.wake();
        } else if (phase !== phases.pointermove) this.down.delete(pointerId);
        call.touchPanel(pointerId, phase, offsetX, offsetY, modifiers(event));
        this.wake();
    }

    /** @param {KeyboardEvent} event */
    press(event) {
        if (event.altKey) return; // back, forward, menus
        const key = keys.indexOf(event.key) + 1; // 0 is any other
        const code = event.key.length === 1 ? event.key.charCodeAt(0) : 0;
        const character = code < 127 ? code : 0;
        // An open field takes every key; those that it does nothing with are left to the browser.
        const isUsed = this.module.call.keyPanel(key, character, modifiers(event));
        if (isUsed && (key || (character && !event.ctrlKey && !event.metaKey))) event.preventDefault();
        this.wake();
    }

    /** @param {WheelEvent} event */
    turnWheel(event) {
        event.preventDefault();
        const { call } = this.module;
        // With Shift some browsers turn it sideways.
        const delta = event.deltaY || (event.shiftKey ? event.deltaX : 0);
        const isSmooth = event.deltaMode === 0 && Math.abs(delta) < wheelNotch / 2;
        // A trackpad's pinch arrives as a smooth wheel with Ctrl.
        if (event.ctrlKey && isSmooth) call.zoomPanel(event.offsetX, event.offsetY, Math.exp(-delta / wheelNotch));
        else {
            this.wheel -= event.deltaMode === 0 ? delta / wheelNotch : delta / 3;
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
        if (!this.isSeen) return;
        if (now) return this.pump();
        this.frame ??= requestAnimationFrame(() => {
            this.frame = undefined;
            this.pump();
        });
    }

    pump() {
        clearTimeout(this.timer);
        const next = this.module.call.pump() * 1000;
        for (let edit = this.module.call.takeEdit(); edit; edit = this.module.call.takeEdit()) {
            const [kind, address, value] = new Float64Array(this.module.memory.buffer, edit, 3);
            if (kind === 1) this.onEdit(address, value);
            if (kind === 2) this.onGesture();
        }
        this.timer = undefined;
        const now = performance.now();
        this.due = now + next;
        if (!this.isSeen || now - this.lastEvent > quietAfter || !Number.isFinite(next)) return;
        // While the sound plays, its next picture comes soon after, and pumps in a task that is there anyway.
        const grace = now - this.lastShown < longestRing ? longestRing : 0;
        this.timer = setTimeout(() => this.pump(), Math.ceil(next) + grace); // browsers cut fractions
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

    /**
     * The last frames of the output, left and then right.
     * @param {Float32Array} ring
     */
    show(ring) {
        const now = performance.now();
        if (stillMotion.matches && now - this.lastShown < stillInterval) return;
        this.lastEvent = this.lastShown = now;
        const frames = ring.length / 2;
        for (const channel of [0, 1])
            this.module
                .floats(this.module.call.ring(channel), frames)
                .set(ring.subarray(channel * frames, (channel + 1) * frames));
        if (this.isSeen && now >= this.due) this.pump();
    }
}
