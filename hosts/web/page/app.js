// @ts-check
// The page: panel, sliders, sound and what is kept.

import { Figures, Heard } from "./figures.js";
import { moduleBytes, Panel } from "./kelvane.js";
import { makeInput, showOn, stillInterval, stillMotion } from "./panel.js";
import { parameters, presets as factoryPresets, presetValues } from "./parameters.js";
import { Offline, Player, readSound, sourceOf, stopTracks } from "./sound.js";
import { UndoHistory } from "./undo.js";

/**
 * @template {HTMLElement} T
 * @param {string} id
 */
const element = (id) => /** @type {T} */ (document.getElementById(id));
const canvas = /** @type {HTMLCanvasElement} */ (element("panel"));
const play = element("play");
const seek = /** @type {HTMLInputElement} */ (element("seek"));
const source = /** @type {HTMLSelectElement} */ (element("source"));
const file = /** @type {HTMLInputElement} */ (element("file"));
const presets = /** @type {HTMLSelectElement} */ (element("preset"));
const message = element("message");
const keptKey = "kelvane settings";
const invitation = "Press Play to hear it.";
const rendering = "Rendering…";
/** Seconds. @type {Record<string, number>} */
const seekKeys = { ArrowLeft: -1, ArrowDown: -1, ArrowRight: 1, ArrowUp: 1, PageDown: -10, PageUp: 10 };
const startTimeout = 3000; // milliseconds
const tickInterval = 500; // milliseconds; each costs the browser a picture of its own
const heardDelay = 250; // milliseconds, more than from the sound to the page

const bytes = await moduleBytes().catch((error) => {
    say(`The page could not be loaded: ${error.message}. Reload it.`);
    throw error;
});
const panel = new Panel(canvas, bytes);
valuesOf(location.hash.slice(1)).forEach((value, address) => panel.setValue(address, value));
/** @type {Map<number, HTMLInputElement>} */
const inputs = new Map();
const player = new Player((address) => panel.value(address));
const phrase = readSound(bytes, player.context);
/** The file that was opened last. @type {{name: string, sound: import("./sound.js").PlayedSound} | undefined} */
let opened;
/** @type {Offline | undefined} */
let offline;
const heard = new Heard(element("heard"), panel.module);
const figures = new Figures(element("figures"), () => ask(true), (fault) => player.stream || say(fault));
/** A and B, which at first are the same. */
const sets = [new UndoHistory(presentValues()), new UndoHistory(presentValues())];
let heardSet = 0;
/** When each value was last set here. */
const setTimes = parameters.map(() => -Infinity);

function presentValues() {
    return parameters.map(({ address }) => panel.value(address));
}

/**
 * The sound as a file, or its figures. Undefined if the sound was changed meanwhile.
 * @param {boolean} isMeasured
 */
async function ask(isMeasured) {
    await player.ready;
    if (player.stream) throw new Error(`An input cannot be ${isMeasured ? "measured" : "saved"}; choose a file.`);
    if (!player.sound) throw new Error("There is no sound; choose a file.");
    const asked = (offline ??= new Offline(bytes, sourceOf(player.sound)));
    return asked.ask(presentValues(), isMeasured).catch((error) => {
        if (asked === offline) throw error;
    });
}

function soundChanged() {
    showSource();
    offline?.end();
    offline = undefined;
    figures.changed();
}

/** @param {unknown} what */
function say(what) {
    message.textContent = what instanceof Error ? what.message : String(what);
}

/**
 * Says something instead of a line, unless another one was said since.
 * @param {string} line
 * @param {string} [next]
 */
function replaceLine(line, next = "") {
    if (message.textContent === line) say(next);
}

// The settings

/**
 * Follows a slider. What a finger sets that then scrolls the page is taken back.
 * @param {HTMLInputElement} slider
 * @param {() => number} get
 * @param {(value: number) => void} set
 */
