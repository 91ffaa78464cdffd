#include "hosts/cli/drawFieldOf.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <filesystem>
#include <functional>
#include <list>

#include <fmt/format.h>

#include "hosts/cli/BatchOptions.h"
#include "hosts/cli/Command.h"
#include "hosts/cli/FieldPicture.h"
#include "hosts/cli/SoundReader.h"
#include "hosts/measure/StereoMeter.h"
#include "hosts/output/OutputPlace.h"

namespace qov::cli {
namespace {

constexpr std::uint32_t pieceFrames = 8192;
constexpr double airAround = 1.06;  // between the farthest frames and the plot's edge
constexpr double smallestScale = 1e-4;

using Take = std::function<void(const float* left, const float* right, std::uint32_t frames)>;

void readAll(const std::string& path, const Take& take) {
    SoundReader reader(path, {.rawRate = {}, .upmix = true});
    std::vector<float> left(pieceFrames);
    std::vector<float> right(pieceFrames);
    std::uint32_t frames = 0;
    do {
        frames = reader.read(left.data(), right.data(), pieceFrames);
        take(left.data(), right.data(), frames);
    } while (frames == pieceFrames);
}

PictureKind kindOf(const std::string& path) {
    if (path.ends_with(".png")) return PictureKind::png;
    if (path.ends_with(".svg")) return PictureKind::svg;
    throw Failure(fmt::format("{}: a picture ends in .png or .svg", path), 2);
}

/// What the plot does not show by itself, for its lower corners: the stereo image, and the levels.
std::array<std::vector<std::string>, 2> figureLines(const measure::Figures& figures) {
    using measure::Figures;
    std::array<std::vector<std::string>, 2> lines;
    for (const auto& row : measure::allFigures) {
        const bool isImage = row.value == &Figures::correlation ||
                             row.value == &Figures::sideToMid || row.value == &Figures::balance ||
                             row.value == &Figures::delay;
        if (!isImage && row.unit.empty()) continue;
        std::string name(row.name);
        std::ranges::replace(name, '-', ' ');
        const double value = figures.*row.value;
        lines[isImage ? 0 : 1].push_back(fmt::format("{}  {}", name, figureText(row, value)));
        if (!std::isnan(value) && !row.unit.empty())
            lines[isImage ? 0 : 1].back() += fmt::format(" {}", row.unit);
    }
    return lines;
}

std::string titleOf(const std::string& path) {
    const auto file = path.substr(path.rfind('/') + 1);
    return file.substr(0, file.rfind('.'));
}

}  // namespace

void checkField(const std::vector<std::string>& inputs, const std::string& output) {
    static_cast<void>(kindOf(output));
    const auto folder = std::filesystem::path(output).parent_path();
    if (!folder.empty() && !isFolder(folder.string()))
        throw Failure(fmt::format("{}: there is no folder {}", output, folder.string()));
    for (const auto& path : inputs) {
        std::error_code error;
        if (path == "-" || std::filesystem::is_fifo(path, error))
            throw Failure(fmt::format("{}: field reads its files twice, which a pipe can't do; "
                                      "name a file",
                                      path == "-" ? "standard input" : path),
                          2);
        if (hosts::isSameFile(path, output))
            throw Failure(fmt::format("{}: is an input, too; write to another file", output), 2);
    }
}

void drawFieldOf(const std::vector<std::string>& inputs, const std::string& output) {
    checkField(inputs, output);
    std::list<StereoField> fields;
    std::vector<FieldPanel> panels;
    double scale = smallestScale;
    for (const auto& path : inputs) {
        const SoundReader reader(path, {.rawRate = {}, .upmix = true});
        const auto frames = reader.frames().value_or(0);
        auto& field = fields.emplace_back(frames, fieldSlices, fieldSide);
        measure::StereoMeter meter(reader.rate());
        readAll(path, [&](auto... chunk) {
            field.measure(chunk...);
            meter.add(chunk...);
        });
        scale = std::max(scale, field.reach() * airAround);
        panels.push_back({titleOf(path),
                          fmt::format("{:.1f} s, {} Hz",
                                      static_cast<double>(frames) / reader.rate(), reader.rate()),
                          figureLines(meter.finish()), &field, reader.rate()});
    }
    auto field = fields.begin();
    for (const auto& path : inputs) {
        readAll(path, [&](auto... chunk) { field->trace(chunk..., scale); });
        ++field;
    }
    hosts::writeOutput(output, drawField(panels, kindOf(output)));
}

}  // namespace qov::cli
