// @ts-check
// The figures of `kelvane measure`: of the whole sound before and after the effect, and of what is heard just now.

/** @typedef {import("./job.js").FigureTable} FigureTable */

const measureDelay = 400; // milliseconds from the last change of a setting
const none = "\u2013";
/** Name, unit, and the range that a meter has to have. @type {[string, string, number, number][]} */
const heardRows = [
    ["Correlation", "", -1, 1],
    ["Side to mid", "dB", -60, 60],
    ["Balance", "dB", -60, 60],
    ["Peak L", "dBFS", -120, 20],
    ["Peak R", "dBFS", -120, 20],
];

/**
 * @param {string} tag
 * @param {(string | Node)[]} content
 */
function make(tag, ...content) {
    const made = document.createElement(tag);
    made.append(...content);
    return made;
}

export class Figures {
    /**
     * @param {HTMLElement} box what they are shown in
     * @param {import("./panel.js").Panel} panel
     * @param {() => Promise<FigureTable> | undefined} measure the sound with the present settings; none for an input
     */
    constructor(box, panel, measure) {
        this.box = box;
        this.panel = panel;
        this.measure = measure;
        this.isMeasuring = this.isDue = false;
        /** @type {ReturnType<typeof setTimeout> | undefined} */
        this.timer = undefined;
        this.meters = heardRows.map(([name, unit, least, most]) => {
            const meter = make("b", none);
            for (const [key, value] of Object.entries({ label: name, valuemin: least, valuemax: most, valuenow: least }))
                meter.setAttribute(`aria-${key}`, String(value));
            meter.setAttribute("role", "meter");
            return { meter, name, unit };
        });
        const heard = make("div", ...this.meters.map(({ meter, name, unit }) => make("div", unit ? `${name}, ${unit}` : name, meter)));
        heard.className = "heard";
        this.table = make("table");
        this.remarks = make("div");
        box.replaceChildren(heard, this.table, this.remarks);
    }

    /** @param {boolean} isShown */
    show(isShown) {
        this.box.hidden = !isShown;
        if (isShown) this.update();
    }

    /** A setting or the sound has changed. */
    changed() {
        if (this.box.hidden) return;
        this.box.setAttribute("aria-busy", "true");
        clearTimeout(this.timer);
        this.timer = setTimeout(() => this.update(), measureDelay);
    }

    async update() {
        if (this.isMeasuring) {
            this.isDue = true;
            return;
        }
        this.isMeasuring = true;
        do {
            this.isDue = false;
            this.write(await this.measure()?.catch(() => undefined));
        } while (this.isDue);
        this.isMeasuring = false;
        this.box.removeAttribute("aria-busy");
    }

    /** @param {FigureTable | undefined} figures */
    write(figures) {
        const head = (/** @type {string} */ text, scope = "col") => Object.assign(make("th", text), { scope });
        const rows = figures?.rows.map(([name, unit, before, after]) =>
            make("tr", head(name, "row"), make("td", before), make("td", after), make("td", unit)),
        );
        this.table.replaceChildren(make("tr", make("td"), head("before"), head("after"), make("td")), ...(rows ?? []));
        this.table.hidden = !figures;
        const [before, after] = figures?.remarks ?? [[], []];
        this.remarks.replaceChildren(
            ...before.map((remark) => make("p", `Before: ${remark}`)),
            ...after.map((remark) => make("p", `After: ${remark}`)),
        );
    }

    /**
     * New frames, which the panel need not show.
     * @param {Float32Array} ring left and then right
     */
    hear(ring) {
        if (this.box.hidden) return;
        const { module } = this.panel;
        module.floats(module.call.heardRing(), ring.length).set(ring);
        module.call.hear();
    }

    /** Writes what was heard. With the page's other texts, so that it costs no layout of its own. */
    tick() {
        if (this.box.hidden) return;
        this.writeHeard(JSON.parse(this.panel.module.takeText(this.panel.module.call.heardFigures())));
    }

    /** Nothing is heard any more. */
    rest() {
        this.writeHeard(this.meters.map(() => none));
    }

    /** @param {string[]} texts */
    writeHeard(texts) {
        this.meters.forEach(({ meter, unit }, i) => {
            const text = texts[i].replace("-", "\u2212");
            if (meter.textContent === text) return;
            meter.textContent = text;
            meter.setAttribute("aria-valuetext", `${text} ${unit}`);
            if (Number.isFinite(Number(texts[i]))) meter.setAttribute("aria-valuenow", texts[i]);
        });
    }
}
