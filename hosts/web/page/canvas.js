// @ts-check
// Replays the drawing commands of platform/coregraphics/canvas on the page's canvases.

/** @typedef {OffscreenCanvasRenderingContext2D | CanvasRenderingContext2D} Context */

const caps = /** @type {const} */ (["butt", "round", "square"]);
const joins = /** @type {const} */ (["miter", "round", "bevel"]);
const far = 1e5; // beyond any canvas, in its user space

/**
 * @param {number} width
 * @param {number} height
 */
function makeContext(width, height) {
    const canvas = new OffscreenCanvas(width, height);
    return /** @type {Context} */ (canvas.getContext("2d"));
}

/**
 * @param {number} red
 * @param {number} green
 * @param {number} blue
 * @param {number} alpha
 */
function color(red, green, blue, alpha) {
    return `rgba(${red * 255},${green * 255},${blue * 255},${alpha})`;
}

/** The canvases of one module; the one that is seen is `window`. */
export class Canvases {
    /** @param {HTMLCanvasElement} window */
    constructor(window) {
        // Desynchronized, so that a picture needs no frame of the page, which costs as much as the picture.
        const options = { alpha: false, desynchronized: true };
        this.window = /** @type {CanvasRenderingContext2D} */ (window.getContext("2d", options));
        window.width = 1; // forgets the state of a panel before this one
        /** @type {Map<number, Context>} */
        this.contexts = new Map();
        /** The contexts below the layers that are open. @type {Context[]} */
        this.below = [];
        /** @type {Context} */
        this.context = this.window;
        /** @type {ArrayBuffer} */
        this.memory = new ArrayBuffer(0);
        this.pixels = makeContext(1, 1); // for drawPixels()
        this.commands = this.makeCommands();
    }

    /**
     * @param {Float64Array} words
     * @param {ArrayBuffer} memory
     */
    replay(words, memory) {
        this.memory = memory;
        for (let at = 0; at < words.length; ) at = this.commands[words[at]](words, at + 1);
    }

    /** After a loss of what canvases hold. */
    restore() {
        this.pixels = makeContext(1, 1);
    }

    /** @param {number} canvas */
    read(canvas) {
        const context = this.of(canvas);
        return context.getImageData(0, 0, context.canvas.width, context.canvas.height).data;
    }

    /** @param {number} canvas */
    of(canvas) {
        return /** @type {Context} */ (this.contexts.get(canvas));
    }

    /**
     * Fills the clip.
     * @param {CanvasGradient} gradient
     * @param {Float64Array} w
     * @param {number} at of the number of stops
     */
    paint(gradient, w, at) {
        const end = at + 1 + 5 * w[at];
        for (let i = at + 1; i < end; i += 5) gradient.addColorStop(w[i], color(w[i + 1], w[i + 2], w[i + 3], w[i + 4]));
        const before = this.context.fillStyle;
        this.context.fillStyle = gradient;
        this.context.fillRect(-far, -far, 2 * far, 2 * far);
        this.context.fillStyle = before;
        return end;
    }

    beginLayer() {
        const context = this.context;
        const layer = makeContext(context.canvas.width, context.canvas.height);
        layer.setTransform(context.getTransform());
        layer.fillStyle = context.fillStyle;
        layer.strokeStyle = context.strokeStyle;
        layer.lineWidth = context.lineWidth;
        this.below.push(context);
        this.context = layer;
    }

    endLayer() {
        const layer = this.context;
        this.context = this.below.pop() ?? layer;
        const transform = this.context.getTransform();
        this.context.setTransform(1, 0, 0, 1, 0, 0);
        this.context.drawImage(layer.canvas, 0, 0);
        this.context.setTransform(transform);
    }

    /**
     * Pixels of the module's memory, as ImageData has them.
     * @param {Float64Array} w
     * @param {number} a
     */
    drawPixels(w, a) {
        const [address, width, height, x, y, toWidth, toHeight] = w.subarray(a, a + 7);
        const { canvas } = this.pixels;
        // Another size would make the browser allocate it anew.
        if (canvas.width < width) canvas.width = width;
        if (canvas.height < height) canvas.height = height;
        const bytes = new Uint8ClampedArray(this.memory, address, 4 * width * height);
        this.pixels.putImageData(new ImageData(bytes, width, height), 0, 0);
        this.context.drawImage(canvas, 0, 0, width, height, x, y, toWidth, toHeight);
    }

