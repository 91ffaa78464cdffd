#include "hosts/instance/Instance.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <map>
#include <thread>
#include <utility>
#include <variant>

#include "audiounit/componentDescription.h"
#include "audiounit/presets.h"
#include "hosts/instance/FloatEnvironment.h"
#include "hosts/instance/SavedState.h"
#include "hosts/instance/behind.h"
#include "hosts/instance/valueText.h"
#include "platform/audiotoolbox/AUAudioUnitFactory.h"
#include "platform/avfoundation/AVAudioFormat.h"
#include "platform/dispatch/RunLoop.h"
#include "platform/foundation/NSError.h"

namespace qov::hosts {

using platform::RunLoop;

namespace {

constexpr std::uint32_t longestCopy = 1 << 20;  // frames; more than any host's block

/// The instance that changes parameters on this thread on the host's behalf: no edit then.
thread_local const Instance* hostActsOn = nullptr;

class HostActs {
 public:
    explicit HostActs(const Instance* instance) : before_(std::exchange(hostActsOn, instance)) {}
    ~HostActs() { hostActsOn = before_; }
    HostActs(const HostActs&) = delete;
    HostActs& operator=(const HostActs&) = delete;

 private:
    const Instance* before_;
};

bool overlap(const float* a, const float* b, std::uint32_t frames) {
    const std::less<const float*> before;
    return a && b && before(a, b + frames) && before(b, a + frames);
}

/// Whether the output may be written while the input is still read: each channel on its own or
/// in place, nothing crossed or shifted.
bool isSafe(const float* const (&input)[2], float* const (&output)[2], std::uint32_t frames) {
    for (int in = 0; in < 2; ++in)
        for (int out = 0; out < 2; ++out) {
            const bool inPlace = in == out && input[in] == output[out];
            if (!inPlace && overlap(input[in], output[out], frames)) return false;
        }
    return true;
}

/// For a scope, an audio unit without its parameter tree.
class WithoutTree {
 public:
    WithoutTree(platform::AUAudioUnit& unit, std::shared_ptr<platform::AUParameterTree> tree)
        : unit_(unit), tree_(std::move(tree)) {
        unit_.setParameterTree(nullptr);
    }
    ~WithoutTree() { unit_.setParameterTree(tree_); }
    WithoutTree(const WithoutTree&) = delete;
    WithoutTree& operator=(const WithoutTree&) = delete;

