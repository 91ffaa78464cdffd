#pragma once

#include <lv2/atom/atom.h>

#include <cstdint>

#include "hosts/instance/HostEvent.h"
#include "hosts/lv2/Urids.h"

namespace qov::hosts::lv2 {

/// Somebody asks for a parameter, or for all, by patch:Get.
struct Question {
    std::uint64_t address = all;
    std::int32_t sequenceNumber = 0;  ///< to be given back; 0 for none
    static constexpr std::uint64_t all = parameterCount;
};

/// Takes MIDI and patch messages out of the host's event port. Audio thread. Hosts are not trusted:
/// what reaches beyond its own end is not read, what is meant for others or means nothing is passed
/// over.
class MessageReader {
 public:
    /// Who is called, on the audio thread, with what was read.
    class Receiver {
     public:
        virtual void receive(const HostEvent& event) = 0;
        virtual void receive(const Question& question) = 0;

     protected:
        ~Receiver() = default;
    };

    explicit MessageReader(const Urids& urids) : urids_(urids) {}

    /// In the order of the sequence. Frames before the block count as its first.
    void read(const LV2_Atom_Sequence& sequence, Receiver& receiver) const;

 private:
    struct Message;  // a patch message's own properties

    void readMidi(std::uint32_t frame, const LV2_Atom& atom, Receiver& receiver) const;
    void readPatch(std::uint32_t frame, const LV2_Atom& atom, Receiver& receiver) const;
    Message parse(const LV2_Atom& object) const;
    void set(std::uint32_t frame, LV2_URID parameter, const LV2_Atom& value,
             Receiver& receiver) const;
    std::uint64_t addressOf(LV2_URID parameter) const;
    bool isObject(const LV2_Atom& atom) const;

    const Urids& urids_;
};

}  // namespace qov::hosts::lv2
