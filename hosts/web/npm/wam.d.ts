import { KelvaneNode, KelvanePanel } from "./index.js";

export interface Value {
    id: string;
    value: number;
    normalized: boolean;
}

/** The node with the operations of a WamNode. */
export interface KelvaneWamNode extends KelvaneNode {
    groupId: string;
    moduleId: string;
    instanceId: string;
    getParameterInfo(...ids: string[]): Promise<Record<string, { id: string; label: string; type: string; defaultValue: number; minValue: number; maxValue: number }>>;
    getParameterValues(normalized: boolean, ...ids: string[]): Promise<Record<string, Value>>;
    setParameterValues(values: Record<string, Value>): Promise<void>;
    /** Values by option. */
    getState(): Promise<Record<string, number>>;
    setState(state: Record<string, number>): Promise<void>;
    /** Frames. */
    getCompensationDelay(): Promise<number>;
    /** `wam-automation` and `wam-midi`, at seconds of the context. */
    scheduleEvents(...events: { type: string; time?: number; data: any }[]): void;
    clearEvents(): Promise<void>;
    destroy(): void;
}

/** The effect as a Web Audio Module 2. */
export default class KelvaneModule {
    constructor(groupId: string, audioContext: BaseAudioContext);
    static isWebAudioModuleConstructor: boolean;
    static createInstance(groupId: string, audioContext: BaseAudioContext, state?: Record<string, number>): Promise<KelvaneModule>;
    audioNode: KelvaneWamNode | undefined;
    createGui(): Promise<KelvanePanel>;
    destroyGui(gui: Element): void;
}