function onSlide(slider, get, set) {
    let before = 0;
    let isScrolling = false;
    slider.addEventListener("pointerdown", () => (before = get()));
    slider.addEventListener("pointercancel", () => {
        isScrolling = true;
        set(before);
    });
    for (const type of ["touchend", "touchcancel"]) slider.addEventListener(type, () => (isScrolling = false));
    // Some browsers move the slider on while they scroll.
    slider.addEventListener("input", () => set(isScrolling ? before : slider.valueAsNumber));
}

/** @param {typeof parameters[number]} parameter */
function addControl({ address, name: title, isSwitch, initial, help }) {
    const label = document.createElement("label");
    const input = makeInput(isSwitch);
    const text = document.createElement("span");
    const shown = document.createElement("span");
    text.textContent = title;
    label.title = help;
    input.id = `parameter-${address}`;
    if (isSwitch) {
        label.append(input, text);
    } else {
        input.addEventListener("dblclick", () => apply((at) => (at === address ? initial : panel.value(at))));
        label.className = "slider";
        shown.className = "value";
        shown.setAttribute("aria-hidden", "true"); // the slider's own value text is read
        label.append(text, shown, input);
    }
    if (isSwitch) input.addEventListener("input", () => change(address, Number(input.checked)));
    else onSlide(input, () => panel.value(address), (value) => change(address, value));
    input.addEventListener("change", record);
    inputs.set(address, input);
    element("controls").append(label);
}

/**
 * Shows a value on the page but for the panel.
 * @param {number} address
 * @param {number} value
 */
function show(address, value) {
    const input = inputs.get(address);
    if (!input) return;
    const text = panel.valueText(address, value);
    showOn(input, value, text);
    const shown = input.parentElement?.querySelector(".value");
    if (shown) shown.textContent = text;
    scheduleAddress();
    figures.changed();
}

/**
 * Sets a value from the page.
 * @param {number} address
 * @param {number} value
 */
function change(address, value) {
    panel.setValue(address, value);
    send(address, value);
}

/**
 * Passes on a value that the panel has.
 * @param {number} address
 * @param {number} value
 */
function send(address, value) {
    setTimes[address] = performance.now();
    player.withNode((node) => node.set(address, value));
    show(address, value);
}

/** The settings that are not as at first, as in an address. */
function settings() {
    const parts = parameters
        .filter(({ address, initial }) => panel.value(address) !== initial)
        .map(({ address, option }) => `${option}=${shortest(panel.value(address))}`);
    return parts.join("&");
}

/**
 * The shortest number that is read back as the same 32-bit float.
 * @param {number} value
 */
function shortest(value) {
    const numbers = [1, 2, 3, 4, 5, 6, 7, 8, 9].map((digits) => Number(value.toPrecision(digits)));
    return numbers.find((number) => Math.fround(number) === value);
}

/**
 * The values of an address's settings.
 * @param {string} text
 */
function valuesOf(text) {
    const given = new URLSearchParams(text);
    return parameters.map(({ option, initial }) => {
        const value = Number(given.get(option)?.trim() || NaN);
        return value >= 0 && value <= 1 ? Math.fround(value) : initial;
    });
}

/**
 * Sets all values in one step.
 * @param {(address: number) => number} valueOf
 */
function apply(valueOf) {
    for (const { address } of parameters) change(address, valueOf(address));
    record();
}

// Undo, redo and the comparison of two settings

const undo = /** @type {HTMLButtonElement} */ (element("undo"));
const redo = /** @type {HTMLButtonElement} */ (element("redo"));
const compare = element("compare");

/** After a gesture. */
function record() {
    sets[heardSet].record(presentValues());
    undo.disabled = !sets[heardSet].past.length;
    redo.disabled = !sets[heardSet].future.length;
    compare.setAttribute("aria-pressed", String(heardSet === 1));
    showPreset();
}

