#pragma once

#include <optional>
#include <string>

#include "hosts/instance/Preset.h"

namespace qov::hosts {
class Instance;
}

namespace qov::cli {

/// What --preset names: a preset of the bank, or a user's file.
class PresetChoice {
 public:
    /// text: a number or a name in presetBank, in any case, the name of a user's preset, or a
    /// preset file's path. Throws Failure, with the nearest name for an unknown one.
    static PresetChoice parse(const std::string& text);

    /// Sets the preset's values; samples count by the rate, in frames per second. Throws Failure
    /// where its file has changed and is no preset any more.
    void select(hosts::Instance& instance, double rate) const;
    /// What a preset file of the same values has, a parameter and its value in a line.
    std::vector<std::string> lines() const;

 private:
    hosts::Preset readFile(double rate) const;

    std::optional<std::size_t> number_;  ///< in presetBank
    std::string path_;                   ///< of a file, where there is no number
};

}  // namespace qov::cli
