// @ts-check
// The page: panel, sliders, sound and what is kept.

import { Figures } from "./figures.js";
import { moduleBytes, Panel } from "./kelvane.js";
import { parameters, presets as factoryPresets } from "./parameters.js";
import { Offline, Player, playPhrase, readSound, stopTracks } from "./sound.js";
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
const stillMotion = matchMedia("(prefers-reduced-motion: reduce)");
const invitation = "Press Play to hear it.";
/** Seconds. @type {Record<string, number>} */
const seekKeys = { ArrowLeft: -1, ArrowDown: -1, ArrowRight: 1, ArrowUp: 1, PageDown: -10, PageUp: 10 };
const startTimeout = 3000; // milliseconds
const stillInterval = 1000; // milliseconds between two pictures of the sound where motion is unwanted

const bytes = await moduleBytes().catch((error) => {
    say(`The page could not be loaded: ${error.message}. Reload it.`);
    throw error;
});
const panel = new Panel(canvas, bytes);
/** @type {Map<number, HTMLInputElement>} */
const inputs = new Map();
const player = new Player((address) => panel.value(address));
const phrase = playPhrase(bytes);
/** The file that was opened last. @type {{name: string, sound: import("./sound.js").Sound} | undefined} */
let opened;
/** @type {Offline | undefined} */
let offline;
const figures = new Figures(element("figures"), panel, () => ask(true));
const steps = new UndoHistory(presentValues());

function presentValues() {
    return parameters.map(({ address }) => panel.value(address));
}

/**
 * The sound as a file, or its figures. Undefined for an input.
 * @param {boolean} isMeasured
 */
