#pragma once

#include <lv2/atom/forge.h>
#include <lv2/urid/urid.h>

#include <array>
#include <cstdint>
#include <vector>

#include "hosts/lv2/Urids.h"

namespace qov::hosts::lv2 {

/// A request for a parameter's value, or for all, by patch:Get.
struct Question {
    std::uint64_t address = all;
    std::int32_t sequenceNumber = 0;  ///< repeated in the answer; 0 if there is none
    static constexpr std::uint64_t all = parameterCount;
};

/// Answers the questions of a block through the notify port: one about a parameter by patch:Set,
/// one about all by patch:Put. Audio thread.
class Answers {
 public:
    Answers(LV2_URID_Map& map, const Urids& urids);

    /// Keeps the first 16 of a block and drops the rest.
    void ask(const Question& question);
    bool isAsked() const { return !questions_.empty(); }
    /// An empty sequence, if the port's memory holds one.
    void writeNone(LV2_Atom_Sequence& port) const;
    /// The answers, as many as fit into the port's memory, at a frame of the block. `values` by
    /// address.
    void write(const std::array<float, parameterCount>& values, std::uint32_t frame,
               LV2_Atom_Sequence& port);

 private:
    void writeOne(const Question& question, const std::array<float, parameterCount>& values,
                  std::uint32_t frame);

    const Urids& urids_;
    LV2_Atom_Forge forge_;
    std::vector<Question> questions_;
};

}  // namespace qov::hosts::lv2
