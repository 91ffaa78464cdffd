// @ts-check
// What Undo and Redo lead to, of one of the two settings that are compared.

/** @typedef {number[]} Values of the parameters, by address */

const longest = 1000; // steps, as in EditHistory; the oldest are dropped

export class UndoHistory {
    /** @param {Values} values */
    constructor(values) {
        this.now = values;
        /** @type {Values[]} */
        this.past = [];
        /** @type {Values[]} */
        this.future = [];
    }

    /**
     * After a gesture.
     * @param {Values} values
     */
    record(values) {
        if (values.every((value, address) => value === this.now[address])) return;
        this.past.push(this.now);
        if (this.past.length > longest) this.past.shift();
        this.future = [];
        this.now = values;
    }

    /** The values of before, if there are any. */
    undo() {
        return this.move(this.past, this.future);
    }

    redo() {
        return this.move(this.future, this.past);
    }

    /**
     * @param {Values[]} from
     * @param {Values[]} to
     */
    move(from, to) {
        const values = from.pop();
        if (!values) return;
        to.push(this.now);
        return (this.now = values);
    }
}
