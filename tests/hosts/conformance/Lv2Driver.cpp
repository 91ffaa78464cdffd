// The LV2 bundle's binaries, through the format's C interface.

#include <dlfcn.h>
#include <lv2/core/lv2.h>
#include <lv2/ui/ui.h>

#include <algorithm>
#include <atomic>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <mutex>
#include <stdexcept>
#include <utility>

#include "audiounit/parameters.h"
#include "hosts/instance/product.h"
#include "tests/hosts/conformance/Lv2Description.h"
#include "tests/hosts/conformance/Plugin.h"
#include "tests/hosts/lv2/Lv2Host.h"
#include "tests/support/renderEvents.h"

namespace qov::test {
namespace {

using hosts::EditExchange;
using platform::AURenderEvent;

const std::string bundle = KELVANE_PLUGINS "/lv2/kelvane.lv2/";

/// A shared object of the bundle, and what its entry point gives for index 0.
template <class Descriptor>
class Binary {
 public:
    Binary(const std::string& file, const char* entryPoint)
        : library_(dlopen((bundle + file).c_str(), RTLD_NOW | RTLD_LOCAL)) {
        if (!library_) throw std::runtime_error(dlerror());
        const auto entry =
            reinterpret_cast<const Descriptor* (*)(std::uint32_t)>(dlsym(library_, entryPoint));
        descriptor_ = entry ? entry(0) : nullptr;
        if (!descriptor_ || entry(1)) throw std::runtime_error(file + " offers no plug-in");
    }
    ~Binary() { dlclose(library_); }
    Binary(const Binary&) = delete;
    Binary& operator=(const Binary&) = delete;

    const Descriptor& operator*() const { return *descriptor_; }

 private:
    void* library_;
    const Descriptor* descriptor_;
};

float portOf(std::uint64_t address, float value) {
    if (!parameterAt(address)->isSwitch() || std::isnan(value)) return value;
    return (value > 0.5F) != (address == kBypass) ? 1.0F : 0.0F;
}

class Lv2Plugin : public Plugin {
 public:
    Lv2Plugin() { instantiate(48000); }
    ~Lv2Plugin() override {
        if (isActive_) host_->deactivate();
    }

    /// The rate is given at birth, so another one makes a new plug-in with the old one's state.
    bool activate(double sampleRate, std::uint32_t) override {
        if (sampleRate != rate_) {
            const auto bytes = saveState();
            const bool hasEditor = editor_ != nullptr;
            closeEditor();
            if (!instantiate(sampleRate) || !restoreState(bytes)) return false;
            if (hasEditor) openEditor(parent_);
        }
        host_->activate();
        isActive_ = true;
        runEmpty();
        return true;
    }
    void deactivate() override {
        host_->deactivate();
        isActive_ = false;
    }
    void reset() override {
        host_->deactivate();
        host_->activate();
    }

    void prepare(const float* const (&input)[2], float* const (&output)[2], std::uint32_t frames,
                 std::span<const AURenderEvent> events) override {
        host_->connectAudio(input, output);
        frames_ = frames;
        auto all = takeSettings();
        all.insert(all.end(), events.begin(), events.end());
        host_->takeAnswers();
        host_->send(all);
    }
    void run() override {
        host_->run(frames_);
        latency_.store(static_cast<std::uint32_t>(host_->latency), std::memory_order_relaxed);
    }

    std::uint32_t latency() override { return latency_; }
    bool takeLatencyAnnouncement() override { return false; }

    /// What the plug-in would save: all that a host can learn from any thread.
    float value(std::uint64_t address) override {
        const auto text = host_->save()[std::string(hosts::product::uri) + "#state"];
        const auto key = "value." + std::to_string(address) + "=";
        const auto at = text.find(key);
        if (at == std::string::npos) throw std::runtime_error("no value in the state: " + text);
        return std::strtof(text.c_str() + at + key.size(), nullptr);
    }
    void setValue(std::uint64_t address, float value) override {
        {
            const std::lock_guard lock(mutex_);
            settings_.push_back(parameterEvent(0, address, portOf(address, value)));
        }
        if (isActive_) return;
        host_->activate();
        runEmpty();
        host_->deactivate();
    }
    std::string valueText(std::uint64_t, float) override { return {}; }
    std::optional<float> parseValue(std::uint64_t, const std::string&) override { return {}; }
    std::vector<EditExchange::Edit> takeEdits() override {
        if (editor_)
            std::ranges::move(std::exchange(editor_->edits, {}), std::back_inserter(edits_));
        return std::exchange(edits_, {});
    }

