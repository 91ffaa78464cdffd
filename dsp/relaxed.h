#pragma once

namespace qov {

// Access to a plain one-word field that several threads share: atomic, in no order with other
// fields, and in machine code a plain load or store. They use the compilers' own functions, as not
// every standard library has std::atomic_ref.

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
