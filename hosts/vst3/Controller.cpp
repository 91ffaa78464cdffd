#include "hosts/vst3/Controller.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <map>
#include <mutex>
#include <optional>
#include <utility>
#include <variant>

#include "audiounit/parameters.h"
#include "hosts/instance/Instance.h"
#include "hosts/instance/SavedState.h"
#include "hosts/vst3/View.h"
#include "hosts/vst3/stream.h"
#include "hosts/vst3/text16.h"
#include "platform/dispatch/RunLoop.h"

namespace qov::hosts::vst3 {

namespace {

constexpr std::size_t textSize = 128;  // units of UTF-16, in every text of the format's

/// Of the factory preset that a state was made from, if it was.
std::optional<std::size_t> presetNumber(const platform::AUState& state) {
    const auto entry = state.find("preset-number");
    if (entry == state.end()) return std::nullopt;
    return static_cast<std::size_t>(std::get<std::int64_t>(entry->second));
}

}  // namespace

// There is no state besides the component's.
constexpr v3_edit_controller_cpp Controller::controllerTable{
    unknownEntries,
    {entry<&Controller::initialize>, entry<&Controller::terminate>},
    {entry<&Controller::setComponentState>, returns<V3_OK>, returns<V3_OK>,
     entry<&Controller::getParameterCount>, entry<&Controller::getParameterInfo>,
     entry<&Controller::getParameterStringForValue>, entry<&Controller::getParameterValueForString>,
     entry<&Controller::normalisedParameterToPlain>, entry<&Controller::plainParameterToNormalised>,
     entry<&Controller::getParameterNormalised>, entry<&Controller::setParameterNormalised>,
     entry<&Controller::setComponentHandler>, entry<&Controller::createView>}};

constexpr v3_midi_mapping_cpp Controller::midiMappingTable{
    unknownEntries, {entry<&Controller::getMidiControllerAssignment>}};

Controller::Controller(Unknown& effect, Instance& instance, ReportedValues& values,
                       Held<v3_run_loop> loop)
    : effect_(effect),
      instance_(instance),
      values_(values),
      parameters_(instance),
      factoryLoop_(std::move(loop)),
      hostLoop_(factoryLoop_),
      loop_([this] { tick(); }) {
    takeValues();
    values_.set(volumeId, 1);
}

v3_result Controller::initialize(v3_funknown** context) {
    auto loop = Held<v3_run_loop>::of(context, v3_run_loop_iid);
    if (loop) hostLoop_ = std::move(loop);
    if (!loop_.isRunning()) loop_.start(hostLoop_, instance_.runLoop()->fileDescriptor());
    return V3_OK;
}

v3_result Controller::terminate() {
    if (view_) view_->close();
    loop_.stop();
    tick();  // reports pending edits while there is a handler
    hostLoop_ = factoryLoop_;
    return setComponentHandler(nullptr);
}

// State

/// False, and nothing changed, where it is no state of ours.
v3_result Controller::restore(v3_bstream** stream) {
    if (!stream) return V3_INVALID_ARG;
    const auto state = readAll(stream);
    tickNow();  // pending edits are older than the state
    if (!state || !instance_.restoreState(*state)) return V3_FALSE;
    const auto number = presetNumber(*decodeState(*state));
    if (number && *number < parameters_.programs().size()) program_ = *number;
    takeValues();
    tickNow();
    return V3_OK;
}

/// With reported values that have not reached the signal: a host may save while it does not
/// process.
std::string Controller::save() {
    tickNow();
    auto state = decodeState(instance_.saveState());
    auto& values = std::get<std::map<platform::AUParameterAddress, float>>((*state)["data"]);
    for (auto& [address, value] : values)
        value = static_cast<float>(values_.get(static_cast<v3_param_id>(address)));
    return encodeState(*state);
}

v3_result Controller::setComponentState(v3_bstream** stream) {
    return restore(stream);
}

void Controller::takeValues() {
    for (v3_param_id id = 0; id < parameterCount; ++id)
        values_.set(id, double{instance_.value(id)});
}

void Controller::applyValues() {
    for (v3_param_id id = 0; id < parameterCount; ++id) {
        const auto value = static_cast<float>(values_.get(id));
        if (value != instance_.value(id)) instance_.setValue(id, value);
    }
    instance_.audioUnit().setParameter(volumeId, static_cast<float>(values_.get(volumeId)));
    announcedLatency_ = latency();
}

// Parameters

std::int32_t Controller::getParameterCount() {
    return parameters_.count();
}

v3_result Controller::getParameterInfo(std::int32_t index, v3_param_info* info) {
    return info && parameters_.describe(index, *info) ? V3_OK : V3_INVALID_ARG;
}

v3_result Controller::getParameterStringForValue(v3_param_id id, double value, std::int16_t* text) {
    const auto written = parameters_.text(id, value);
    if (!written || !text) return V3_INVALID_ARG;
    writeText(*written, text, textSize);
    return V3_OK;
}

v3_result Controller::getParameterValueForString(v3_param_id id, std::int16_t* text,
                                                 double* value) {
    if (!text || !value) return V3_INVALID_ARG;
    const auto parsed = parameters_.parse(id, readText(text, textSize));
    if (!parsed) return V3_FALSE;
    *value = *parsed;
    return V3_OK;
}

double Controller::normalisedParameterToPlain(v3_param_id id, double value) {
    if (id == programId) return static_cast<double>(parameters_.programOf(value));
    return parameters_.steps(id) == 1 ? (value > 0.5 ? 1 : 0) : value;
}

double Controller::plainParameterToNormalised(v3_param_id id, double plain) {
    return id == programId ? std::clamp(plain / *parameters_.steps(programId), 0.0, 1.0) : plain;
}

double Controller::getParameterNormalised(v3_param_id id) {
    tickNow();
    if (id == programId) return plainParameterToNormalised(id, static_cast<double>(program_));
    return ReportedValues::has(id) ? values_.get(id) : 0;
}

/// While active, the host sends the value to process() as well, where it reaches the signal.
v3_result Controller::setParameterNormalised(v3_param_id id, double value) {
    if (std::isnan(value)) return V3_INVALID_ARG;
    value = std::clamp(value, 0.0, 1.0);
    tickNow();  // pending edits are older than this value
    if (id == programId) return selectProgram(value);
    if (!ReportedValues::has(id)) return V3_INVALID_ARG;
    if (values_.isHeld(id)) return V3_OK;
    values_.set(id, value);
    if (!instance_.isActive()) instance_.setValue(id, static_cast<float>(value));
    tickNow();
    return V3_OK;
}

v3_result Controller::selectProgram(double value) {
    program_ = parameters_.programOf(value);
    instance_.selectFactoryPreset(program_);
    takeValues();
    if (const auto host = handler_)
        host(&v3_component_handler::restart_component, V3_RESTART_PARAM_VALUES_CHANGED);
    tickNow();
    return V3_OK;
}

/// Controllers become parameter changes on their way here; these three mean the same as they do
/// for the audio unit.
v3_result Controller::getMidiControllerAssignment(std::int32_t bus, std::int16_t,
                                                  std::int16_t controller, v3_param_id* id) {
    if (!id || bus != 0) return V3_INVALID_ARG;
    const auto address = parameterOfController(static_cast<std::uint16_t>(controller));
    if (!address) return V3_FALSE;
    *id = static_cast<v3_param_id>(*address);
    return V3_OK;
}

// The host

v3_result Controller::setComponentHandler(v3_component_handler** handler) {
    handler_ = Held<v3_component_handler>(handler);
    return V3_OK;
}

std::uint32_t Controller::latency() const {
    return values_.get(kBypass) > 0.5 ? 0 : Instance::captureFrames;
}

void Controller::tickNow() {
    if (!loop_.isRunning()) tick();
}

void Controller::tick() {
    instance_.pump();
    reportToHost();
}

/// Passes on what the editor did. A host that runs its loop, or calls us, in one of these calls
/// gets the next when it returns: begin, values and end stay in order.
void Controller::reportToHost() {
    const std::unique_lock turn(reporting_, std::try_to_lock);
    if (!turn) return;
    while (const auto edit = nextEdit()) tell(*edit);
    const auto host = handler_;
    // A plug-in that is not active is asked when it becomes so.
    const auto now = latency();
    if (instance_.isActive() && host && announcedLatency_.exchange(now) != now)
        host(&v3_component_handler::restart_component, V3_RESTART_LATENCY_CHANGED);
}

std::optional<EditExchange::Edit> Controller::nextEdit() {
    if (edits_.empty())
        instance_.edits().take([&](const EditExchange::Edit& edit) { edits_.push_back(edit); });
    if (edits_.empty()) return std::nullopt;
    const auto edit = edits_.front();
    edits_.pop_front();
    return edit;
}

void Controller::tell(const EditExchange::Edit& edit) {
    const auto host = handler_;  // held through the call, in which it may change
    const auto id = static_cast<v3_param_id>(edit.address);
    using Kind = EditExchange::Edit::Kind;
    if (edit.kind == Kind::begin) {
        values_.setHeld(id, true);
        if (host) host(&v3_component_handler::begin_edit, id);
    } else if (edit.kind == Kind::value) {
        values_.set(id, double{edit.value});
        if (host) host(&v3_component_handler::perform_edit, id, double{edit.value});
    } else {
        if (host) host(&v3_component_handler::end_edit, id);
        values_.setHeld(id, false);
    }
}

// The view

v3_plugin_view** Controller::createView(const char* name) {
    if (!name || std::strcmp(name, "editor") != 0) return nullptr;
    return (new View(effect_, *this, instance_))->face();
}

bool Controller::viewOpens(View& view, Held<v3_run_loop> loop) {
    if (view_) return false;
    if (!loop_.isRunning() && !loop_.start(hostLoop_ ? hostLoop_ : std::move(loop),
                                           instance_.runLoop()->fileDescriptor())) {
        std::fputs("kelvane: no editor: the host offers no run loop to draw it on\n", stderr);
        return false;
    }
    view_ = &view;
    return true;
}

void Controller::viewCloses(View& view) {
    if (view_ != &view) return;
    view_ = nullptr;
    if (!hostLoop_) loop_.stop();
}

}  // namespace qov::hosts::vst3
