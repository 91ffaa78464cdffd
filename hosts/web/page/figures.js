// @ts-check
// The figures of `kelvane measure`: of the whole sound before and after the effect, and of what is heard just now.

/** @typedef {import("./job.js").FigureTable} FigureTable */

const measureDelay = 400; // milliseconds from the last change of a setting
const none = "\u2013";
const heldTicks = 3; // for which the lowest correlation is shown

/**
 * @param {string} tag
 * @param {(string | Node)[]} content
 */
function make(tag, ...content) {
    const made = document.createElement(tag);
    made.append(...content);
    return made;
}

/** The figures of what is heard just now, on meters of the page. */
export class Heard {
    /**
     * @param {HTMLElement} box
     * @param {import("./module.js").Module} module
     */
    constructor(box, module) {
        this.module = module;
        this.meters = [...box.querySelectorAll("[role=meter]")];
        this.units = this.meters.map((meter) => meter.parentElement?.querySelector("small")?.textContent ?? "");
        const [bar, lowest] = box.querySelectorAll("i");
        this.bar = bar.style;
        this.lowest = lowest.style;
        /** The lowest correlation of each of the last ticks. @type {number[]} */
        this.lows = [];
    }

    /**
     * New frames, which the panel need not show.
     * @param {Float32Array} ring left and then right
     * @param {number} rate frames a second
     */
    hear(ring, rate) {
        this.module.floats(this.module.call.heardRing(), ring.length).set(ring);
        this.module.call.hear(rate);
    }

    /** Writes what was heard. With the page's other texts, so that it costs no picture of its own. */
    tick() {
        const texts = JSON.parse(this.module.takeText(this.module.call.heardFigures()));
        this.lows = [...this.lows, Number(texts.pop())].slice(-heldTicks);
        this.write(texts);
    }

    /** Nothing is heard any more. */
    rest() {
        this.module.call.forgetHeard();
        this.lows = [];
        this.write(this.meters.map(() => none));
    }

    /** @param {string[]} texts */
    write(texts) {
        this.meters.forEach((meter, i) => {
            const text = texts[i] === "-" ? none : texts[i].replace("-", "\u2212");
            if (meter.textContent === text) return;
            meter.textContent = text;
            meter.setAttribute("aria-valuetext", text === none ? "no sound" : `${text.replace("inf", "infinity")} ${this.units[i]}`);
            if (Number.isFinite(Number(texts[i]))) meter.setAttribute("aria-valuenow", texts[i]);
        });
        const correlation = Number(texts[0]);
        this.bar.transform = `scaleX(${correlation || 0})`;
        this.lowest.visibility = Number.isFinite(correlation) ? "visible" : "hidden";
        this.lowest.left = `${50 + 50 * Math.min(...this.lows, 1)}%`;
    }
}

/** Those of the whole sound, in a table. */
export class Figures {
    /**
     * @param {HTMLElement} box what they are shown in
     * @param {() => Promise<FigureTable | undefined>} measure the sound with the present settings; nothing if the sound was
     * changed meanwhile
     * @param {(fault: unknown) => void} onFault
     */
    constructor(box, measure, onFault) {
        this.box = box;
        this.measure = measure;
        this.onFault = onFault;
        this.isMeasuring = this.isDue = false;
        /** @type {ReturnType<typeof setTimeout> | undefined} */
        this.timer = undefined;
        this.table = Object.assign(make("table"), { hidden: true });
        this.remarks = make("div");
        box.replaceChildren(this.table, this.remarks);
    }

    /** @param {boolean} isShown */
    async show(isShown) {
        this.box.hidden = !isShown;
        if (!isShown) return;
        const updated = this.update();
        this.box.scrollIntoView({ block: "nearest" }); // with the word that it measures
        await updated;
        this.box.scrollIntoView({ block: "nearest" });
    }

    /** A setting or the sound has changed. */
    changed() {
        if (this.box.hidden) return;
        this.box.setAttribute("aria-busy", "true");
        clearTimeout(this.timer);
        this.timer = setTimeout(() => this.update(), measureDelay);
    }

    async update() {
        clearTimeout(this.timer);
        this.timer = undefined;
        this.isDue = true;
        this.box.setAttribute("aria-busy", "true");
        if (this.isMeasuring) return;
        if (this.table.hidden) this.write(undefined, "Measuring…");
        this.isMeasuring = true;
        while (this.isDue) {
            this.isDue = false;
            try {
                const figures = await this.measure();
                if (figures) this.write(figures);
            } catch (fault) {
                this.write(undefined, fault instanceof Error ? fault.message : String(fault));
                this.onFault(fault);
            }
        }
        this.isMeasuring = false;
        if (this.timer === undefined) this.box.removeAttribute("aria-busy");
    }

    /**
     * @param {FigureTable | undefined} figures
     * @param {string} [line] instead of them
     */
    write(figures, line) {
        const head = (/** @type {string} */ text, scope = "col") => Object.assign(make("th", text), { scope });
        const rows = figures?.rows.map(([name, unit, before, after]) =>
            make("tr", head(name, "row"), make("td", before), make("td", after), make("td", unit)),
        );
        this.table.replaceChildren(make("tr", make("td"), head("before"), head("after"), make("td")), ...(rows ?? []));
        this.table.hidden = !figures;
        const [before, after] = figures?.remarks ?? [[], []];
        this.remarks.replaceChildren(
            ...(line ? [make("p", line)] : []),
            ...before.map((remark) => make("p", `Before: ${remark}`)),
            ...after.map((remark) => make("p", `After: ${remark}`)),
        );
    }
}
