#pragma once

namespace qov {

// A plain field that several threads share: one word, read and written whole, in no order with
// others. In machine code these are the plain load and the plain store. By the compilers' own
// functions, as not every standard library has std::atomic_ref.

/// Reads a shared field. Any thread.
template <class Word>
Word loadRelaxed(const Word& word) {
    Word value;
    __atomic_load(&word, &value, __ATOMIC_RELAXED);
    return value;
}

/// Writes a shared field. Any thread.
template <class Word>
void storeRelaxed(Word& word, Word value) {
    __atomic_store(&word, &value, __ATOMIC_RELAXED);
}

}  // namespace qov
