#include "audiounit/QOV_Kelvane_PluginAudioUnit.h"

#include <array>
#include <atomic>
#include <cstdio>
#include <new>
#include <string_view>
#include <utility>

#include "audiounit/HostBlocks.h"
#include "audiounit/parameters.h"
#include "audiounit/presets.h"
#include "dsp/relaxed.h"
#include "platform/foundation/Console.h"
#include "platform/foundation/NSError.h"

namespace qov {

using namespace platform;

AUHostMusicalContextBlock _musicalContext;
AUHostTransportStateBlock _transportStateBlock;
AUScheduleMIDIEventBlock _scheduleMIDIEventBlock;
AUMIDIOutputEventBlock _outputEventBlock;
std::mutex hostBlocksMutex;

namespace {

constexpr double defaultSampleRate = 44100.0;
constexpr std::uint32_t busChannels = 2;
constexpr AUAudioFrameCount longestCycle = 1024;  // frames

/// Without decimals, for the continuous parameters too: a host that shows the audio unit's own text
/// shows 0 or 1. One half is "0", as the formatter rounds to even.
std::string stringFromValue(const AUParameter& parameter, const AUValue* value) {
    std::array<char, 64> text{};
    const int length =
        std::snprintf(text.data(), text.size(), "%.f", value ? *value : parameter.value());
    return {text.data(), static_cast<std::size_t>(length)};
}

/// Returns the block, and prints the announcement if the host has set it.
template <class Block>
Block announced(Block block, std::string_view announcement) {
    if (block) console::print(announcement);
    return block;
}

/// The log's own line feed follows the one of the message.
void logPreset(std::string_view what, const AUAudioUnitPreset& preset) {
    console::print(std::string(what) + std::to_string(preset.number) + ", " +
                   preset.name.value_or("(null)") + "\n");
}

}  // namespace

QOV_Kelvane_PluginAudioUnit::QOV_Kelvane_PluginAudioUnit() = default;

QOV_Kelvane_PluginAudioUnit::~QOV_Kelvane_PluginAudioUnit() {
    _presets.clear();
}

bool QOV_Kelvane_PluginAudioUnit::initWithComponentDescription(
    const AudioComponentDescription& description, AudioComponentInstantiationOptions options,
    NSError* error) {
    if (!AUAudioUnit::initWithComponentDescription(description, options, error)) return false;

    buildParameterTree();
    const auto format =
        AVAudioFormat::initStandardFormatWithSampleRate(defaultSampleRate, busChannels);
    // No accessor hands the snapshot out, and its copies would push the rest out of the cache.
    _kernel.keepsSnapshot = false;
    _kernel.init(static_cast<std::int32_t>(format->channelCount()), format->sampleRate());

    _currentFactoryPresetIndex = 0;
    for (std::size_t number = 0; number < factoryPresetCount; ++number)
        _presets.push_back(std::make_shared<AUAudioUnitPreset>(AUAudioUnitPreset{
            static_cast<std::int64_t>(number), std::string(presetNames[number])}));
    // The tree has no value observer yet, so this touches the parameters and not the kernel.
    setCurrentPreset(_presets.front());

    _inputBus.configure(format, busChannels);
    _outputBus = AUAudioUnitBus::initWithFormat(format, nullptr);
    using Busses = std::vector<std::shared_ptr<AUAudioUnitBus>>;
    _outputBusArray =
        std::make_shared<AUAudioUnitBusArray>(this, AUAudioUnitBusType::output, Busses{_outputBus});
    _inputBusArray = std::make_shared<AUAudioUnitBusArray>(this, AUAudioUnitBusType::input,
                                                           Busses{_inputBus.bus});
    installCallbacks();
    setMaximumFramesToRender(longestCycle);
    return true;
}

void QOV_Kelvane_PluginAudioUnit::buildParameterTree() {
    std::vector<std::shared_ptr<AUParameter>> parameters;
    for (const auto& row : hostParameters) {
        parameters.push_back(AUParameterTree::createParameterWithIdentifier(
            std::string(row.identifier), std::string(row.name), row.address, 0.0f, 1.0f,
            row.isSwitch() ? kAudioUnitParameterUnit_Boolean : kAudioUnitParameterUnit_Generic, {},
            kAudioUnitParameterFlag_IsWritable, {}, {}));
        parameters.back()->setValue(row.initial);
    }
    _parameterTree = AUParameterTree::createTreeWithChildren(std::move(parameters));
    for (const auto& parameter : _parameterTree->allParameters())
        _kernel.setParameter(parameter->address(), parameter->value());
}

void QOV_Kelvane_PluginAudioUnit::installCallbacks() {
    _parameterTree->setImplementorStringFromValueCallback(stringFromValue);
    _parameterTree->setImplementorValueObserver(
        [kernel = &_kernel](const AUParameter& parameter, AUValue value) {
            if (kernel->getParameter(parameter.address()) != value)
                kernel->setParameter(parameter.address(), value);
        });
    _parameterTree->setImplementorValueProvider([kernel = &_kernel](const AUParameter& parameter) {
        return kernel->getParameter(parameter.address());
    });
}

std::shared_ptr<AUAudioUnitBusArray> QOV_Kelvane_PluginAudioUnit::inputBusses() const {
    return _inputBusArray;
}

std::shared_ptr<AUAudioUnitBusArray> QOV_Kelvane_PluginAudioUnit::outputBusses() const {
    return _outputBusArray;
}

bool QOV_Kelvane_PluginAudioUnit::allocateRenderResourcesAndReturnError(NSError* error) {
    if (!AUAudioUnit::allocateRenderResourcesAndReturnError(error)) return false;
    const auto fail = [&] {
        if (error) *error = NSError(NSOSStatusErrorDomain, kAudioUnitErr_FailedInitialization);
        setRenderResourcesAllocated(false);
        return false;
    };
    const auto& format = *_outputBus->format();
    const auto channels = format.channelCount();
    if (channels != _inputBus.bus->format()->channelCount() ||
        channels > _inputBus.bus->maximumChannelCount())
        return fail();
    try {
        _inputBus.allocateBuffers(maximumFramesToRender());
        adoptHostBlocks();
    } catch (const std::bad_alloc&) {
        _inputBus.releaseBuffers();
        return fail();
    }
    _kernel.init(static_cast<std::int32_t>(channels), format.sampleRate());
    _kernel.reset();
    return true;
}

void QOV_Kelvane_PluginAudioUnit::adoptHostBlocks() {
    // Copying and printing may throw; the variables change only after both.
    auto musicalContext = announced(musicalContextBlock(), "musicalContextBlock() is defined");
    auto transportState = announced(transportStateBlock(), "transportStateBlock() is defined.");
    auto scheduleMIDIEvent =
        announced(scheduleMIDIEventBlock(), "scheduleMIDIEventBlock() is defined.");
    auto outputEvent = announced(MIDIOutputEventBlock(), "MIDIOutputEventBlock() is defined.");
    const std::lock_guard lock(hostBlocksMutex);
    _musicalContext.swap(musicalContext);
    _transportStateBlock.swap(transportState);
    _scheduleMIDIEventBlock.swap(scheduleMIDIEvent);
    _outputEventBlock.swap(outputEvent);
}

void QOV_Kelvane_PluginAudioUnit::deallocateRenderResources() {
    _inputBus.releaseBuffers();
    AUAudioUnit::deallocateRenderResources();
}

AUInternalRenderBlock QOV_Kelvane_PluginAudioUnit::internalRenderBlock() {
    auto outputEvent =
        announced(MIDIOutputEventBlock(), "MIDIOutputEventBlock is defined and will be used.");
    if (!outputEvent)
        console::print(
            "MIDIOutputEventBlock is currently undefined and cannot be used with this host.");
    {
        const std::lock_guard lock(hostBlocksMutex);
        _outputEventBlock.swap(outputEvent);
    }

    return [kernel = &_kernel, inputBus = &_inputBus](
               AudioUnitRenderActionFlags*, const AudioTimeStamp* timestamp,
               AUAudioFrameCount frameCount, std::int64_t, AudioBufferList* output,
               const AURenderEvent* events, const AURenderPullInputBlock& pullInputBlock) {
        AudioUnitRenderActionFlags pullFlags = 0;
        const auto status =
            inputBus->pullInput(&pullFlags, timestamp, frameCount, 0, pullInputBlock);
        if (status != 0) return status;

        auto* const input = inputBus->mutableAudioBufferList;
        if (!output->mBuffers[0].mData)
            for (std::uint32_t i = 0; i < output->mNumberBuffers; ++i)
                output->mBuffers[i].mData = input->mBuffers[i].mData;
        kernel->setBuffers(input, output);
        kernel->processWithEvents(*timestamp, frameCount, events);
        return AUAudioUnitStatus{0};
    };
}

AUAudioUnit::PresetPointer QOV_Kelvane_PluginAudioUnit::currentPreset() const {
    if (_currentPreset && _currentPreset->number < 0) {
        logPreset("Returning Current Custom Preset: ", *_currentPreset);
        return _currentPreset;
    }
    console::print(
        "Returning Current Factory Preset: " + std::to_string(_currentFactoryPresetIndex) + "\n");
    return _presets[static_cast<std::size_t>(_currentFactoryPresetIndex)];
}

void QOV_Kelvane_PluginAudioUnit::setCurrentPreset(PresetPointer preset) {
    if (!preset) {
        console::print("nil passed to setCurrentPreset!");
        return;
    }
    if (preset->number < 0) {
        if (!preset->name) {
            console::print("setCurrentPreset not set! - invalid AUAudioUnitPreset\n");
            return;
        }
        _currentPreset = std::move(preset);
        logPreset("currentPreset Custom: ", *_currentPreset);
        return;
    }
    for (const auto& match : _presets) {
        if (match->number != preset->number) continue;
        const auto tree = parameterTree();
        std::array<std::shared_ptr<AUParameter>, parameterCount> parameters;
        if (tree)
            for (std::size_t i = 0; i < parameterCount; ++i)
                parameters[i] = tree->valueForKey(hostParameters[i].identifier);
        const auto& values = presetParameters[static_cast<std::size_t>(match->number)];
        for (std::size_t i = 0; i < parameterCount; ++i)
            if (parameters[i]) parameters[i]->setValue(values[i]);
        _currentPreset = std::move(preset);
        _currentFactoryPresetIndex = match->number;
        logPreset("currentPreset Factory: ", *match);
        return;
    }
}

std::vector<std::uint64_t> QOV_Kelvane_PluginAudioUnit::parametersForOverviewWithCount(
    std::int64_t) const {
    std::vector<std::uint64_t> addresses;
    addresses.reserve(parameterCount);
    for (const auto& row : hostParameters) addresses.push_back(row.address);
    return addresses;
}

std::shared_ptr<AUParameterTree> QOV_Kelvane_PluginAudioUnit::parameterTree() const {
    return _parameterTree;
}

void QOV_Kelvane_PluginAudioUnit::setParameterTree(std::shared_ptr<AUParameterTree> tree) {
    _parameterTree = std::move(tree);
}

std::vector<std::string> QOV_Kelvane_PluginAudioUnit::MIDIOutputNames() const {
    return {"QOV Kelvane MIDIOut"};
}

std::vector<AUAudioUnit::PresetPointer> QOV_Kelvane_PluginAudioUnit::factoryPresets() const {
    return _presets;
}

// The editor's accessors.

std::int32_t QOV_Kelvane_PluginAudioUnit::getBufferSize() const {
    return loadRelaxed(_kernel.collectorSize);
}

float* QOV_Kelvane_PluginAudioUnit::getBufferLeft() {
    storeRelaxed(_kernel.isNewBufferAvailable, false);
    return _kernel.circular.getChannel(0);
}

float* QOV_Kelvane_PluginAudioUnit::getBufferRight() {
    storeRelaxed(_kernel.isNewBufferAvailable, false);
    return _kernel.circular.getChannel(1);
}

bool QOV_Kelvane_PluginAudioUnit::isNewBuffer() const {
    return loadRelaxed(_kernel.isNewBufferAvailable);
}

void QOV_Kelvane_PluginAudioUnit::setParameter(std::int32_t address, float value) {
    _kernel.setParameter(static_cast<AUParameterAddress>(std::int64_t{address}), value);
}

float QOV_Kelvane_PluginAudioUnit::getParameter(std::int32_t address) const {
    return _kernel.getParameter(static_cast<AUParameterAddress>(std::int64_t{address}));
}

std::int32_t QOV_Kelvane_PluginAudioUnit::getPhaseShift() const {
    return loadRelaxed(_kernel.latency.lNewSize);
}

float QOV_Kelvane_PluginAudioUnit::getSamplerate() const {
    return loadRelaxed(_kernel.sampleRate);
}

// Atomic properties.

std::shared_ptr<AUAudioUnitBus> QOV_Kelvane_PluginAudioUnit::outputBus() const {
    return std::atomic_load(&_outputBus);
}

void QOV_Kelvane_PluginAudioUnit::setOutputBus(std::shared_ptr<AUAudioUnitBus> bus) {
    std::atomic_store(&_outputBus, std::move(bus));
}

std::shared_ptr<AUAudioUnitBusArray> QOV_Kelvane_PluginAudioUnit::inputBusArray() const {
    return std::atomic_load(&_inputBusArray);
}

void QOV_Kelvane_PluginAudioUnit::setInputBusArray(std::shared_ptr<AUAudioUnitBusArray> array) {
    std::atomic_store(&_inputBusArray, std::move(array));
}

std::shared_ptr<AUAudioUnitBusArray> QOV_Kelvane_PluginAudioUnit::outputBusArray() const {
    return std::atomic_load(&_outputBusArray);
}

void QOV_Kelvane_PluginAudioUnit::setOutputBusArray(std::shared_ptr<AUAudioUnitBusArray> array) {
    std::atomic_store(&_outputBusArray, std::move(array));
}

}  // namespace qov