 private:
    platform::AUAudioUnit& unit_;
    const std::shared_ptr<platform::AUParameterTree> tree_;
};

}  // namespace

std::unique_ptr<Instance> Instance::create(platform::NSError* error,
                                           const std::shared_ptr<RunLoop>& loop, Factory factory) {
    std::unique_ptr<Instance> instance(
        new Instance(loop ? loop : RunLoop::create(), std::move(factory)));
    if (!instance->makeUnit(error)) return nullptr;
    instance->observeEdits();
    return instance;
}

Instance::Instance(std::shared_ptr<RunLoop> loop, Factory factory)
    : loop_(std::move(loop)), factory_(std::move(factory)) {
    pull_ = [this](auto*, auto*, platform::AUAudioFrameCount, std::int64_t,
                   platform::AudioBufferList* data) -> platform::AUAudioUnitStatus {
        // The audio unit only reads its input, so the host's own memory will do.
        for (int channel = 0; channel < 2; ++channel)
            data->mBuffers[channel].mData = const_cast<float*>(pullFrom_[channel]);
        return 0;
    };
}

bool Instance::makeUnit(platform::NSError* error) {
    const RunLoop::MakeCurrent current(loop_);
    unit_ = std::dynamic_pointer_cast<QOV_Kelvane_PluginAudioUnit>(
        factory_->createAudioUnit(componentDescription, error));
    if (unit_) tree_ = unit_->parameterTree();
    return unit_ != nullptr;
}

void Instance::observeEdits() {
    const RunLoop::MakeCurrent current(loop_);
    token_ = tree_->tokenByAddingParameterAutomationObserver(
        [this](std::uint64_t address, float value, platform::AUParameterAutomationEventType type) {
            if (hostActsOn == this || address >= EditExchange::parameters) return;
            if (type == platform::AUParameterAutomationEventTypeTouch) edits_.touch(address);
            if (type == platform::AUParameterAutomationEventTypeValue && touching_) {
                held_ |= 1u << address;
                edits_.touch(address);
            }
            if (const auto setting = settingOf(HostEvent::parameter(0, address, value)))
                edits_.change(address, setting->value);
            if (type == platform::AUParameterAutomationEventTypeRelease) edits_.release(address);
        });
}

Instance::~Instance() {
    const RunLoop::MakeCurrent current(loop_);
    if (token_) tree_->removeParameterObserver(token_);
    if (unit_) deactivate();
    loop_->end();
}

// Sound

bool Instance::activate(double sampleRate, std::uint32_t longestBlock, platform::NSError* error) {
    const RunLoop::MakeCurrent current(loop_);
    // Whatever fails on the way, or throws, leaves it inactive.
    render_ = {};
    const auto format = platform::AVAudioFormat::initStandardFormatWithSampleRate(sampleRate, 2);
    if (!(*unit_->inputBusses())[0]->setFormat(format, error)) return false;
    if (!(*unit_->outputBusses())[0]->setFormat(format, error)) return false;
    if (!unit_->allocateRenderResourcesAndReturnError(error)) return false;

    const auto cycle = unit_->maximumFramesToRender();
    for (auto& copy : copies_) copy.assign(std::clamp(longestBlock, cycle, longestCopy), 0);
    silence_.assign(cycle, 0);
    for (auto& ignored : ignored_) ignored.assign(cycle, 0);
    clock_ = 0;
    render_ = unit_->internalRenderBlock();
    if (hasRendered_) reset();
    // Allocation has forgotten the delay but not its parameter; the editor draws it anew in samples
    // of the new rate.
    const auto delay = HostEvent::parameter(0, kPhaseShift, value(kPhaseShift));
    apply({&delay, 1});
    return true;
}

void Instance::deactivate() {
    render_ = {};
    unit_->deallocateRenderResources();
}

void Instance::process(const float* const (&input)[2], float* const (&output)[2],
                       std::uint32_t frames, std::span<const HostEvent> events) {
    if (!isActive()) {
        for (auto* channel : output)
            if (channel) std::fill_n(channel, frames, 0.0f);
        return;
    }
    use_.exchange(Use::rendering);
    takeAdopted();
    if (frames == 0) {
        apply(events);
    } else {
        const FloatEnvironment standard;
        // Of two outputs in one place the right channel stays there.
        processApart(input, {output[0] == output[1] ? nullptr : output[0], output[1]}, frames,
                     events);
    }
    use_.store(Use::idle, std::memory_order_release);
}

void Instance::processApart(const float* const (&input)[2], float* const (&output)[2],
                            std::uint32_t frames, std::span<const HostEvent> events) {
    const bool outputsOverlap = overlap(output[0], output[1], frames);
    if (!outputsOverlap && isSafe(input, output, frames)) {
        const bool isPlain =
            events.empty() && frames <= unit_->maximumFramesToRender() && input[0] && input[1];
        if (!isPlain) return renderPiece(input, output, 0, frames, frames, events);
        renderCycle(input[0], input[1], output[0] ? output[0] : ignored_[0].data(),
                    output[1] ? output[1] : ignored_[1].data(), frames, nullptr);
        clock_ += frames;
        hasRendered_ = true;
        return;
    }
    const auto longest = static_cast<std::uint32_t>(copies_[0].size());
    for (std::uint32_t begin = 0; begin < frames; begin += longest) {
        const auto count = std::min(longest, frames - begin);
        for (int channel = 0; channel < 2; ++channel) {
            if (input[channel])
                std::copy_n(input[channel] + begin, count, copies_[channel].data());
            else
                std::fill_n(copies_[channel].data(), count, 0.0f);
        }
        const float* const copied[2] = {copies_[0].data(), copies_[1].data()};
        if (!outputsOverlap) {
            renderPiece(copied, {behind(output[0], begin), behind(output[1], begin)}, begin, count,
                        frames, events);
            continue;
        }
        renderPiece(copied, {copies_[0].data(), copies_[1].data()}, begin, count, frames, events);
        for (int channel = 0; channel < 2; ++channel)
            std::copy_n(copied[channel], count, output[channel] + begin);
    }
}

/// `count` frames from frame `begin` of a block of `frames`, in cycles that the audio unit takes.
void Instance::renderPiece(const float* const (&input)[2], float* const (&output)[2],
                           std::uint32_t begin, std::uint32_t count, std::uint32_t frames,
                           std::span<const HostEvent> events) {
    const auto longest = unit_->maximumFramesToRender();
    for (std::uint32_t at = 0; at < count;) {
        const auto cycle = std::min(longest, count - at);
        const auto end =
            events_.collect(events, frames, begin + at, begin + at + cycle, clock_) - begin;
        const auto in = [&](int channel) {
            return input[channel] ? input[channel] + at : silence_.data();
        };
        const auto out = [&](int channel) {
            return output[channel] ? output[channel] + at : ignored_[channel].data();
        };
        renderCycle(in(0), in(1), out(0), out(1), end - at, events_.head());
        clock_ += end - at;
        at = end;
        if (events_.addresses())
            heardByAudio_.fetch_or(events_.addresses(), std::memory_order_release);
    }
    hasRendered_ = true;
}

void Instance::renderCycle(const float* left, const float* right, float* outLeft, float* outRight,
                           std::uint32_t count, const platform::AURenderEvent* events) {
    pullFrom_[0] = left;
    pullFrom_[1] = right;
    platform::StereoBufferList output(outLeft, outRight, count);
    const platform::AudioTimeStamp time{static_cast<double>(clock_), 0,
                                        platform::kAudioTimeStampSampleTimeValid};
    platform::AudioUnitRenderActionFlags flags = 0;
    render_(&flags, &time, count, 0, output.list(), events, pull_);
}

void Instance::apply(std::span<const HostEvent> events) {
    for (const auto& event : events) {
        const auto setting = settingOf(event);
        if (!setting) continue;
        unit_->setParameter(static_cast<std::int32_t>(setting->address), setting->value);
        heardByAudio_.fetch_or(1u << setting->address, std::memory_order_release);
    }
}

void Instance::reset() {
    if (isActive()) unit_->forgetSignal();
}

bool Instance::isBypassed() const {
    return unit_->getParameter(kBypass) > 0.5f;
}

std::uint32_t Instance::latency() const {
    return isBypassed() ? 0 : captureFrames;
}

std::uint32_t Instance::tail(double sampleRate) {
    return captureFrames + static_cast<std::uint32_t>(std::ceil(sampleRate / 100));
}

bool Instance::takeLatencyChange() {
    const auto now = latency();
    return reportedLatency_.exchange(now) != now;
}

// Parameters

float Instance::value(std::uint64_t address) const {
    return unit_->getParameter(static_cast<std::int32_t>(address));
}

void Instance::setValue(std::uint64_t address, float value) {
    const auto parameter = tree_->parameterWithAddress(address);
    const auto setting = settingOf(HostEvent::parameter(0, address, value));
    if (!parameter || !setting) return;
    const RunLoop::MakeCurrent current(loop_);
    parameter->setValue(setting->value, token_);
}

std::string Instance::valueText(std::uint64_t address, float value) const {
    return hosts::valueText(address, value, double{unit_->getSamplerate()});
}

std::optional<float> Instance::parseValue(std::uint64_t address, std::string_view text) const {
    const auto value =
        hosts::parseValue(address, text, double{unit_->getSamplerate()}, BareNumber::shown);
    if (!value) return std::nullopt;
    return static_cast<float>(std::clamp(*value, 0.0, 1.0));
}

void Instance::touchBegan() {
    touching_ = true;
}

void Instance::touchEnded() {
    touching_ = false;
    const auto held = held_.exchange(0);
    for (std::uint64_t address = 0; address < EditExchange::parameters; ++address)
        if (held & 1u << address) edits_.release(address);
}

// Presets and state

std::vector<std::string> Instance::factoryPresetNames() const {
    return {presetNames.begin(), presetNames.end()};
}

bool Instance::selectFactoryPreset(std::size_t number) {
    const auto presets = unit_->factoryPresets();
    if (number >= presets.size()) return false;
    const RunLoop::MakeCurrent current(loop_);
    const HostActs host(this);
    adopt(presetParameters[number]);
    unit_->setCurrentPreset(presets[number]);
    return true;
}

std::string Instance::saveState() const {
    return encodeState(unit_->fullState());
}

bool Instance::restoreState(std::string_view text) {
    const auto state = decodeState(text);
    if (!state) return false;
    const RunLoop::MakeCurrent current(loop_);
    const HostActs host(this);
    {
        // Without a tree the audio unit takes the preset's number and name only: the values of a
        // factory preset must not be heard or reported on the way.
        const WithoutTree withoutTree(*unit_, tree_);
        unit_->setFullState(*state);
    }
    Values values;
    for (const auto& [address, value] :
         std::get<std::map<platform::AUParameterAddress, platform::AUValue>>(state->at("data")))
        values.at(address) = value;
    adopt(values);
    for (const auto& parameter : tree_->allParameters()) parameter->didChangeValue(token_);
    return true;
}

/// Sets all parameters in one step: no cycle is rendered with some of the values. Waits for a block
/// that is being rendered to end.
void Instance::adopt(const Values& values) {
    for (std::size_t address = 0; address < values.size(); ++address)
        adopted_[address].store(values[address], std::memory_order_relaxed);
    hasAdopted_.store(true);
    while (hasAdopted_.load(std::memory_order_acquire)) {
        auto idle = Use::idle;
        if (use_.compare_exchange_strong(idle, Use::adopting)) {
            takeAdopted();
            // A block may have begun meanwhile; it has taken the values, too.
            auto adopting = Use::adopting;
            use_.compare_exchange_strong(adopting, Use::idle);
            return;
        }
        std::this_thread::yield();
    }
}

/// Both threads may be here at once: they then write the same values.
void Instance::takeAdopted() {
    if (!hasAdopted_.load(std::memory_order_acquire)) return;
    for (std::size_t address = 0; address < adopted_.size(); ++address) {
        const auto index = static_cast<std::int32_t>(address);
        const float value = adopted_[address].load(std::memory_order_relaxed);
        // Switching bypass on again would reset the signal.
        if (unit_->getParameter(index) != value) unit_->setParameter(index, value);
    }
    hasAdopted_.store(false, std::memory_order_release);
}

// Editor

void Instance::pump() {
    const RunLoop::MakeCurrent current(loop_);
    if (const auto heard = heardByAudio_.exchange(0, std::memory_order_acquire))
        for (const auto& parameter : tree_->allParameters())
            if (heard & 1u << parameter->address()) parameter->didChangeValue(token_);
    loop_->pump();
}

}  // namespace qov::hosts
