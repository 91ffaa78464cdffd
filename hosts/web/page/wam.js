// @ts-check
// The effect as a Web Audio Module 2: parameters, events, state, latency and a gui, as WAM hosts ask for them.

import { createKelvane } from "./kelvane.js";
import { parameters, processorName, version } from "./parameters.js";

/** @typedef {{id: string, value: number, normalized: boolean}} Value */
/** @typedef {{type: string, time?: number, data: any}} Event in seconds of the context, and as WAM hosts have it */

const ids = parameters.map(({ option }) => option);

/** @param {string} id */
const rowOf = (id) => parameters.find(({ option }) => option === id);

/**
 * Gives a node the operations of a WamNode.
 * @param {import("./kelvane.js").KelvaneNode} node
 * @param {KelvaneModule} module
 */
function asWamNode(node, module) {
    /** @param {string} id @param {number} value */
    const set = (id, value) => {
        const row = rowOf(id);
        if (row) node.set(row.address, value);
    };
    return Object.assign(node, {
        module,
        groupId: module.groupId,
        moduleId: module.moduleId,
        instanceId: module.instanceId,
        processorId: processorName,
        /** @param {string[]} asked */
        async getParameterInfo(...asked) {
            const given = (asked.length ? asked : ids).map(rowOf).filter((row) => row !== undefined);
            return Object.fromEntries(
                given.map(({ option, name, isSwitch, initial }) => {
                    const type = isSwitch ? "boolean" : "float";
                    const info = { id: option, label: name, type, defaultValue: initial, minValue: 0, maxValue: 1 };
                    const same = (/** @type {number} */ value) => value;
                    const range = { discreteStep: isSwitch ? 1 : 0, exponent: 1, choices: [], units: "" };
                    return [option, { ...info, ...range, normalize: same, denormalize: same, valueString: String }];
                }),
            );
        },
        /** @param {boolean} normalized @param {string[]} asked */
        async getParameterValues(normalized, ...asked) {
            const given = (asked.length ? asked : ids).map(rowOf).filter((row) => row !== undefined);
            return Object.fromEntries(
                given.map(({ option, address }) => [option, { id: option, value: node.values[address], normalized }]),
            );
        },
        /** @param {Record<string, Value>} given */
        async setParameterValues(given) {
            for (const { id, value } of Object.values(given)) set(id, value);
        },
        async getState() {
            return Object.fromEntries(parameters.map(({ option, address }) => [option, node.values[address]]));
        },
        /** @param {Record<string, number>} state */
        async setState(state) {
            for (const [id, value] of Object.entries(state)) set(id, value);
        },
        async getCompensationDelay() {
            return node.latency;
        },
        /** @param {Event[]} events */
        scheduleEvents(...events) {
            node.port.postMessage({ wam: events });
        },
        async clearEvents() {
            node.clearSchedule();
        },
        // It has no events to send.
        connectEvents() {},
        disconnectEvents() {},
        destroy() {
            node.end();
        },
    });
}

export default class KelvaneModule {
    static isWebAudioModuleConstructor = true;
    static descriptor = {
        identifier: "org.qov.kelvane",
        name: "QOV Kelvane",
        vendor: "QOV",
        version,
        apiVersion: "2.0.0",
        description: "Stereo width, panorama and phase shift, with a correlograph",
        keywords: ["stereo", "width", "panorama"],
        thumbnail: "",
        website: "",
        isInstrument: false,
        hasAudioInput: true,
        hasAudioOutput: true,
        hasMidiInput: true,
        hasMidiOutput: false,
        hasAutomationInput: true,
        hasAutomationOutput: false,
    };

    /**
     * @param {string} groupId
     * @param {BaseAudioContext} audioContext
     * @param {Record<string, number>} [state]
     */
    static async createInstance(groupId, audioContext, state) {
        return new KelvaneModule(groupId, audioContext).initialize(state);
    }

    /**
     * @param {string} groupId
     * @param {BaseAudioContext} audioContext
     */
    constructor(groupId, audioContext) {
        this.groupId = groupId;
        this.audioContext = audioContext;
        this.isWebAudioModule = true;
        this.initialized = false;
        this.descriptor = KelvaneModule.descriptor;
        this.moduleId = this.descriptor.identifier;
        this.name = this.descriptor.name;
        this.vendor = this.descriptor.vendor;
        this.instanceId = `${this.moduleId} ${crypto.randomUUID()}`;
        /** @type {ReturnType<typeof asWamNode> | undefined} */
        this.audioNode = undefined;
    }

    /** @param {Record<string, number>} [state] */
    async initialize(state) {
        const { groupId, moduleId, instanceId } = this;
        // The host's part in the audio thread passes other modules' events on to it.
        const node = await createKelvane(this.audioContext, { wam: { groupId, moduleId, instanceId } });
        this.audioNode = asWamNode(node, this);
        if (state) await this.audioNode.setState(state);
        this.initialized = true;
        return this;
    }

    async createGui() {
        const gui = /** @type {import("./kelvane.js").KelvanePanel} */ (document.createElement("kelvane-panel"));
        gui.style.width = "680px";
        gui.node = this.audioNode;
        return gui;
    }

    /** @param {Element} gui */
    destroyGui(gui) {
        gui.remove();
    }
}
