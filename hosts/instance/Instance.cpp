#include "hosts/instance/Instance.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <thread>
#include <utility>
#include <variant>

#include "audiounit/componentDescription.h"
#include "audiounit/parameters.h"
#include "dsp/areApart.h"
#include "dsp/longestDelay.h"
#include "hosts/instance/FloatEnvironment.h"
#include "hosts/instance/SavedState.h"
#include "hosts/instance/presetBank.h"
#include "hosts/instance/valueText.h"
#include "platform/audiotoolbox/AUAudioUnitFactory.h"
#include "platform/avfoundation/AVAudioFormat.h"
#include "platform/dispatch/RunLoop.h"
#include "platform/foundation/NSError.h"

namespace qov::hosts {

using platform::RunLoop;

namespace {

constexpr std::uint32_t longestCopy = 1 << 20;  // frames; more than any host's block
constexpr std::uint32_t allParameters = (1u << parameterCount) - 1;  // bit a: address a

/// The instance whose parameters this thread sets for the host: such changes are no edits.
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

/// Null overlaps with nothing.
bool overlap(const float* a, const float* b, std::uint32_t frames) {
    return a && b && !areApart(a, b, frames);
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

/// A value in 0..1; null for NaN and unknown addresses.
std::optional<float> clampedValue(std::uint64_t address, float value) {
    if (!parameterAt(address) || std::isnan(value)) return std::nullopt;
    return std::clamp(value, 0.0f, 1.0f);
}

/// The parameter that an event sets, as the kernel reads it.
std::optional<ParameterSetting> settingOf(const platform::AURenderEvent& event) {
    if (event.head.eventType == platform::AURenderEventMIDI)
        return settingOfMessage(event.MIDI.data);
    return ParameterSetting{event.parameter.parameterAddress, event.parameter.value};
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
        // The audio unit only reads its input, so it may be the host's own memory.
        for (int channel = 0; channel < 2; ++channel)
            data->mBuffers[channel].mData = const_cast<float*>(pullFrom_[channel]);
        return 0;
    };
}

bool Instance::makeUnit(platform::NSError* error) {
    const RunLoop::MakeCurrent current(loop_);
    unit_ = std::dynamic_pointer_cast<QOV_Kelvane_PluginAudioUnit>(
        factory_->createAudioUnit(componentDescription, error));
    if (!unit_) return false;
    tree_ = unit_->parameterTree();
    preset_ = unit_->currentPreset();
    return true;
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
            if (const auto clamped = clampedValue(address, value)) edits_.change(address, *clamped);
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
    // A failure or an exception on the way leaves it inactive.
    render_ = {};
    const auto format = platform::AVAudioFormat::initStandardFormatWithSampleRate(sampleRate, 2);
    if (!(*unit_->inputBusses())[0]->setFormat(format, error)) return false;
    if (!(*unit_->outputBusses())[0]->setFormat(format, error)) return false;
    if (!unit_->allocateRenderResourcesAndReturnError(error)) return false;

    const auto cycle = longestCycle_ = unit_->maximumFramesToRender();
    const auto cycles = (std::clamp(longestBlock, cycle, longestCopy) - 1) / cycle + 1;
    for (auto& copy : copies_) copy.assign(std::size_t{cycles} * cycle, 0);
    silence_.assign(cycle, 0);
    clock_ = 0;
    render_ = unit_->internalRenderBlock();
    if (hasRendered_) reset();
    // Allocation has reset the delay but not its parameter; the editor's text of it names samples
    // of the new rate.
    begin({}, {}, 0);
    set(0, kPhaseShift, value(kPhaseShift));
    end();
    return true;
}

void Instance::deactivate() {
    render_ = {};
    unit_->deallocateRenderResources();
}

void Instance::begin(const float* const (&input)[2], float* const (&output)[2],
                     std::uint32_t frames) {
    frames_ = frames;
    done_ = 0;
    addresses_ = 0;
    if (!isActive()) {
        for (auto* channel : output)
            if (channel) std::fill_n(channel, frames, 0.0f);
        return;
    }
    use_.store(Use::taking, std::memory_order_relaxed);
    fence_.light();
    takeAdopted();
    use_.store(Use::rendering, std::memory_order_release);
    for (int channel = 0; channel < 2; ++channel) {
        input_[channel] = input[channel];
        output_[channel] = output[channel];
    }
    // Of two outputs in one place the right channel stays there.
    if (output_[0] == output_[1]) output_[0] = nullptr;
    outputsOverlap_ = overlap(output_[0], output_[1], frames);
    isCopied_ = outputsOverlap_ || !isSafe(input_, output_, frames);
    copied_ = copyDone_ = 0;
    cycleLeft_ = longestCycle_;
}

void Instance::set(std::uint32_t frame, std::uint64_t address, float value) {
    const auto clamped = clampedValue(address, value);
    if (!clamped) return;
    note({address, *clamped});
    platform::AURenderEvent event{};
    event.parameter = {nullptr, 0, platform::AURenderEventParameter, {}, 0, address, *clamped};
    push(frame, event);
}

std::optional<ParameterSetting> Instance::midi(std::uint32_t frame,
                                               std::span<const std::uint8_t> bytes) {
    platform::AURenderEvent event{};
    if (bytes.empty() || bytes.size() > std::size(event.MIDI.data)) return std::nullopt;
    const bool isControlChange = (bytes[0] & 0xF0) == 0xB0;
    if (isControlChange && bytes.size() < 3) return std::nullopt;  // cut off
    event.MIDI = {nullptr, 0, platform::AURenderEventMIDI, 0, 0, 0, {bytes[0]}};
    event.MIDI.length = static_cast<std::uint16_t>(bytes.size());
    for (std::size_t i = 1; i < bytes.size(); ++i) event.MIDI.data[i] = bytes[i] & 0x7f;
    const auto setting = settingOf(event);
    if (setting) note(*setting);
    push(frame, event);
    return setting;
}

/// Before the kernel stores the value; see adopt().
void Instance::note(const ParameterSetting& setting) {
    addresses_ |= 1u << setting.address;
    if (setting.address >= lastEvents_.size()) return;
    auto& last = lastEvents_[setting.address];
    last.value.store(setting.value, std::memory_order_relaxed);
    last.count.store(last.count.load(std::memory_order_relaxed) + 1, std::memory_order_release);
    fence_.light();
}

void Instance::push(std::uint32_t frame, platform::AURenderEvent event) {
    if (frames_ == 0 || !isActive()) return apply(event);
    frame = std::clamp(frame, done_, frames_ - 1);
    event.head.eventSampleTime = clock_ + (frame - done_);
    if (!queue_.isFull()) return queue_.push(event);
    // A cut at an event is one that the event makes anyway.
    renderUpTo(frame);
    for (auto* due = queue_.take(clock_ + 1); due; due = due->head.next) apply(*due);
    apply(event);
}

/// For an event at the frame up to which all is rendered.
void Instance::apply(const platform::AURenderEvent& event) {
    if (const auto setting = settingOf(event))
        unit_->setParameter(static_cast<std::int32_t>(setting->address), setting->value);
}

void Instance::end() {
    if (isActive()) {
        renderUpTo(frames_);
        if (meter_.isWatched()) meter_.handOver();
        use_.store(Use::idle, std::memory_order_release);
    }
    if (addresses_) setByAudio_.fetch_or(addresses_, std::memory_order_release);
}

/// Cuts at the multiples of the longest cycle, counted from the block's begin, whatever the events.
void Instance::renderUpTo(std::uint32_t end) {
    const FloatEnvironment standard;
    while (done_ < end) {
        const auto count = std::min(end - done_, cycleLeft_);
        if (copyDone_ == copied_ && isCopied_) copyInput();
        renderCycle(count);
        cycleLeft_ -= count;
        if (cycleLeft_ == 0) cycleLeft_ = longestCycle_;
        if (copyDone_ == copied_ && outputsOverlap_) copyOutput();
        hasRendered_ = true;
    }
}

void Instance::renderCycle(std::uint32_t count) {
    float* output[2];
    for (int channel = 0; channel < 2; ++channel) {
        auto* const copy = copies_[channel].data() + copyDone_;
        const auto* const input = input_[channel];
        pullFrom_[channel] = isCopied_ ? copy : input ? input + done_ : silence_.data();
        auto* const written = output_[channel];
        output[channel] = outputsOverlap_ || !written ? copy : written + done_;
    }
    platform::StereoBufferList list(output[0], output[1], count);
    const platform::AudioTimeStamp time{static_cast<double>(clock_), 0,
                                        platform::kAudioTimeStampSampleTimeValid};
    platform::AudioUnitRenderActionFlags flags = 0;
    const bool isMetered = meter_.isWatched();
    if (isMetered) meter_.addInput(pullFrom_[0], pullFrom_[1], count);
    render_(&flags, &time, count, 0, list.list(), queue_.take(clock_ + count), pull_);
    if (isMetered) meter_.addOutput(output[0], output[1], count);
    clock_ += count;
    done_ += count;
    if (isCopied_) copyDone_ += count;
}

void Instance::copyInput() {
    copied_ = static_cast<std::uint32_t>(std::min(copies_[0].size(), std::size_t{frames_ - done_}));
    copyDone_ = 0;
    for (int channel = 0; channel < 2; ++channel) {
        if (input_[channel])
            std::copy_n(input_[channel] + done_, copied_, copies_[channel].data());
        else
            std::fill_n(copies_[channel].data(), copied_, 0.0f);
    }
}

/// After the last frame of a copy: both channels, the left one first.
void Instance::copyOutput() {
    for (int channel = 0; channel < 2; ++channel)
        std::copy_n(copies_[channel].data(), copied_, output_[channel] + (done_ - copied_));
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
    return captureFrames +
           static_cast<std::uint32_t>(std::ceil(longestDelay(static_cast<float>(sampleRate))));
}

bool Instance::takeLatencyChange() {
    const auto now = latency();
    return reportedLatency_.exchange(now) != now;
}

// Parameters

float Instance::value(std::uint64_t address) const {
    return unit_->getParameter(static_cast<std::int32_t>(address));
}

Instance::Values Instance::values() const {
    Values values;
    for (std::uint64_t address = 0; address < values.size(); ++address)
        values[address] = value(address);
    return values;
}

void Instance::setValue(std::uint64_t address, float value) {
    const auto parameter = tree_->parameterWithAddress(address);
    const auto clamped = clampedValue(address, value);
    if (!parameter || !clamped) return;
    const RunLoop::MakeCurrent current(loop_);
    parameter->setValue(*clamped, token_);
}

void Instance::setValues(const Values& values) {
    const RunLoop::MakeCurrent current(loop_);
    const HostActs host(this);
    adopt(values);
    for (const auto& parameter : tree_->allParameters()) parameter->didChangeValue(token_);
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

std::optional<float> Instance::parseTyped(std::uint64_t address, std::string_view text) const {
    const auto value =
        hosts::parseValue(address, text, double{unit_->getSamplerate()}, BareNumber::typed);
    if (!value) return std::nullopt;
    return static_cast<float>(*value);
}

void Instance::touchBegan() {
    touching_ = true;
}

std::uint32_t Instance::touchEnded() {
    touching_ = false;
    const auto held = held_.exchange(0);
    for (std::uint64_t address = 0; address < EditExchange::parameters; ++address)
        if (held & 1u << address) edits_.release(address);
    return held;
}

void Instance::reportEdits(const Values& before) {
    const auto now = values();
    std::uint32_t changed = 0;
    for (std::uint64_t address = 0; address < now.size(); ++address)
        if (now[address] != before[address]) changed |= 1u << address;
    if (changed) edits_.change(now, changed);
}

// Presets and state

namespace {

/// The starting points are custom presets to the audio unit, which have negative numbers; a user's
/// is the one below them.
constexpr auto usersPreset = -1 - static_cast<std::int64_t>(startingPoints.size());

constexpr std::int64_t unitsNumberOf(std::size_t number) {
    const auto signedNumber = static_cast<std::int64_t>(number);
    constexpr auto factory = static_cast<std::int64_t>(factoryPresetCount);
    return signedNumber < factory ? signedNumber : factory - 1 - signedNumber;
}

}  // namespace

bool Instance::selectPreset(std::size_t number) {
    if (number >= presetBank.size()) return false;
    const auto& preset = presetBank[number];
    setSettings({preset.values, unitsNumberOf(number), std::string(preset.name)});
    return true;
}

void Instance::selectPreset(const Preset& preset) {
    setSettings({preset.values, usersPreset, preset.name});
}

Settings Instance::settings() const {
    return {values(), preset_->number, preset_->name.value_or("")};
}

void Instance::setSettings(const Settings& settings) {
    auto state = unit_->fullState();
    state["preset-number"] = settings.presetNumber;
    state["name"] = settings.presetName;
    std::map<platform::AUParameterAddress, platform::AUValue> data;
    for (std::size_t address = 0; address < settings.values.size(); ++address)
        data[address] = settings.values[address];
    state["data"] = std::move(data);
    restore(state);
}

std::optional<std::size_t> Instance::presetNumber() const {
    for (std::size_t each = 0; each < presetBank.size(); ++each)
        if (unitsNumberOf(each) == preset_->number && presetBank[each].name == preset_->name)
            return each;
    return std::nullopt;
}

std::string Instance::saveState() const {
    return encodeState(unit_->fullState());
}

bool Instance::restoreState(std::string_view text) {
    const auto state = decodeState(text);
    if (!state) return false;
    restore(*state);
    editMemory_ = {};
    return true;
}

void Instance::restore(const platform::AUState& state) {
    const RunLoop::MakeCurrent current(loop_);
    {
        const HostActs host(this);
        // Without a tree the audio unit takes the preset's number and name only: the values of a
        // factory preset must not reach the sound or observers on the way.
        const WithoutTree withoutTree(*unit_, tree_);
        unit_->setFullState(state);
    }
    preset_ = unit_->currentPreset();
    Values values;
    for (const auto& [address, value] :
         std::get<std::map<platform::AUParameterAddress, platform::AUValue>>(state.at("data")))
        values.at(address) = value;
    setValues(values);
}

/// Sets all parameters in one step: no cycle is rendered with some of the values. Blocks until the
/// end of a block that is being rendered.
///
/// A block may begin while the values are written here: it then takes them all itself, and its
/// events may set a parameter before the write here. Such a write is repeated with the event's
/// value.
void Instance::adopt(const Values& values) {
    for (std::size_t address = 0; address < values.size(); ++address)
        adopted_[address].store(values[address], std::memory_order_relaxed);
    hasAdopted_.store(true);
    fence_.heavy();  // a block that begins from here on finds them
    const auto eventCount = [this](std::size_t address) {
        return lastEvents_[address].count.load(std::memory_order_acquire);
    };
    std::array<std::uint32_t, parameterCount> before, written;
    for (auto idle = Use::idle;; idle = Use::idle) {
        // Counted before the look at hasAdopted_: without the events of a block that takes the
        // values.
        for (std::size_t address = 0; address < before.size(); ++address)
            before[address] = eventCount(address);
        if (!hasAdopted_.load(std::memory_order_acquire)) return;
        if (use_.compare_exchange_strong(idle, Use::adopting)) break;
        std::this_thread::yield();
    }
    for (auto left = allParameters; left;) {
        for (std::size_t address = 0; address < values.size(); ++address) {
            if (!(left & 1u << address)) continue;
            written[address] = eventCount(address);
            writeAdopted(address, written[address] == before[address]
                                      ? values[address]
                                      : lastEvents_[address].value.load());
        }
        fence_.heavy();  // the value of an event that is not counted yet comes after these
        for (std::size_t address = 0; address < values.size(); ++address)
            if (eventCount(address) == written[address]) left &= ~(1u << address);
    }
    hasAdopted_.store(false);
    auto adopting = Use::adopting;
    if (!use_.compare_exchange_strong(adopting, Use::idle))
        while (use_ == Use::taking) std::this_thread::yield();  // still reads adopted_
}

/// The audio thread's part of adopt(), at the begin of a block.
void Instance::takeAdopted() {
    if (!hasAdopted_.load(std::memory_order_acquire)) return;
    for (std::size_t address = 0; address < adopted_.size(); ++address)
        writeAdopted(address, adopted_[address].load(std::memory_order_relaxed));
    hasAdopted_.store(false, std::memory_order_release);
}

void Instance::writeAdopted(std::uint64_t address, float value) {
    const auto index = static_cast<std::int32_t>(address);
    // Switching bypass on again would reset the signal.
    if (unit_->getParameter(index) != value) unit_->setParameter(index, value);
}

// Editor

void Instance::pump() {
    const RunLoop::MakeCurrent current(loop_);
    if (const auto heard = setByAudio_.exchange(0, std::memory_order_acquire))
        for (const auto& parameter : tree_->allParameters())
            if (heard & 1u << parameter->address()) parameter->didChangeValue(token_);
    loop_->pump();
}

}  // namespace qov::hosts
