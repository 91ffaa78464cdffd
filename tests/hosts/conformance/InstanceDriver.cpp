// The bare instance, without a format around it: the reference for every adapter.

#include "editor/AudioUnitViewController.h"
#include "hosts/instance/Instance.h"
#include "hosts/window/EmbeddedEditor.h"
#include "tests/hosts/conformance/Plugin.h"
#include "tests/hosts/instance/playBlock.h"

namespace qov::test {
namespace {

using hosts::Instance;
using platform::AURenderEvent;

class InstancePlugin : public Plugin {
 public:
    void reset() override { instance_->reset(); }
    void run() override {
        playBlock(*instance_, {input_[0], input_[1]}, {output_[0], output_[1]}, frames_, events_);
    }

    std::uint32_t latency() override { return instance_->latency(); }
    bool takeLatencyAnnouncement() override { return instance_->takeLatencyChange(); }

    float value(std::uint64_t address) override { return instance_->value(address); }
    void setValue(std::uint64_t address, float value) override {
        instance_->setValue(address, value);
    }
    std::string valueText(std::uint64_t address, float value) override {
        return instance_->valueText(address, value);
    }
    std::optional<float> parseValue(std::uint64_t address, const std::string& text) override {
        return instance_->parseValue(address, text);
    }
    std::vector<hosts::EditExchange::Edit> takeEdits() override {
        std::vector<hosts::EditExchange::Edit> edits;
        instance_->edits().take([&](const auto& edit) { edits.push_back(edit); });
        return edits;
    }

    std::string saveState() override { return instance_->saveState(); }
    bool restoreState(std::string_view bytes) override { return instance_->restoreState(bytes); }

    bool openEditor(std::uint64_t parent) override {
        editor_.emplace(*instance_, 1);
        editor_->requestSize = [](auto) { return true; };
        return editor_->open({.parent = parent}, nullptr) && editor_->show();
    }
    void closeEditor() override { editor_.reset(); }
    std::pair<int, int> editorSize() override {
        if (!editor_) return {};
        const auto size = editor_->size();
        return {size.width, size.height};
    }
    bool resizeEditor(int width, int height) override {
        return editor_ && editor_->setSize({width, height});
    }
    void idle() override { instance_->pump(); }

 private:
    bool start(double sampleRate, std::uint32_t longestBlock) override {
        return instance_->activate(sampleRate, longestBlock, nullptr);
    }
    void stop() override { instance_->deactivate(); }
    void setUp(const std::vector<AURenderEvent>&, std::span<const AURenderEvent> events) override {
        events_.assign(events.begin(), events.end());
    }

    std::unique_ptr<Instance> instance_ =
        Instance::create(nullptr, {}, std::make_shared<AudioUnitViewController>());
    std::optional<hosts::EmbeddedEditor> editor_;  // ends before the instance
    std::vector<AURenderEvent> events_;
};

const bool registered = Format::add<InstancePlugin>("Instance", {}, nullptr);

}  // namespace
}  // namespace qov::test
