// The page's side: the effect's editor on a canvas. It renders nothing; its ring gets what the
// worklet's has captured.

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <limits>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <utility>

#include <fmt/format.h>

#include "audiounit/parameters.h"
#include "hosts/instance/presetBank.h"
#include "hosts/measure/FadingSums.h"
#include "hosts/measure/Figures.h"
#include "hosts/measure/StereoSums.h"
#include "hosts/web/exchange.h"
#include "hosts/window/EditorWindow.h"
#include "platform/dispatch/RunLoop.h"
#include "platform/uikit/UITouch.h"
#include "platform/uikit/canvas/CanvasWindow.h"

using namespace qov;
using namespace qov::hosts;
using namespace qov::hosts::web;
using platform::CanvasWindow;
using platform::RunLoop;

namespace {

constexpr std::size_t ringFrames = 2048;

std::unique_ptr<EditorWindow> editor;
std::array<float, 2 * ringFrames> heardFrames;  // left and then right

/// What is heard just now.
struct Heard {
    measure::FadingSums sums{0.2};  // seconds of memory
    std::array<float, 2> peaks{};   // of both channels since they were last written
    double lowestCorrelation = 1;   // since it was last written
};
Heard heard;

CanvasWindow& window() {
    return static_cast<CanvasWindow&>(editor->native());
}

/// Bit 0 of the page's number for them is Shift, bit 1 Ctrl.
platform::KeyModifiers modifiers(int held) {
    return {.shift = (held & 1) != 0, .control = (held & 2) != 0};
}

}  // namespace

/// Opens the editor on the canvas, which is so many CSS pixels large and has `scale` pixels for
/// each.
KELVANE_EXPORT(openPanel) bool openPanel(double width, double height, double scale) {
    std::string error;
    editor = EditorWindow::open(effect(), {.scale = scale, .size = {width, height}}, &error);
    if (editor) editor->native().show();
    return editor != nullptr;
}

KELVANE_EXPORT(resizePanel) void resizePanel(double width, double height, double scale) {
    const RunLoop::MakeCurrent current(effect().runLoop());
    window().resize({width, height}, scale);
}

/// phase: as platform::UITouchPhase counts.
KELVANE_EXPORT(touchPanel)
void touchPanel(int identifier, int phase, double x, double y, int held) {
    const RunLoop::MakeCurrent current(effect().runLoop());
    window().touch(identifier, static_cast<platform::UITouchPhase>(phase), {x, y}, modifiers(held));
}

KELVANE_EXPORT(hoverPanel) void hoverPanel(double x, double y) {
    const RunLoop::MakeCurrent current(effect().runLoop());
    window().hover(platform::CGPoint{x, y});
}

KELVANE_EXPORT(leavePanel) void leavePanel() {
    const RunLoop::MakeCurrent current(effect().runLoop());
    window().hover({});
}

KELVANE_EXPORT(wheelPanel) void wheelPanel(double x, double y, int steps, int held) {
    const RunLoop::MakeCurrent current(effect().runLoop());
    window().wheel({x, y}, steps, modifiers(held));
}

KELVANE_EXPORT(zoomPanel) void zoomPanel(double x, double y, double factor) {
    const RunLoop::MakeCurrent current(effect().runLoop());
    window().zoom({x, y}, factor);
}

/// key: as platform::Key counts; character: the ASCII that it types, or 0. True if the panel used
/// it.
KELVANE_EXPORT(keyPanel) bool keyPanel(int key, int character, int held) {
    const std::string text(character ? 1 : 0, static_cast<char>(character));
    return editor->key({static_cast<platform::Key>(key), modifiers(held), text});
}

/// The canvas no longer gets keys.
KELVANE_EXPORT(blurPanel) void blurPanel() {
    const RunLoop::MakeCurrent current(effect().runLoop());
    if (window().onFocusLost) window().onFocusLost();
}

