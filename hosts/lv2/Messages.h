#pragma once

#include <lv2/atom/atom.h>
#include <lv2/atom/forge.h>
#include <lv2/urid/urid.h>

#include <cstdint>
#include <vector>

#include "hosts/lv2/Urids.h"

namespace qov::hosts {
class Instance;
}

namespace qov::hosts::lv2 {

/// Reads the host's event port: MIDI and patch:Set become events of the instance's block. patch:Get
/// is answered through the notify port, for one parameter by patch:Set, for all by patch:Put. Hosts
/// are not trusted: nothing is read beyond the end of an atom; messages to others and malformed
/// ones are skipped. Audio thread; allocates only in its constructor.
class Messages {
 public:
    /// Both outlive it.
    Messages(LV2_URID_Map& map, Instance& instance);

    /// Within a block of the instance. Frames before the block count as its first. Keeps the first
    /// 16 questions and drops the rest.
    void read(const LV2_Atom_Sequence& sequence);
    /// As many answers as fit into the port's memory, at a frame of the block.
    void answer(std::uint32_t frame, LV2_Atom_Sequence& port);

    const Urids urids;

 private:
    /// A request for a parameter's value, or for all.
    struct Question {
        std::uint64_t address = all;
        std::int32_t sequenceNumber = 0;  // repeated in the answer; 0 if there is none
        static constexpr std::uint64_t all = parameterCount;
    };
    struct Patch;  // a patch message's own properties

    void readPatch(std::uint32_t frame, const LV2_Atom& atom);
    Patch parse(const LV2_Atom& object) const;
    void set(std::uint32_t frame, LV2_URID parameter, const LV2_Atom& value);
    std::uint64_t addressOf(LV2_URID parameter) const;
    bool isObject(const LV2_Atom& atom) const;
    void writeAnswer(const Question& question, std::uint32_t frame);

    Instance& instance_;
    LV2_Atom_Forge forge_;
    std::vector<Question> questions_;
};

}  // namespace qov::hosts::lv2
