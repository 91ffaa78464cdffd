#pragma once

#include <string>
#include <string_view>

#include "tests/dsp/KernelRig.h"

namespace qov::test {

/// Of the chain's loops, by name.
inline constexpr const char* forms[] = {"baseline", "v3", "v4"};

/// How the four blocks of a cycle lie in memory.
enum class Buffers { apart, inPlace, crossed, oneInput, overlapping, oneOutput, count };

/// One kernel in the form under test and one in plain code, driven alike.
class FormPair {
 public:
    explicit FormPair(std::string_view form, double rate = 44100)
        : form_(form), tested_(rate), plain_(rate) {}

    void set(std::uint64_t address, float parameter) {
        tested_.kernel.setParameter(address, parameter);
        plain_.kernel.setParameter(address, parameter);
    }

    std::int64_t now() const { return plain_.now; }

    /// Renders a cycle of a quarter of the memory with both; where they differ, in words.
    std::string render(Samples memory, Buffers buffers,
                       const platform::AURenderEvent* events = nullptr) {
        Samples copy = memory;
        const auto frames = static_cast<std::uint32_t>(memory.size() / 4);
        memory.push_back(0);  // the overlapping blocks end one frame later
        copy.push_back(0);
        renderOne(tested_, form_, memory, buffers, frames, events);
        renderOne(plain_, "scalar", copy, buffers, frames, events);
        std::string found = difference("memory", memory.data(), copy.data(), memory.size());
        return found.empty() ? differenceOfState(tested_.kernel, plain_.kernel) : found;
    }

 private:
    static void renderOne(KernelRig& rig, std::string_view form, Samples& memory, Buffers buffers,
                          std::uint32_t n, const platform::AURenderEvent* events) {
        ChainLoops::select(form);
        const std::uint32_t places[][4] = {{0, n, 2 * n, 3 * n}, {0, n, 0, n},
                                           {0, n, n, 0},         {0, 0, 2 * n, 3 * n},
                                           {0, n, 1, 2 * n + 1}, {0, n, 2 * n, 2 * n}};
        const auto& at = places[static_cast<std::size_t>(buffers)];
        float* const base = memory.data();
        rig.render(base + at[0], base + at[1], base + at[2], base + at[3], n, events);
    }

    std::string_view form_;
    KernelRig tested_, plain_;
};

}  // namespace qov::test
