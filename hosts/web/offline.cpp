// A sound rendered as the command `kelvane render` does, and measured as `kelvane measure` does, on
// the page; and the built-in phrase.

#include <array>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <fmt/format.h>

#include "hosts/cli/Phrase.h"
#include "hosts/cli/Renderer.h"
#include "hosts/measure/StereoMeter.h"
#include "hosts/web/exchange.h"
#include "hosts/window/makeInstance.h"

using namespace qov;
using namespace qov::hosts;
using namespace qov::hosts::web;

namespace {

constexpr std::uint32_t block = 512;         // what the command takes
constexpr std::uint32_t chunk = 16 * block;  // frames that are passed at a time

/// One rendering, with its own effect.
struct Job {
    std::unique_ptr<Instance> instance;
    std::vector<float> input[2] = {std::vector<float>(chunk), std::vector<float>(chunk)};
    std::vector<float> output[2];
    std::unique_ptr<cli::Renderer> renderer;
    std::optional<measure::StereoMeter> meters[2];  ///< of the input and the output, where wanted
};
std::unique_ptr<Job> job;

const cli::Phrase& phrase() {
    static const auto played = cli::playPhrase();
    return played;
}

}  // namespace

/// Begins a rendering with the present values. False for a rate that the effect does not run at.
KELVANE_EXPORT(beginJob) bool beginJob(double rate, bool isMeasured) {
    std::string error;
    job = std::make_unique<Job>();
    job->instance = makeInstance({}, &error);
    if (!job->instance || !job->instance->activate(rate, block, nullptr)) return false;
    job->instance->begin({}, {}, 0);
    for (std::uint64_t address = 0; address < parameterCount; ++address)
        job->instance->set(0, address, effect().value(address));
    job->instance->end();
    job->renderer = std::make_unique<cli::Renderer>(
        *job->instance, std::vector<platform::AURenderEvent>{}, block, cli::Timing::aligned,
        [made = job.get()](const float* left, const float* right, std::uint32_t frames) {
            made->output[0].insert(made->output[0].end(), left, left + frames);
            made->output[1].insert(made->output[1].end(), right, right + frames);
        });
    if (isMeasured)
        for (auto& meter : job->meters) meter.emplace(static_cast<int>(rate));
    return true;
}

KELVANE_EXPORT(jobInput) float* jobInput(int channel) {
    return job->input[channel].data();
}
KELVANE_EXPORT(jobOutput) const float* jobOutput(int channel) {
    return job->output[channel].data();
}

/// Renders frames of the input: 8192, or fewer with its last ones. Returns how many came out.
KELVANE_EXPORT(runJob) int runJob(int frames) {
    for (auto& channel : job->output) channel.clear();
    auto& [left, right] = job->input;
    // Before they are rendered, in place.
    if (job->meters[0])
        job->meters[0]->add(left.data(), right.data(), static_cast<std::size_t>(frames));
    job->renderer->process(left.data(), right.data(), static_cast<std::uint32_t>(frames));
    if (static_cast<std::uint32_t>(frames) < chunk) job->renderer->finish();
    const auto made = job->output[0].size();
    if (job->meters[1]) job->meters[1]->add(job->output[0].data(), job->output[1].data(), made);
    return static_cast<int>(made);
}

/// After the last frames of a rendering that is measured: its figures, as `kelvane measure` prints
/// them before and after, and what deserves a sentence before and after, as JSON.
KELVANE_EXPORT(jobFigures) int jobFigures() {
    const std::array figures{job->meters[0]->finish(), job->meters[1]->finish()};
    std::string rows, remarks;
    for (const auto& row : measure::allFigures)
        rows += fmt::format(R"({}["{}","{}","{}","{}"])", rows.empty() ? "" : ",", row.name,
                            row.unit, figureText(row, figures[0].*row.value),
                            figureText(row, figures[1].*row.value));
    for (const auto& measured : figures) {
        std::string list;
        for (const auto& remark : remarksOn(measured))
            list += fmt::format(R"({}"{}")", list.empty() ? "" : ",", remark);
        remarks += fmt::format("{}[{}]", remarks.empty() ? "" : ",", list);
    }
    return giveText(fmt::format(R"({{"rows":[{}],"remarks":[{}]}})", rows, remarks));
}

KELVANE_EXPORT(phraseFrames) int phraseFrames() {
    return static_cast<int>(phrase().left.size());
}
KELVANE_EXPORT(phraseChannel) const float* phraseChannel(int channel) {
    return channel == 0 ? phrase().left.data() : phrase().right.data();
}