function ask(isMeasured) {
    if (!player.sound || player.stream) return;
    offline ??= new Offline(bytes, player.sound);
    return offline.ask(presentValues(), isMeasured);
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

// The settings

/** @param {typeof parameters[number]} parameter */
function addControl({ address, name: title, isSwitch, initial, help }) {
    const label = document.createElement("label");
    const input = document.createElement("input");
    const text = document.createElement("span");
    const output = document.createElement("output");
    text.textContent = title;
    label.title = help;
    input.id = `parameter-${address}`;
    if (isSwitch) {
        input.type = "checkbox";
        input.setAttribute("role", "switch");
        label.append(input, text);
    } else {
        Object.assign(input, { type: "range", min: "0", max: "1", step: "0.005", value: String(initial) });
        input.addEventListener("dblclick", () => apply((at) => (at === address ? initial : panel.value(at))));
        label.className = "slider";
        label.append(text, output, input);
    }
    input.addEventListener("input", () => change(address, isSwitch ? Number(input.checked) : input.valueAsNumber));
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
    if (input.type === "checkbox") input.checked = value > 0.5;
    else {
        input.value = String(value);
        input.setAttribute("aria-valuetext", text);
        const output = input.parentElement?.querySelector("output");
        if (output) output.textContent = text;
    }
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
    player.withNode((node) => node.set(address, value));
    show(address, value);
}

/** The settings that are not as at first, as in an address. */
function settings() {
    const parts = parameters
        .filter(({ address, initial }) => panel.value(address) !== initial)
        .map(({ address, option }) => `${option}=${Number(panel.value(address).toPrecision(6))}`);
    return parts.join("&");
}

/**
 * Sets all values in one step.
 * @param {(address: number) => number} valueOf
 */
function apply(valueOf) {
    for (const { address } of parameters) change(address, valueOf(address));
    record();
}

/** @param {string} text */
function applySettings(text) {
    const given = new URLSearchParams(text);
    apply((address) => {
        const { option, initial } = parameters[address];
        const value = Number(given.get(option) ?? initial);
        return value >= 0 && value <= 1 ? value : initial;
    });
}

// Undo, redo and the comparison of two settings

const undo = /** @type {HTMLButtonElement} */ (element("undo"));
const redo = /** @type {HTMLButtonElement} */ (element("redo"));
const compare = element("compare");

/** After a gesture. */
function record() {
    steps.record(presentValues());
    undo.disabled = !steps.past.length;
    redo.disabled = !steps.future.length;
    compare.setAttribute("aria-pressed", String(steps.isOther));
}

/** @param {number[] | undefined} values */
const goTo = (values) => values && apply((address) => values[address]);
undo.addEventListener("click", () => goTo(steps.undo()));
redo.addEventListener("click", () => goTo(steps.redo()));
compare.addEventListener("click", () => goTo(steps.swap()));
document.addEventListener("keydown", (event) => {
    if (event.defaultPrevented || !(event.ctrlKey || event.metaKey) || event.key.toLowerCase() !== "z") return;
    event.preventDefault();
    goTo(event.shiftKey ? steps.redo() : steps.undo());
});
panel.onGesture = record;

let isAddressDue = false;
function scheduleAddress() {
    if (isAddressDue) return;
    isAddressDue = true;
    // Browsers refuse more than a hundred changes in ten seconds.
    setTimeout(() => {
        isAddressDue = false;
        const text = settings();
        if (location.hash.slice(1) !== text) history.replaceState(null, "", text ? `#${text}` : location.pathname);
    }, 300);
}

/** @returns {Record<string, string>} */
function keptSettings() {
    try {
        return JSON.parse(localStorage.getItem(keptKey) ?? "{}");
    } catch {
        return {};
    }
}

function listPresets() {
    presets.replaceChildren(
        new Option("Settings…", ""),
        ...factoryPresets.map((title, number) => new Option(title, `factory ${number}`)),
        ...Object.keys(keptSettings()).map((title) => new Option(title, `kept ${title}`)),
    );
}

presets.addEventListener("change", () => {
    const [kind, ...rest] = presets.value.split(" ");
    if (kind === "factory") {
        panel.module.call.selectPreset(Number(rest[0]));
        apply((address) => panel.value(address));
    } else if (kind === "kept") applySettings(keptSettings()[rest.join(" ")] ?? "");
    presets.value = "";
});

addEventListener("storage", listPresets); // another tab has kept a setting
element("keep").addEventListener("click", () => {
    const title = prompt("Name of the setting")?.trim();
    if (!title) return;
    try {
        localStorage.setItem(keptKey, JSON.stringify({ ...keptSettings(), [title]: settings() }));
        listPresets();
        say(`“${title}” is kept in this browser.`);
    } catch {
        say("The browser keeps nothing for this page; the address holds the setting.");
    }
});

panel.onEdit = (/** @type {number} */ address, /** @type {number} */ value) => {
    player.withNode((node) => node.set(address, value));
    show(address, value);
};
parameters.forEach(addControl);
parameters.forEach(({ address, initial }) => show(address, initial));
listPresets();
applySettings(location.hash.slice(1));
steps.past = [];
record();
addEventListener("hashchange", () => applySettings(location.hash.slice(1)));

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
            panel.setValue(address, value);
            show(address, value);
        };
        let last = -Infinity;
        node.onRing = (ring) => {
            if (stillMotion.matches && performance.now() - last < stillInterval) return;
            last = performance.now();
            panel.show(ring);
            figures.hear();
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
    if (isPlaying && !document.hidden) positionTimer = setInterval(tick, 250);
    if (!isPlaying) figures.rest();
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
    figures.tick();
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
document.addEventListener("visibilitychange", showPlaying);
play.addEventListener("click", () => {
    if (player.isPlaying) return player.pause();
    if (message.textContent === invitation) say("");
    start().catch(say);
});
seek.addEventListener("input", () => player.seek(seek.valueAsNumber));
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
/**
 * Changes to another source, and plays on. False if another one was chosen meanwhile.
 * @template T
 * @param {Promise<T>} found
 * @param {(found: T) => void} use
 */
async function choose(found, use) {
    const choice = ++choices;
    const what = await found;
    if (choice !== choices) {
        if (what instanceof MediaStream) stopTracks(what);
        return false;
    }
    const wasWanted = player.isWanted;
    use(what);
    soundChanged();
    if (wasWanted && !player.stream) start().catch(say); // an input is started by who asked for it
    return true;
}

/** @param {File} chosen */
async function open(chosen) {
    try {
        const isUsed = await choose(readSound(chosen, player.context), (sound) => {
            player.use(sound);
            opened = { name: chosen.name.replace(/\.[^.]*$/, ""), sound };
            source.querySelector("[value=opened]")?.remove();
            source.options[0].after(new Option(chosen.name, "opened"));
        });
        if (isUsed) say(`${chosen.name}: ${player.sound?.rate} Hz, ${player.duration.toFixed(1)} s.`);
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
    if (chosen === "file") file.click();
    else if (chosen === "input") listen();
    else choose(chosen === "opened" && opened ? Promise.resolve(opened.sound) : phrase, (sound) => player.use(sound)).catch(say);
});
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
    const rendering = ask(false);
    if (!rendering) return say("An input cannot be saved; choose a file.");
    say("Rendering…");
    try {
        const link = document.createElement("a");
        link.download = `${(isOpened() && opened?.name) || "phrase"}-kelvane.wav`;
        link.href = URL.createObjectURL(new Blob([await rendering], { type: "audio/wav" }));
        link.click();
        setTimeout(() => URL.revokeObjectURL(link.href), 60000);
        say(`${link.download}: 32-bit float, as \`kelvane render --subtype float\` writes it.`);
    } catch (error) {
        say(error);
    }
});

const measured = element("measure");
measured.addEventListener("click", () => {
    const isShown = element("figures").hidden;
    measured.setAttribute("aria-expanded", String(isShown));
    figures.show(isShown);
    if (isShown) element("figures").scrollIntoView({ block: "nearest" });
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

if (message.textContent === "Loading…") say(invitation);
navigator.serviceWorker?.register("offline.js").catch(() => {}); // without it the page needs the network