/** @param {number[] | undefined} values */
const goTo = (values) => values && apply((address) => values[address]);
undo.addEventListener("click", () => goTo(sets[heardSet].undo()));
redo.addEventListener("click", () => goTo(sets[heardSet].redo()));
compare.addEventListener("click", () => {
    record(); // what MIDI has changed
    heardSet = 1 - heardSet;
    goTo(sets[heardSet].now);
});
document.addEventListener("keydown", (event) => {
    if (event.defaultPrevented || !(event.ctrlKey || event.metaKey) || event.key.toLowerCase() !== "z") return;
    event.preventDefault();
    goTo(event.shiftKey ? sets[heardSet].redo() : sets[heardSet].undo());
});
panel.onGesture = record;

let isAddressDue = false;
function scheduleAddress() {
    if (isAddressDue) return;
    isAddressDue = true;
    // Browsers refuse more than a hundred changes in ten seconds.
    setTimeout(() => {
        isAddressDue = false;
        showPreset();
        const text = settings();
        if (location.hash.slice(1) !== text) history.replaceState(null, "", text ? `#${text}` : location.pathname + location.search);
    }, 300);
}

/** @returns {Record<string, string>} */
function keptSettings() {
    try {
        return Object(JSON.parse(localStorage.getItem(keptKey) ?? "{}"));
    } catch {
        return {};
    }
}

const forget = element("forget");
/** The values of each entry of the list. @type {Map<string, number[]>} */
const listed = new Map(presetValues.map((values, number) => [`factory ${number}`, values]));

/** @param {string} chosen */
function listPresets(chosen) {
    const kept = Object.entries(keptSettings());
    presets.replaceChildren(
        new Option("Settings…", ""),
        ...factoryPresets.map((title, number) => new Option(title, `factory ${number}`)),
        ...kept.map(([title]) => new Option(title, `kept ${title}`)),
    );
    for (const entry of listed.keys()) if (entry.startsWith("kept ")) listed.delete(entry);
    for (const [title, text] of kept) listed.set(`kept ${title}`, valuesOf(text));
    presets.value = chosen;
    showPreset();
}

/** Shows the preset that has the present values; of several the chosen one. */
function showPreset() {
    const now = presentValues();
    const isPresent = (/** @type {string} */ entry) => listed.get(entry)?.every((value, address) => value === now[address]);
    if (!isPresent(presets.value)) presets.value = [...listed.keys()].find(isPresent) ?? "";
    forget.hidden = !presets.value.startsWith("kept ");
}

presets.addEventListener("change", () => {
    const [kind, number] = presets.value.split(" ");
    if (kind === "factory") panel.module.call.selectPreset(Number(number)); // the panel shows its name
    goTo(listed.get(presets.value));
    showPreset();
});

/**
 * Keeps settings, and shows one of them.
 * @param {Record<string, string>} kept
 * @param {string} chosen
 * @param {string} done
 */
function keep(kept, chosen, done) {
    try {
        localStorage.setItem(keptKey, JSON.stringify(kept));
        listPresets(chosen);
        say(done);
    } catch {
        say("The browser keeps nothing for this page; the address holds the setting.");
    }
}

addEventListener("storage", () => listPresets(presets.value)); // another tab has kept a setting
element("keep").addEventListener("click", () => {
    const title = prompt("Name of the setting")?.trim();
    if (!title || (Object.hasOwn(keptSettings(), title) && !confirm(`Replace “${title}”?`))) return;
    keep({ ...keptSettings(), [title]: settings() }, `kept ${title}`, `“${title}” is kept in this browser.`);
});
forget.addEventListener("click", () => {
    const kept = keptSettings();
    const title = presets.value.slice("kept ".length);
    if (!confirm(`Delete “${title}”?`)) return;
    delete kept[title];
    presets.focus();
    keep(kept, "", `“${title}” is deleted.`);
});

panel.onEdit = send;
parameters.forEach(addControl);
parameters.forEach(({ address }) => show(address, panel.value(address)));
listPresets("");
addEventListener("hashchange", () => goTo(valuesOf(location.hash.slice(1))));

// The sound

player.ready = phrase
    .then((sound) => {
        if (player.sound || player.stream) return; // a file was faster
        player.use(sound);
        soundChanged();
    })
    .catch(say);
