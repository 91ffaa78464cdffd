// A sound rendered as the command `kelvane render` does, on the page; and the built-in phrase.

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "hosts/cli/Phrase.h"
#include "hosts/cli/Renderer.h"
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
};
std::unique_ptr<Job> job;

const cli::Phrase& phrase() {
    static const auto played = cli::playPhrase();
    return played;
}

}  // namespace

/// Begins a rendering with the present values. False for a rate that the effect does not run at.
KELVANE_EXPORT(beginJob) bool beginJob(double rate) {
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
    job->renderer->process(job->input[0].data(), job->input[1].data(),
                           static_cast<std::uint32_t>(frames));
    if (static_cast<std::uint32_t>(frames) < chunk) job->renderer->finish();
    return static_cast<int>(job->output[0].size());
}

KELVANE_EXPORT(endJob) void endJob() {
    job.reset();
}

KELVANE_EXPORT(phraseFrames) int phraseFrames() {
    return static_cast<int>(phrase().left.size());
}
KELVANE_EXPORT(phraseChannel) const float* phraseChannel(int channel) {
    return channel == 0 ? phrase().left.data() : phrase().right.data();
}
