#include "hosts/instance/EditExchange.h"

namespace qov::hosts {

void EditExchange::touch(std::uint64_t address) {
    words_[address].fetch_or(touched | touching, std::memory_order_acq_rel);
    markChanged(1u << address);
}

void EditExchange::write(std::uint64_t address, float value) {
    auto& word = words_[address];
    auto before = word.load(std::memory_order_relaxed);
    const std::uint64_t bits = __builtin_bit_cast(std::uint32_t, value);
    while (!word.compare_exchange_weak(before, (before & (touched | touching)) | changed | bits,
                                       std::memory_order_acq_rel)) {
    }
}

void EditExchange::change(std::uint64_t address, float value) {
    write(address, value);
    markChanged(1u << address);
}

void EditExchange::change(const std::array<float, parameters>& values, std::uint32_t which) {
    for (std::uint64_t address = 0; address < parameters; ++address)
        if (which & 1u << address) write(address, values[address]);
    markChanged(which);
}

void EditExchange::release(std::uint64_t address) {
    words_[address].fetch_and(~std::uint64_t{touching}, std::memory_order_acq_rel);
    markChanged(1u << address);
}

const EditExchange::Edit* EditExchange::front() {
    if (!isPending()) return nullptr;
    if (!isTaking_) toFetch_ = changed_.exchange(0, std::memory_order_acquire);
    for (; first_ == count_ && toFetch_; toFetch_ &= toFetch_ - 1)
        fetch(static_cast<std::uint64_t>(std::countr_zero(toFetch_)));
    isTaking_ = first_ < count_;
    return isTaking_ ? &fetched_[first_] : nullptr;
}

void EditExchange::fetch(std::uint64_t address) {
    const auto word = words_[address].fetch_and(~(changed | touched), std::memory_order_acq_rel);
    const auto value = __builtin_bit_cast(float, static_cast<std::uint32_t>(word));
    auto& isOpen = open_[address];
    first_ = count_ = 0;
    const auto add = [&](Edit::Kind kind) { fetched_[count_++] = {kind, address, value}; };
    if (!isOpen && word & (changed | touched | touching)) {
        add(Edit::Kind::begin);
        isOpen = true;
    }
    if (word & changed) add(Edit::Kind::value);
    if (isOpen && !(word & touching)) {
        add(Edit::Kind::end);
        isOpen = false;
    }
}

}  // namespace qov::hosts
