#include "hosts/lv2/Editor.h"

#include <optional>

#include "hosts/instance/Instance.h"
#include "hosts/instance/guarded.h"
#include "hosts/lv2/Plugin.h"
#include "hosts/lv2/Ports.h"
#include "platform/uikit/NativeWindow.h"

namespace qov::hosts::lv2 {

std::unique_ptr<Editor> Editor::open(Plugin& plugin, const Host& host, std::string* error) {
    if (plugin.editor()) {
        *error = "this instance's editor is open already";
        return nullptr;
    }
    const auto scale = host.scale > 0 ? std::optional<double>(host.scale)
                                      : platform::NativeWindow::desktopScale(error);
    if (!scale) return nullptr;
    std::unique_ptr<Editor> editor(new Editor(plugin, host, *scale));
    if (!editor->openWindow(error)) return nullptr;
    plugin.setEditor(editor.get());
    return editor;
}

Editor::Editor(Plugin& plugin, const Host& host, double scale) : plugin_(&plugin), host_(host) {
    window_.emplace(plugin.instance(), scale);
}

bool Editor::openWindow(std::string* error) {
    if (!window_->open({.parent = host_.parent, .title = host_.title}, error)) return false;
    const auto size = window_->size();
    if (host_.resize) host_.resize->ui_resize(host_.resize->handle, size.width, size.height);
    if (host_.parent) window_->show();
    return true;
}

Editor::~Editor() {
    if (!plugin_) return;
    window_.reset();  // which ends what is touched
    guarded([&] { writeEdits(); });
    plugin_->setEditor(nullptr);
}

void Editor::losePlugin() {
    window_.reset();
    plugin_ = nullptr;
}

std::uint64_t Editor::handle() const {
    return window_ ? window_->handle() : 0;
}

bool Editor::idle() {
    if (!plugin_) return false;
    plugin_->watch();
    plugin_->instance().pump();
    writeEdits();
    isClosed_ |= window_->takeEnd() != EmbeddedEditor::End::none;
    return !isClosed_;
}

void Editor::portChanged(std::uint32_t port, float value) {
    if (plugin_ && port >= firstControl && port < firstControl + parameterCount)
        plugin_->portChanged(port - firstControl, value);
}

void Editor::writeEdits() {
    using Kind = EditExchange::Edit::Kind;
    auto& controls = plugin_->controls();
    plugin_->instance().edits().take([&](const EditExchange::Edit& edit) {
        const auto port = firstControl + static_cast<std::uint32_t>(edit.address);
        const auto touch = [&](bool isDown) {
            if (host_.touch) host_.touch->touch(host_.touch->handle, port, isDown);
        };
        const float value = portOfParameter(edit.address, edit.value);
        switch (edit.kind) {
            case Kind::begin:
                controls.hold(edit.address);
                touch(true);
                break;
            case Kind::value:
                controls.wrote(edit.address, value);
                if (host_.write) host_.write(host_.controller, port, sizeof value, 0, &value);
                break;
            case Kind::end:
                touch(false);
                controls.release(edit.address);
                break;
        }
    });
}

bool Editor::show() {
    isClosed_ = false;
    return window_ && window_->show();
}

bool Editor::hide() {
    return window_ && window_->hide();
}

bool Editor::setSize(int width, int height) {
    return window_ && window_->setSize({width, height});
}

}  // namespace qov::hosts::lv2
