#include "platform/audiotoolbox/AUAudioUnit.h"

#include <utility>

#include "platform/audiotoolbox/AUAudioUnitBusArray.h"
#include "platform/audiotoolbox/AUParameterTree.h"
#include "platform/foundation/NSError.h"

namespace platform {
namespace {

bool fail(NSError* error, AUAudioUnitStatus status) {
    if (error) *error = NSError(NSOSStatusErrorDomain, status);
    return false;
}

/// The entry `key` if it exists with this type, else null.
template <class Value>
const Value* entry(const AUState& state, const char* key) {
    const auto found = state.find(key);
    return found == state.end() ? nullptr : std::get_if<Value>(&found->second);
}

}  // namespace

AUAudioUnit::AUAudioUnit() = default;
AUAudioUnit::~AUAudioUnit() = default;

bool AUAudioUnit::initWithComponentDescription(const AudioComponentDescription& description,
                                               AudioComponentInstantiationOptions, NSError* error) {
    if (!description.componentType || !description.componentSubType ||
        !description.componentManufacturer)
        return fail(error, invalidComponentID);
    description_ = description;
    return true;
}

std::shared_ptr<AUAudioUnitBusArray> AUAudioUnit::inputBusses() const {
    return nullptr;
}

std::shared_ptr<AUAudioUnitBusArray> AUAudioUnit::outputBusses() const {
    return nullptr;
}

std::shared_ptr<AUParameterTree> AUAudioUnit::parameterTree() const {
    return parameterTree_;
}

void AUAudioUnit::setParameterTree(std::shared_ptr<AUParameterTree> tree) {
    parameterTree_ = std::move(tree);
}

void AUAudioUnit::setMaximumFramesToRender(AUAudioFrameCount frames) {
    if (!renderResourcesAllocated_) maximumFramesToRender_ = frames;
}

bool AUAudioUnit::allocateRenderResourcesAndReturnError(NSError* error) {
    if (maximumFramesToRender_ == 0) return fail(error, kAudioUnitErr_FailedInitialization);
    renderResourcesAllocated_ = true;
    return true;
}

void AUAudioUnit::deallocateRenderResources() {
    renderResourcesAllocated_ = false;
}

AUInternalRenderBlock AUAudioUnit::internalRenderBlock() {
    return {};
}

void AUAudioUnit::setCurrentPreset(PresetPointer preset) {
    currentPreset_ = std::move(preset);
}

std::vector<std::uint64_t> AUAudioUnit::parametersForOverviewWithCount(std::int64_t) const {
    return {};
}

AUState AUAudioUnit::fullState() const {
    AUState state{{"type", std::int64_t{description_.componentType}},
                  {"subtype", std::int64_t{description_.componentSubType}},
                  {"manufacturer", std::int64_t{description_.componentManufacturer}},
                  {"version", std::int64_t{0}}};
    if (const auto preset = currentPreset()) {
        state["preset-number"] = preset->number;
        if (preset->name) state["name"] = *preset->name;
    }
    std::map<AUParameterAddress, AUValue> values;
    if (const auto tree = parameterTree())
        for (const auto& parameter : tree->allParameters())
            if (parameter->flags() & kAudioUnitParameterFlag_IsWritable)
                values[parameter->address()] = parameter->value();
    state["data"] = std::move(values);
    return state;
}

void AUAudioUnit::setFullState(const AUState& state) {
    const std::pair<const char*, std::uint32_t> codes[] = {
        {"type", description_.componentType},
        {"subtype", description_.componentSubType},
        {"manufacturer", description_.componentManufacturer}};
    for (const auto& [key, code] : codes) {
        const auto* saved = entry<std::int64_t>(state, key);
        if (!saved || *saved != code) return;
    }
    if (const auto* number = entry<std::int64_t>(state, "preset-number")) {
        const auto preset = std::make_shared<AUAudioUnitPreset>();
        preset->number = *number;
        if (const auto* name = entry<std::string>(state, "name")) preset->name = *name;
        setCurrentPreset(preset);
    }
    const auto* values = entry<std::map<AUParameterAddress, AUValue>>(state, "data");
    const auto tree = parameterTree();
    if (!values || !tree) return;
    for (const auto& [address, value] : *values)
        if (const auto parameter = tree->parameterWithAddress(address)) parameter->setValue(value);
}

void AUAudioUnit::setMusicalContextBlock(AUHostMusicalContextBlock block) {
    musicalContext_ = std::move(block);
}

void AUAudioUnit::setTransportStateBlock(AUHostTransportStateBlock block) {
    transportState_ = std::move(block);
}

void AUAudioUnit::setScheduleMIDIEventBlock(AUScheduleMIDIEventBlock block) {
    scheduleMIDIEvent_ = std::move(block);
}

void AUAudioUnit::setMIDIOutputEventBlock(AUMIDIOutputEventBlock block) {
    midiOutputEvent_ = std::move(block);
}

}  // namespace platform
