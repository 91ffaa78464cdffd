#include "hosts/vst3/Plugin.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <map>
#include <mutex>
#include <string>
#include <utility>
#include <variant>

#include "audiounit/parameters.h"
#include "hosts/instance/SavedState.h"
#include "hosts/instance/made.h"
#include "hosts/instance/presetBank.h"
#include "hosts/vst3/View.h"
#include "hosts/vst3/createPlugin.h"
#include "hosts/vst3/description.h"
#include "hosts/vst3/identity.h"
#include "hosts/vst3/text16.h"
#include "hosts/window/makeInstance.h"
#include "platform/dispatch/RunLoop.h"

namespace qov::hosts::vst3 {

namespace {

/// The rest of a host's stream, read in pieces of any size; null for more bytes than a state has.
std::optional<std::string> readAll(v3_bstream** stream) {
    std::string bytes;
    char piece[4096];
    while (bytes.size() <= Instance::largestState) {
        std::int32_t count = 0;
        const auto result = v3_cpp_obj(stream)->read(stream, piece, sizeof piece, &count);
        if (count <= 0) return bytes;
        bytes.append(piece, std::min<std::size_t>(static_cast<std::size_t>(count), sizeof piece));
        if (result != V3_OK) return bytes;  // some hosts report the end of the stream as an error
    }
    return std::nullopt;
}

/// False if the stream does not take all of it.
bool writeAll(v3_bstream** stream, std::string bytes) {
    for (std::size_t done = 0; done < bytes.size();) {
        std::int32_t count = 0;
        const auto size = static_cast<std::int32_t>(bytes.size() - done);
        const auto result = v3_cpp_obj(stream)->write(stream, bytes.data() + done, size, &count);
        if (result != V3_OK || count <= 0 || count > size) return false;
        done += static_cast<std::size_t>(count);
    }
    return true;
}

}  // namespace

// There is no state besides the component's.
constexpr v3_edit_controller_cpp Plugin::controllerTable{
    unknownEntries,
    {entry<&Plugin::initialize>, entry<&Plugin::terminate>},
    {entry<&Plugin::setState>, returns<V3_OK>, returns<V3_OK>, returns<parameterCount + 2>,
     entry<&getParameterInfo>, entry<&Plugin::textOfValue>, entry<&Plugin::valueOfText>,
     entry<&plainOfNormalised>, entry<&normalisedOfPlain>, entry<&Plugin::value>,
     entry<&Plugin::setValue>, entry<&Plugin::setComponentHandler>, entry<&Plugin::createView>}};

Plugin::Plugin(std::unique_ptr<Instance> instance, Held<v3_run_loop> loop)
    : instance_(std::move(instance)), factoryLoop_(std::move(loop)), hostLoop_(factoryLoop_) {
    takeValues();
    values_.set(volumeId, 1);
}

Plugin::~Plugin() {
    terminate();  // if the host has not
}

void* Plugin::find(const std::uint8_t* id) noexcept {
    const std::pair<const v3_tuid&, Face&> faces[] = {
        {v3_funknown_iid, component_},
        {v3_plugin_base_iid, component_},
        {v3_component_iid, component_},
        {v3_audio_processor_iid, audioProcessor_},
        {v3_process_context_requirements_iid, requirements_},
        {v3_edit_controller_iid, editController_},
        {v3_midi_mapping_iid, midiMapping_},
        {v3_unit_information_iid, units_},
    };
    for (const auto& [face, object] : faces)
        if (v3_tuid_match(id, face)) return &object;
    return nullptr;
}

v3_result Plugin::initialize(v3_funknown** context) {
    auto loop = Held<v3_run_loop>::of(context, v3_run_loop_iid);
    if (loop) hostLoop_ = std::move(loop);
    startLoop(hostLoop_);
    return V3_OK;
}

/// Closes the view. No object of the host's is called after this.
v3_result Plugin::terminate() {
    {
        const std::lock_guard pass(gate_);
        instance_->deactivate();
    }
    if (view_) view_->close();
    stopLoop();
    tick();  // reports pending edits while there is a handler
    hostLoop_ = factoryLoop_;
    return setComponentHandler(nullptr);
}

// State

/// False, with nothing changed, for bytes that are not a state.
v3_result Plugin::setState(v3_bstream** stream) {
    if (!stream) return V3_INVALID_ARG;
    const auto text = readAll(stream);
    tickNow();  // pending edits are older than the state
    if (!text || !instance_->restoreState(*text)) return V3_FALSE;
    program_ = instance_->presetNumber().value_or(program_);
    takeValues();
    tickNow();
    return V3_OK;
}

/// With reported values that have not reached the signal: a host may save while it does not
/// process.
v3_result Plugin::getState(v3_bstream** stream) {
    if (!stream) return V3_INVALID_ARG;
    tickNow();
    auto state = *decodeState(instance_->saveState());
    auto& values = std::get<std::map<platform::AUParameterAddress, float>>(state["data"]);
    for (auto& [address, value] : values)
        value = static_cast<float>(values_.get(static_cast<v3_param_id>(address)));
    return writeAll(stream, encodeState(state)) ? V3_OK : V3_INTERNAL_ERR;
}

void Plugin::takeValues() {
    for (v3_param_id id = 0; id < parameterCount; ++id)
        values_.set(id, double{instance_->value(id)});
}

// Parameters

v3_result Plugin::textOfValue(v3_param_id id, double value, std::int16_t* text) {
    if (!text || !stepsOf(id) || std::isnan(value)) return V3_INVALID_ARG;
    value = std::clamp(value, 0.0, 1.0);
    if (id == programId)
        writeText(presetBank[programOf(value)].name, text, textSize);
    else
        writeText(instance_->valueText(id, static_cast<float>(value)), text, textSize);
    return V3_OK;
}

v3_result Plugin::valueOfText(v3_param_id id, std::int16_t* text, double* value) {
    if (!text || !value) return V3_INVALID_ARG;
    const auto words = readText(text, textSize);
    if (id == programId) {
        const auto found = std::ranges::find(presetBank, words, &BankPreset::name);
        if (found == presetBank.end()) return V3_FALSE;
        *value = valueOfProgram(static_cast<double>(found - presetBank.begin()));
        return V3_OK;
    }
    const auto parsed = instance_->parseValue(id, words);
    if (parsed) *value = double{*parsed};
    return parsed ? V3_OK : V3_FALSE;
}

double Plugin::value(v3_param_id id) {
    tickNow();
    if (id == programId) return valueOfProgram(static_cast<double>(program_));
    return ReportedValues::has(id) ? values_.get(id) : 0;
}

/// While active, the host sends the value to process() as well, where it reaches the signal.
v3_result Plugin::setValue(v3_param_id id, double value) {
    if (std::isnan(value)) return V3_INVALID_ARG;
    value = std::clamp(value, 0.0, 1.0);
    tickNow();  // pending edits are older than this value
    if (id == programId) return selectProgram(value);
    if (!ReportedValues::has(id)) return V3_INVALID_ARG;
    if (values_.isHeld(id)) return V3_OK;
    values_.set(id, value);
    if (!instance_->isActive()) instance_->setValue(id, static_cast<float>(value));
    tickNow();
    return V3_OK;
}

v3_result Plugin::selectProgram(double value) {
    // A user's preset has no program: a host that sends back what it was told does not mean the one
    // before.
    const auto program = programOf(value);
    if (program == program_ && !instance_->presetNumber()) return V3_OK;
    program_ = program;
    instance_->selectPreset(program_);
    takeValues();
    if (const auto host = handler_)
        host(&v3_component_handler::restart_component, V3_RESTART_PARAM_VALUES_CHANGED);
    tickNow();
    return V3_OK;
}

// The host

v3_result Plugin::setComponentHandler(v3_component_handler** handler) {
    handler_ = Held<v3_component_handler>(handler);
    return V3_OK;
}

/// Without a run loop, pending notifications are flushed on the next host call.
void Plugin::tickNow() {
    if (!loop_) tick();
}

void Plugin::tick() {
    instance_->pump();
    reportToHost();
}

/// Reports the editor's edits. Where a host runs its loop, or calls the plug-in, in one of these
/// calls, it gets the next when it returns: begin, values and end stay in order.
void Plugin::reportToHost() {
    const std::unique_lock turn(reporting_, std::try_to_lock);
    if (!turn) return;
    auto& edits = instance_->edits();
    while (edits.isPending()) {
        // One step for the host's undo, where it knows groups.
        const auto group = edits.isSeveral() ? Held<v3_component_handler2>::of(
                                                   handler_.get(), v3_component_handler2_iid)
                                             : Held<v3_component_handler2>();
        if (group) group(&v3_component_handler2::start_group_edit);
        edits.take([this](const EditExchange::Edit& edit) { report(edit); });
        if (group) group(&v3_component_handler2::finish_group_edit);
    }
    const auto host = handler_;
    // The editor chooses presets, too. An edit of the program would be wrong: a host that undoes it
    // selects the whole earlier preset, over values that were edited since.
    if (const auto program = instance_->presetNumber().value_or(program_);
        std::exchange(program_, program) != program && host)
        host(&v3_component_handler::restart_component, V3_RESTART_PARAM_VALUES_CHANGED);
    // The host reads the latency of an inactive plug-in when it activates it.
    const auto now = latency();
    if (instance_->isActive() && host && announcedLatency_.exchange(now) != now)
        host(&v3_component_handler::restart_component, V3_RESTART_LATENCY_CHANGED);
}

void Plugin::report(const EditExchange::Edit& edit) {
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

bool Plugin::startLoop(const Held<v3_run_loop>& loop) {
    if (!loop_)
        loop_ = HostLoop::start(loop, instance_->runLoop()->fileDescriptor(), [this] { tick(); });
    return loop_ != nullptr;
}

void Plugin::stopLoop() {
    if (loop_) std::exchange(loop_, nullptr)->stop();
}

// The view

v3_plugin_view** Plugin::createView(const char* name) {
    if (!name || std::strcmp(name, "editor") != 0) return nullptr;
    return (new View(*this))->face();
}

bool Plugin::viewOpens(View& view, const Held<v3_run_loop>& loop) {
    if (view_) return false;
    if (!startLoop(hostLoop_ ? hostLoop_ : loop)) {
        std::fputs("kelvane: no editor: the host offers no run loop to draw it on\n", stderr);
        return false;
    }
    view_ = &view;
    return true;
}

void Plugin::viewCloses(View& view) {
    if (view_ != &view) return;
    view_ = nullptr;
    if (!hostLoop_) stopLoop();
}

}  // namespace qov::hosts::vst3

extern "C" v3_funknown** kelvane_vst3_create(v3_funknown** host) {
    using namespace qov::hosts;
    using vst3::Plugin;
    auto* plugin = made<Plugin>([&](std::string* error) -> std::unique_ptr<Plugin> {
        auto instance = makeInstance({}, error);
        if (!instance) return nullptr;
        auto loop = vst3::Held<v3_run_loop>::of(host, v3_run_loop_iid);
        return std::make_unique<Plugin>(std::move(instance), std::move(loop));
    });
    return plugin ? plugin->face() : nullptr;
}
