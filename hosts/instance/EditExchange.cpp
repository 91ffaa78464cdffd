#include "hosts/instance/EditExchange.h"

namespace qov::hosts {

void EditExchange::touch(std::uint64_t address) {
    words_[address].fetch_or(touched | touching, std::memory_order_acq_rel);
    markChanged(address);
}

void EditExchange::change(std::uint64_t address, float value) {
    auto& word = words_[address];
    auto before = word.load(std::memory_order_relaxed);
    const std::uint64_t bits = std::bit_cast<std::uint32_t>(value);
    while (!word.compare_exchange_weak(before, (before & (touched | touching)) | changed | bits,
                                       std::memory_order_acq_rel)) {
    }
    markChanged(address);
}

void EditExchange::release(std::uint64_t address) {
    words_[address].fetch_and(~std::uint64_t{touching}, std::memory_order_acq_rel);
    markChanged(address);
}

}  // namespace qov::hosts
