#pragma once

#include <array>
#include <cstdint>
#include <string_view>

// Names for the bytes of MIDI and of standard MIDI files. Every name is a constant of its own and a
// row of one table, both made from this list.
//
// A few rows are not what the standard says, and programs count on them: STATUS_META is 0xFD (in a
// file, a meta event begins with 0xFF), CONTROLLER_SOUNDS_OFF shares 123 with CONTROLLER_NOTES_OFF,
// and the last four META_ names are one placeholder for events that have no type in a file.

// clang-format off
#define QOV_MIDI_VOCABULARY(X) \
    X(STATUS_NOTEOFF, 0x80) \
    X(STATUS_NOTEON, 0x90) \
    X(STATUS_CONTROLLER, 0xB0) \
    X(STATUS_PPRESSURE, 0xA0) \
    X(STATUS_CPRESSURE, 0xD0) \
    X(STATUS_PROGRAM, 0xC0) \
    X(STATUS_PITCHBEND, 0xE0) \
    X(STATUS_SYSEX, 0xF0) \
    X(STATUS_TIMECODE, 0xF1) \
    X(STATUS_SONGPOSITION, 0xF2) \
    X(STATUS_SONGSELECT, 0xF3) \
    X(STATUS_RESERVED1, 0xF4) \
    X(STATUS_RESERVED2, 0xF5) \
    X(STATUS_TUNEREQUEST, 0xF6) \
    X(STATUS_EOX, 0xF7) \
    X(STATUS_TIMINGCLOCK, 0xF8) \
    X(STATUS_RESERVED3, 0xF9) \
    X(STATUS_START, 0xFA) \
    X(STATUS_CONTINUE, 0xFB) \
    X(STATUS_STOP, 0xFC) \
    X(STATUS_RESERVED4, 0xFD) \
    X(STATUS_ACTIVESENSING, 0xFE) \
    X(STATUS_RESET, 0xFF) \
    X(CONTROLLER_BANKSELECT_MSB, 0) \
    X(CONTROLLER_MODWHEEL, 1) \
    X(CONTROLLER_003, 3) \
    X(CONTROLLER_DATA_MSB, 6) \
    X(CONTROLLER_VOLUME, 7) \
    X(CONTROLLER_008, 8) \
    X(CONTROLLER_009, 9) \
    X(CONTROLLER_PAN, 10) \
    X(CONTROLLER_EXPRESSION, 11) \
    X(CONTROLLER_016, 16) \
    X(CONTROLLER_017, 17) \
    X(CONTROLLER_018, 18) \
    X(CONTROLLER_019, 19) \
    X(CONTROLLER_020, 20) \
    X(CONTROLLER_021, 21) \
    X(CONTROLLER_022, 22) \
    X(CONTROLLER_023, 23) \
    X(CONTROLLER_024, 24) \
    X(CONTROLLER_025, 25) \
    X(CONTROLLER_026, 26) \
    X(CONTROLLER_027, 27) \
    X(CONTROLLER_028, 28) \
    X(CONTROLLER_029, 29) \
    X(CONTROLLER_030, 30) \
    X(CONTROLLER_031, 31) \
    X(CONTROLLER_BANKSELECT_LSB, 32) \
    X(CONTROLLER_SUSTAIN, 64) \
    X(CONTROLLER_PORTA, 65) \
    X(CONTROLLER_HOLD2, 69) \
    X(CONTROLLER_RESONANCE, 71) \
    X(CONTROLLER_RELEASE, 72) \
    X(CONTROLLER_ATTACK, 73) \
    X(CONTROLLER_CUTOFF, 74) \
    X(CONTROLLER_DECAY, 75) \
    X(CONTROLLER_SUSTAIN2, 76) \
    X(CONTROLLER_102, 102) \
    X(CONTROLLER_103, 103) \
    X(CONTROLLER_104, 104) \
    X(CONTROLLER_105, 105) \
    X(CONTROLLER_106, 106) \
    X(CONTROLLER_107, 107) \
    X(CONTROLLER_108, 108) \
    X(CONTROLLER_109, 109) \
    X(CONTROLLER_110, 110) \
    X(CONTROLLER_111, 111) \
    X(CONTROLLER_112, 112) \
    X(CONTROLLER_RESET_CONTROLLERS, 121) \
    X(CONTROLLER_NOTES_OFF, 123) \
    X(CONTROLLER_SOUNDS_OFF, 123) \
    X(STATUS_META, 0xFD) \
    X(META_SEQUENCENUMBER, 0x00) \
    X(META_TEXT, 0x01) \
    X(META_COPYRIGHT, 0x02) \
    X(META_TRACKNAME, 0x03) \
    X(META_INSTRUMENTNAME, 0x04) \
    X(META_LYRICS, 0x05) \
    X(META_MARKER, 0x06) \
    X(META_CUEPOINT, 0x07) \
    X(META_PROGRAMNAME, 0x08) \
    X(META_DEVICENAME, 0x09) \
    X(META_CHANNELPREFIX, 0x20) \
    X(META_MIDIPORT, 0x21) \
    X(META_EOT, 0x2F) \
    X(META_SETTEMPO, 0x51) \
    X(META_SMTPOFFSET, 0x54) \
    X(META_TIMESIGNATURE, 0x58) \
    X(META_KEYSIGNATURE, 0x59) \
    X(META_SPECIFIC, 0x7F) \
    X(META_SYSEX, 0xF0) \
    X(META_UNKNOWN, 0xFF) \
    X(META_EXTENDEDNOTE, 0xFF) \
    X(META_AUPARAMETER, 0xFF) \
    X(META_AUPRESET, 0xFF)
// clang-format on

namespace qov {

#define X(name, value) inline constexpr std::uint8_t name = value;
QOV_MIDI_VOCABULARY(X)
#undef X

/// One entry of the vocabulary.
struct MidiConstant {
    std::string_view name;
    std::uint8_t value;
};

/// In the order of the list. The family is what stands before the first underscore: STATUS,
/// CONTROLLER or META. Several names may have one value.
inline constexpr auto midiVocabulary = std::to_array<MidiConstant>({
#define X(name, value) {#name, name},
    QOV_MIDI_VOCABULARY(X)
#undef X
});

}  // namespace qov

#undef QOV_MIDI_VOCABULARY