player.node.then(
    (node) => {
        panel.setRate(player.context.sampleRate);
        parameters.forEach(({ address }) => show(address, panel.value(address)));
        node.onHeard = (address, value) => {
            // It may be older than what was set here since, which stands.
            if (performance.now() - setTimes[address] < heardDelay) return node.set(address, panel.value(address));
            panel.setValue(address, value);
            show(address, value);
        };
        node.onprocessorerror = () => say("The effect has ended with a fault. Reload the page.");
        node.onRing = (ring) => {
            if (player.isPlaying && !document.hidden) heard.hear(ring, player.context.sampleRate); // it may be late
            panel.show(ring);
        };
        showPlaying();
    },
    say,
);

/** @type {ReturnType<typeof setInterval> | undefined} */
let positionTimer;
function showPlaying() {
    const isPlaying = player.isPlaying;
    play.textContent = isPlaying ? "Pause" : "Play";
    player.withNode((node) => node.watch(isPlaying && !document.hidden));
    clearInterval(positionTimer);
    if (isPlaying && !document.hidden) positionTimer = setInterval(tick, stillMotion.matches ? stillInterval : tickInterval);
    if (!isPlaying || document.hidden) heard.rest();
    showPosition();
    showSource();
}

/** What plays, whatever was tried. */
function showSource() {
    source.value = player.stream ? "input" : isOpened() ? "opened" : "phrase";
}

/** Whether the sound is the opened file, not the phrase. */
function isOpened() {
    return opened !== undefined && player.sound === opened.sound;
}

function tick() {
    showPosition();
    heard.tick();
}

function showPosition() {
    const { duration, position } = player;
    seek.disabled = !duration;
    if (!duration) return;
    const seconds = (/** @type {number} */ s) => `${Math.floor(s / 60)}:${String(Math.floor(s % 60)).padStart(2, "0")}`;
    seek.max = String(duration);
    seek.value = String(position);
    const text = `${seconds(position)} of ${seconds(duration)}`;
    if (seek.getAttribute("aria-valuetext") !== text) seek.setAttribute("aria-valuetext", text);
}

player.onChange = showPlaying;
player.onLost = () => {
    soundChanged();
    say("The input is gone; choose another source.");
};
player.onFault = say;
document.addEventListener("visibilitychange", showPlaying);
play.addEventListener("click", () => {
    if (player.isPlaying) return player.pause();
    replaceLine(invitation);
    start().catch(say);
});
onSlide(seek, () => player.position, (seconds) => {
    player.seek(seconds);
    showPosition();
});
seek.addEventListener("keydown", (event) => {
    const seconds = seekKeys[event.key];
    if (!seconds) return;
    event.preventDefault();
    player.seek(Math.min(Math.max(player.position + seconds, 0), player.duration));
    showPosition();
});
element("loop").addEventListener("change", (event) =>
    player.setLoop(/** @type {HTMLInputElement} */ (event.target).checked),
);

function start() {
    setTimeout(() => {
        if (player.context.state !== "running" && player.isWanted) say("The browser starts no sound; is there an output?");
    }, startTimeout);
    return player.play();
}

let choices = 0;
let lastUsed = 0;
/**
 * Changes to another source, and plays on. False if one that was chosen later is used already, also if this one fails.
 * @template T
 * @param {Promise<T>} found
 * @param {(found: T) => void} use
 */
async function choose(found, use) {
    const choice = ++choices;
    const what = await found.catch((error) => {
        if (choice > lastUsed) throw error;
    });
    if (choice < lastUsed) {
        if (what instanceof MediaStream) stopTracks(what);
        return false;
    }
    const wasWanted = player.isWanted;
    use(/** @type {T} */ (what));
    lastUsed = choice;
    soundChanged();
    if (wasWanted && !player.stream) start().catch(say); // an input is started by who asked for it
    return true;
}

