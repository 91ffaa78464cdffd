#pragma once

#include <atomic>

namespace qov {

/// A plain field that several threads share: one word, read and written whole, in no order with
/// others. In machine code these are the plain load and the plain store.
template <class Word>
Word loadRelaxed(const Word& word) {
    return std::atomic_ref<Word>(const_cast<Word&>(word)).load(std::memory_order_relaxed);
}

/// The same for writing.
template <class Word>
void storeRelaxed(Word& word, Word value) {
    std::atomic_ref<Word>(word).store(value, std::memory_order_relaxed);
}

}  // namespace qov