    /**
     * Shows a part of the window's picture, which from then on is drawn on the window itself.
     * @param {number} canvas
     * @param {Float64Array} part
     */
    show(canvas, [x, y, width, height]) {
        const picture = this.of(canvas);
        if (picture === this.window) return;
        this.window.drawImage(picture.canvas, x, y, width, height, x, y, width, height);
        const isWhole = [picture, this.window].every(
            (context) => context.canvas.width === x + width && context.canvas.height === y + height,
        );
        if (isWhole) this.contexts.set(canvas, this.window);
    }

    /**
     * In the order of CanvasCommand. Each gets the words and where its arguments begin, and returns where they end.
     * @returns {((w: Float64Array, a: number) => number)[]}
     */
    makeCommands() {
        return [
            (w, a) => (this.contexts.set(w[a], makeContext(w[a + 1], w[a + 2])), a + 3),
            (w, a) => (this.contexts.delete(w[a]), a + 1),
            (w, a) => ((this.context = this.contexts.get(w[a]) ?? this.window), a + 1),
            (_, a) => (this.context.save(), a),
            (_, a) => (this.context.restore(), a),
            (w, a) => (this.context.transform(w[a], w[a + 1], w[a + 2], w[a + 3], w[a + 4], w[a + 5]), a + 6),
            (w, a) => ((this.context.fillStyle = color(w[a], w[a + 1], w[a + 2], w[a + 3])), a + 4),
            (w, a) => ((this.context.strokeStyle = color(w[a], w[a + 1], w[a + 2], w[a + 3])), a + 4),
            (w, a) => ((this.context.lineWidth = w[a]), a + 1),
            (w, a) => ((this.context.lineCap = caps[w[a]]), a + 1),
            (w, a) => ((this.context.lineJoin = joins[w[a]]), a + 1),
            (w, a) => {
                this.context.setLineDash(Array.from(w.subarray(a + 2, a + 2 + w[a + 1])));
                this.context.lineDashOffset = w[a];
                return a + 2 + w[a + 1];
            },
            (w, a) => ((this.context.globalAlpha = w[a]), a + 1),
            (_, a) => (this.context.beginPath(), a),
            (w, a) => (this.context.moveTo(w[a], w[a + 1]), a + 2),
            (w, a) => (this.context.lineTo(w[a], w[a + 1]), a + 2),
            (w, a) => (this.context.bezierCurveTo(w[a], w[a + 1], w[a + 2], w[a + 3], w[a + 4], w[a + 5]), a + 6),
            (_, a) => (this.context.closePath(), a),
            (_, a) => (this.context.stroke(), this.context.beginPath(), a),
            (_, a) => (this.context.fill(), this.context.beginPath(), a),
            (_, a) => (this.context.clip(), this.context.beginPath(), a),
            (w, a) => (this.context.clearRect(w[a], w[a + 1], w[a + 2], w[a + 3]), a + 4),
            (_, a) => (this.beginLayer(), a),
            (_, a) => (this.endLayer(), a),
            (w, a) => this.paint(this.context.createLinearGradient(w[a], w[a + 1], w[a + 2], w[a + 3]), w, a + 4),
            (w, a) =>
                this.paint(
                    this.context.createRadialGradient(w[a], w[a + 1], w[a + 2], w[a + 3], w[a + 4], w[a + 5]),
                    w,
                    a + 6,
                ),
            (w, a) => (this.drawPixels(w, a), a + 7),
            (w, a) => {
                this.context.drawImage(this.of(w[a]).canvas, w[a + 1], w[a + 2], w[a + 3], w[a + 4]);
                return a + 5;
            },
            (w, a) => (this.show(w[a + 1], w.subarray(a + 2, a + 6)), a + 6),
        ];
    }
}