/// Runs what is due and has the canvas drawn. Seconds until it is to be called again; infinite for
/// not before the next event.
KELVANE_EXPORT(pump) double pump() {
    effect().pump();
    const auto next = effect().runLoop()->nextDeadline();
    return next ? std::max(0.0, *next - effect().runLoop()->now())
                : std::numeric_limits<double>::infinity();
}

/// A value from outside the panel, which follows.
KELVANE_EXPORT(setValue) void setValue(int address, float value) {
    if (editor)
        editor->setValue(static_cast<std::uint64_t>(address), value);
    else
        effect().setValue(static_cast<std::uint64_t>(address), value);
}

KELVANE_EXPORT(valueText) int valueText(int address, float value) {
    return giveText(effect().valueText(static_cast<std::uint64_t>(address), value));
}

/// The next edit of the panel as three numbers: 0, 1 or 2 for begin, value and end; address; value.
/// Null where there is none.
KELVANE_EXPORT(takeEdit) const double* takeEdit() {
    static std::array<double, 3> taken;
    const auto* edit = effect().edits().front();
    if (!edit) return nullptr;
    taken = {static_cast<double>(edit->kind), static_cast<double>(edit->address), edit->value};
    effect().edits().pop();
    return taken.data();
}

/// The parameters and the presets as JSON, from which the page's table is written.
KELVANE_EXPORT(describe) int describe() {
    std::string parameters, presets;
    const auto add = [](std::string& list, const std::string& item) {
        list += (list.empty() ? "" : ",") + item;
    };
    for (const auto& row : hostParameters)
        add(parameters,
            fmt::format(
                R"({{"address":{},"name":"{}","option":"{}","isSwitch":{},"initial":{},"help":"{}"}})",
                row.address, row.name, row.option, row.isSwitch(), row.initial, row.help));
    for (const auto& preset : presetBank) add(presets, fmt::format("\"{}\"", preset.name));
    return giveText(fmt::format(R"({{"parameters":[{}],"presets":[{}]}})", parameters, presets));
}

KELVANE_EXPORT(selectPreset) bool selectPreset(int number) {
    return effect().selectPreset(static_cast<std::size_t>(number));
}

/// Room for the frames that hear() takes, left and then right.
KELVANE_EXPORT(heardRing) float* heardRing() {
    return heardFrames.data();
}

/// Adds the frames at heardRing(), `rate` a second, to the figures of what is heard.
KELVANE_EXPORT(hear) void hear(double rate) {
    measure::StereoSums ring;
    const auto checked = [](float sample) { return std::isfinite(sample) ? sample : 0; };
    for (std::size_t i = 0; i < ringFrames; ++i) {
        const float l = checked(heardFrames[i]), r = checked(heardFrames[ringFrames + i]);
        ring.add(l, r);
        heard.peaks = {std::max(heard.peaks[0], std::abs(l)),
                       std::max(heard.peaks[1], std::abs(r))};
    }
    heard.sums.add(ring, ringFrames / rate);
    if (heard.sums.isSilent()) heard.sums.clear();
    // Not of silence: NaN.
    heard.lowestCorrelation = std::min(heard.lowestCorrelation, heard.sums.sums().correlation());
}

/// Clears the figures of what is heard.
KELVANE_EXPORT(forgetHeard) void forgetHeard() {
    heard = {};
}

/// Correlation, side to mid, balance and the peaks, as `kelvane measure` prints them, and the
/// lowest correlation since the last call: a JSON array of texts.
KELVANE_EXPORT(heardFigures) int heardFigures() {
    measure::Figures figures;
    const auto& sums = heard.sums.sums();
    figures.correlation = sums.correlation();
    figures.sideToMid = sums.sideToMid();
    figures.balance = sums.rightToLeft();
    std::string texts;
    for (const auto& row : std::span(measure::allFigures).first(3))
        texts += fmt::format("\"{}\",", figureText(row, figures.*row.value));
    for (float& peak : heard.peaks)
        texts += fmt::format("\"{:.1f}\",", 20 * std::log10(std::exchange(peak, 0.0F)));
    return giveText(
        fmt::format("[{}\"{:.2f}\"]", texts, std::exchange(heard.lowestCorrelation, 1)));
}
