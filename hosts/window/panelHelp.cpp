#include "hosts/window/panelHelp.h"

#include <algorithm>
#include <array>

#include "audiounit/parameters.h"
#include "hosts/instance/Instance.h"

namespace qov::hosts {
namespace {

/// A part of the panel: its editing mode, the parameter that it shows or -1, what it is called
/// where it shows none, and what a click does.
struct Part {
    std::string_view mode;
    int address;
    std::string_view name, action;
};

constexpr std::array parts{
    Part{"stereo width", kStereoWidth, {}, {}},
    Part{"panorama", kPanorama, {}, {}},
    Part{"phase shift", kPhaseShift, {}, {}},
    Part{"reset1", -1, "Reset panorama", "Click: back to the centre"},
    Part{"reset2", -1, "Reset stereo width", "Click: back to neutral"},
    Part{"swap channels", kSwapChannels, {}, "Click: exchange left and right"},
    Part{"invert channel", kInvertChannel, {}, "Click: invert the left channel"},
    Part{"recover mono", kRecoverMono, {}, "Click: remove the side signal, by the width's amount"},
    Part{"test mono", kTestMono, {}, "Click: hear (L + R) / 2 on both sides"},
    Part{"go pro", kBypass, {}, "Click: pass the input through and freeze the picture"},
    Part{"show oscillograph", -1, "Oscillograph", "Click: show or hide the picture"},
    Part{"graph normalized", -1, "Normalize", "Click: scale the picture to the signal's peak"},
    Part{"bezier", -1, "Points or lines", "Click: draw the picture the other way"},
};

const Part* partOf(std::string_view mode) {
    const auto part = std::find_if(parts.begin(), parts.end(),
                                   [&](const Part& each) { return each.mode == mode; });
    return part == parts.end() ? nullptr : &*part;
}

}  // namespace

std::optional<int> controlOf(std::string_view mode) {
    const auto* const part = partOf(mode);
    const bool isControl =
        part && part->address >= 0 && !parameterAt(std::uint64_t(part->address))->isSwitch();
    return isControl ? std::optional(part->address) : std::nullopt;
}

std::vector<CaptionView::Line> panelHelp(std::string_view mode, const Instance& instance) {
    using Kind = CaptionView::Line::Kind;
    const auto* const part = partOf(mode);
    if (!part) return {};
    if (part->address < 0)
        return {{std::string(part->name), Kind::head}, {std::string(part->action)}};
    const auto address = static_cast<std::uint64_t>(part->address);
    const auto& parameter = hostParameters[address];
    const auto head =
        std::string(parameter.name) + ": " + instance.valueText(address, instance.value(address));
    if (parameter.isSwitch()) return {{head, Kind::head}, {std::string(part->action)}};
    return {{head, Kind::head},
            {"Drag, wheel or arrow keys; with Shift finer"},
            {"Double click: default    Ctrl+click or Return: type a value"}};
}

std::string valueExamples(int address) {
    switch (hostParameters[static_cast<std::size_t>(address)].form) {
        case ValueForm::width:
            return "+20 %, -35 % or 0 %";
        case ValueForm::panorama:
            return "R 30 %, L 10 % or C";
        case ValueForm::phaseShift:
            return "5 ms or 220 samples";
        case ValueForm::onOff:
        case ValueForm::gain:
            break;  // no field is opened for these
    }
    return {};
}

std::string refusal(int address, std::optional<float> value, const Instance& instance) {
    if (!value) return "Not a value here; write " + valueExamples(address);
    if (*value >= 0 && *value <= 1) return {};
    const auto parameter = static_cast<std::uint64_t>(address);
    return "Out of range: " + instance.valueText(parameter, 0) + " to " +
           instance.valueText(parameter, 1);
}

}  // namespace qov::hosts
