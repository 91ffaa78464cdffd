// The bare instance, without a format around it: the reference for every adapter.

#include "editor/AudioUnitViewController.h"
#include "hosts/instance/Instance.h"
#include "hosts/window/EditorWindow.h"
#include "platform/uikit/NativeWindow.h"
#include "tests/hosts/conformance/Plugin.h"
#include "tests/hosts/instance/playBlock.h"

namespace qov::test {
namespace {

using hosts::EditorWindow;
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
        std::string error;
        editor_ = EditorWindow::open(*instance_, {.parent = parent, .scale = 1}, &error);
        if (editor_) editor_->native().show();
        return editor_ != nullptr;
    }
    void closeEditor() override { editor_.reset(); }
    std::pair<int, int> editorSize() override {
        if (!editor_) return {};
        const auto size = editor_->native().size();
        return {static_cast<int>(size.width), static_cast<int>(size.height)};
    }
    bool resizeEditor(int width, int height) override {
        if (editor_)
            editor_->native().setSize(
                {static_cast<platform::CGFloat>(width), static_cast<platform::CGFloat>(height)});
        return editor_ != nullptr;
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
    std::unique_ptr<EditorWindow> editor_;  // ends before the instance
    std::vector<AURenderEvent> events_;
};

const bool registered = Format::add<InstancePlugin>("Instance", {}, nullptr);

}  // namespace
}  // namespace qov::test