    // A host saves the values of the ports beside the properties.
    std::string saveState() override {
        auto saved = host_->save();
        const std::lock_guard lock(mutex_);
        std::string bytes(reinterpret_cast<const char*>(host_->controls.data()),
                          sizeof host_->controls);
        return bytes + saved[heardPorts].c_str() + '\n' + saved[state].c_str();
    }
    bool restoreState(std::string_view bytes) override {
        auto& controls = host_->controls;
        const auto end = bytes.find('\n', sizeof controls);
        if (bytes.size() < sizeof controls || end == std::string_view::npos) return false;
        const auto text = [&](std::size_t from, std::size_t to) {
            return std::string(bytes.substr(from, to - from)) + '\0';
        };
        if (!host_->restore(
                {{heardPorts, text(sizeof controls, end)}, {state, text(end + 1, bytes.size())}}))
            return false;
        std::memcpy(controls.data(), bytes.data(), sizeof controls);
        return true;
    }

    bool openEditor(std::uint64_t parent) override {
        if (!editorBinary_) editorBinary_.emplace("kelvane_ui.so", "lv2ui_descriptor");
        parent_ = parent;
        editor_ = std::make_unique<Lv2EditorHost>(**editorBinary_, *host_,
                                                  Lv2EditorHost::Options{.parent = parent});
        editor_->onWrite = [this](std::uint64_t address, float port) {
            const std::lock_guard lock(mutex_);
            settings_.push_back(parameterEvent(0, address, port));
        };
        if (!editor_->isOpen()) editor_.reset();
        return editor_ != nullptr;
    }
    void closeEditor() override {
        if (!editor_) return;
        editor_->close();  // which may end a touch
        edits_ = takeEdits();
        editor_.reset();
    }
    std::pair<int, int> editorSize() override {
        return editor_ ? std::pair(editor_->width, editor_->height) : std::pair(0, 0);
    }
    bool resizeEditor(int width, int height) override {
        if (!editor_ || !editor_->resize(width, height)) return false;
        editor_->width = width;
        editor_->height = height;
        return true;
    }
    void idle() override {
        if (editor_) editor_->idle();
    }

 private:
    bool instantiate(double rate) {
        auto host = std::make_unique<Lv2Host>(*binary_, Lv2Host::Options{.rate = rate});
        if (!host->handle()) return false;
        host_ = std::move(host);
        rate_ = rate;
        return true;
    }

    void runEmpty() {
        prepare({nullptr, nullptr}, {nullptr, nullptr}, 0, {});
        run();
    }

    /// The host's own changes go to the ports. One that a port does not show, as it had that value
    /// already, goes as a message.
    std::vector<AURenderEvent> takeSettings() {
        const std::lock_guard lock(mutex_);
        std::vector<AURenderEvent> messages;
        for (const auto& setting : settings_) {
            const auto address = setting.parameter.parameterAddress;
            const float value = setting.parameter.value;
            auto& port = host_->controls[address];
            if (port == value)
                messages.push_back(
                    parameterEvent(0, address, address == kBypass ? 1 - value : value));
            port = value;
        }
        settings_.clear();
        return messages;
    }

    const std::string state = std::string(hosts::product::uri) + "#state";
    const std::string heardPorts = std::string(hosts::product::uri) + "#heard_ports";

    Binary<LV2_Descriptor> binary_{"kelvane.so", "lv2_descriptor"};
    std::optional<Binary<LV2UI_Descriptor>> editorBinary_;
    double rate_ = 0;
    std::unique_ptr<Lv2Host> host_;
    std::unique_ptr<Lv2EditorHost> editor_;  // goes first
    std::uint64_t parent_ = 0;
    std::vector<EditExchange::Edit> edits_;
    bool isActive_ = false;
    std::uint32_t frames_ = 0;
    std::atomic<std::uint32_t> latency_{0};
    std::mutex mutex_;
    std::vector<AURenderEvent> settings_;  // ports' values on their way to the audio thread
};

class Lv2Format : public Format {
 public:
    std::string name() const override { return "LV2"; }
    Capabilities capabilities() const override {
        return {.valueTexts = false,
                .parsesTexts = false,
                .announcesLatency = false,
                .restoresWhileRunning = false};
    }
    PluginDescription describe() override {
        const Binary<LV2_Descriptor> binary("kelvane.so", "lv2_descriptor");
        return describeLv2(bundle, (*binary).URI);
    }
    std::unique_ptr<Plugin> create() override { return std::make_unique<Lv2Plugin>(); }
};

const bool registered = Format::add<Lv2Format>();

}  // namespace
}  // namespace qov::test