/** @param {File} chosen */
async function open(chosen) {
    const reading = `Reading ${chosen.name}…`;
    say(reading);
    try {
        const isUsed = await choose(readSound(bytes, player.context, chosen), (sound) => {
            player.use(sound);
            opened = { name: chosen.name.replace(/\.[^.]*$/, ""), sound };
            source.querySelector("[value=opened]")?.remove();
            source.options[0].after(new Option(chosen.name, "opened"));
        });
        if (!isUsed || !player.sound) return replaceLine(reading);
        const { stated = 0, buffer } = player.sound;
        const rate = buffer.sampleRate;
        const seconds = player.duration.toFixed(1);
        if (player.sound.isUnfinished) return say(`${chosen.name} was never finished: ${rate} Hz, ${seconds} s are there.`);
        if (stated <= buffer.length) say(`${chosen.name}: ${rate} Hz, ${seconds} s.`);
        else say(`${chosen.name} ends early: ${rate} Hz, ${seconds} of ${(stated / rate).toFixed(1)} s are there.`);
    } catch (error) {
        say(error instanceof Error ? `${chosen.name}: ${error.message}` : error);
    }
}

async function listen() {
    try {
        if (!(await choose(player.askInput(), (stream) => player.useInput(stream)))) return;
        await start();
        say("Use headphones: the input is heard.");
    } catch (error) {
        player.closeInput();
        showPlaying();
        say(`The browser gives no input: ${error instanceof Error ? error.message : error}`);
    }
}

source.addEventListener("change", () => {
    const chosen = source.value;
    showSource();
    if (chosen === "input") listen();
    else choose(chosen === "opened" && opened ? Promise.resolve(opened.sound) : phrase, (sound) => player.use(sound)).catch(say);
});
element("open").addEventListener("click", () => file.click());
// The same file may be chosen again.
file.addEventListener("click", () => (file.value = ""));
file.addEventListener("change", () => file.files?.[0] && open(file.files[0]));
for (const type of ["dragover", "dragleave", "drop"])
    document.addEventListener(type, (event) => {
        event.preventDefault();
        document.body.classList.toggle("dropping", type === "dragover");
        const dropped = type === "drop" && /** @type {DragEvent} */ (event).dataTransfer;
        if (!dropped || !dropped.files.length) return;
        if (dropped.files.length > 1 || dropped.items[0].webkitGetAsEntry()?.isDirectory) say("Drop one sound file.");
        else open(dropped.files[0]);
    });

element("export").addEventListener("click", async () => {
    say(rendering);
    try {
        const made = await ask(false);
        if (!made || !player.sound) return replaceLine(rendering, "The sound was changed while it was rendered.");
        const { buffer, isExact } = player.sound;
        const link = document.createElement("a");
        link.download = `${(isOpened() && opened?.name) || "phrase"}-kelvane.wav`;
        link.href = URL.createObjectURL(made);
        link.click();
        setTimeout(() => URL.revokeObjectURL(link.href), 60000);
        say(`${link.download}: 32-bit float, ${isExact ? "as `kelvane render --subtype float` writes it" : `${buffer.sampleRate} Hz`}.`);
    } catch (error) {
        say(error);
    }
});

const measured = element("measure");
measured.addEventListener("click", () => {
    const isShown = element("figures").hidden;
    measured.setAttribute("aria-expanded", String(isShown));
    figures.show(isShown);
});

// MIDI

const midi = element("midi");
midi.hidden = !("requestMIDIAccess" in navigator);
midi.addEventListener("click", async () => {
    try {
        const access = await navigator.requestMIDIAccess();
        const listen = () =>
            access.inputs.forEach((input) => {
                input.onmidimessage = ({ data }) => data && player.withNode((node) => node.midi([...data]));
            });
        access.onstatechange = listen;
        listen();
        say("MIDI: controllers 7, 10 and 11 set volume, panorama and width.");
    } catch {
        say("The browser gives no MIDI.");
    }
});

replaceLine("Loading…", invitation);
navigator.serviceWorker?.register("offline.js").catch(() => {}); // without it the page needs the network
