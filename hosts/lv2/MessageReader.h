#pragma once

#include <lv2/atom/atom.h>

#include <cstdint>

#include "hosts/lv2/Answers.h"
#include "hosts/lv2/Urids.h"

namespace qov::hosts {
class Instance;
}

namespace qov::hosts::lv2 {

/// Reads the host's event port: MIDI and patch:Set become events of the instance's block, patch:Get
/// a question to answer. Audio thread. Hosts are not trusted: nothing is read beyond the end of an
/// atom; messages to others and malformed ones are skipped.
class MessageReader {
 public:
    /// For one block of the instance, which has begun.
    MessageReader(const Urids& urids, Instance& instance, Answers& answers)
        : urids_(urids), instance_(instance), answers_(answers) {}

    /// In the order of the sequence. Frames before the block count as its first.
    void read(const LV2_Atom_Sequence& sequence);

 private:
    struct Message;  // a patch message's own properties

    void readPatch(std::uint32_t frame, const LV2_Atom& atom);
    Message parse(const LV2_Atom& object) const;
    void set(std::uint32_t frame, LV2_URID parameter, const LV2_Atom& value);
    std::uint64_t addressOf(LV2_URID parameter) const;
    bool isObject(const LV2_Atom& atom) const;

    const Urids& urids_;
    Instance& instance_;
    Answers& answers_;
};

}  // namespace qov::hosts::lv2
