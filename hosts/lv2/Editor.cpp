#include "hosts/lv2/Editor.h"

#include <algorithm>

#include "hosts/instance/Instance.h"
#include "hosts/instance/guarded.h"
#include "hosts/lv2/Plugin.h"
#include "hosts/lv2/Ports.h"
#include "hosts/window/EditorWindow.h"
#include "platform/uikit/NativeWindow.h"

namespace qov::hosts::lv2 {

std::unique_ptr<Editor> Editor::open(Plugin& plugin, const Host& host, std::string* error) {
    if (plugin.editor()) {
        *error = "this instance's editor is open already";
        return nullptr;
    }
    std::unique_ptr<Editor> editor(new Editor(plugin, host));
    if (!editor->openWindow(error)) return nullptr;
    plugin.setEditor(editor.get());
    return editor;
}

Editor::Editor(Plugin& plugin, const Host& host) : plugin_(&plugin), host_(host) {}

bool Editor::openWindow(std::string* error) {
    EditorWindow::Options options{.parent = host_.parent};
    if (host_.scale > 0)
        options.scale = std::clamp<double>(host_.scale, EditorWindow::smallestScale,
                                           EditorWindow::largestScale);
    if (!host_.title.empty()) options.title = host_.title;
    window_ = EditorWindow::open(plugin_->instance(), options, error);
    if (!window_) return false;
    auto& native = window_->native();
    native.onClose = [this] { isClosed_ = true; };
    native.onLost = [this] { isClosed_ = true; };
    if (host_.resize) {
        const auto scale = native.scale();
        host_.resize->ui_resize(host_.resize->handle, static_cast<int>(options.size.width * scale),
                                static_cast<int>(options.size.height * scale));
    }
    if (host_.parent) native.show();
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
    return window_ ? window_->native().handle() : 0;
}

bool Editor::idle() {
    if (!plugin_) return false;
    plugin_->watch();
    plugin_->instance().pump();
    writeEdits();
    return !isClosed_;
}

void Editor::hearPort(std::uint32_t port, float value) {
    if (plugin_ && port >= firstControl && port < firstControl + parameterCount)
        plugin_->hearPort(port - firstControl, value);
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
    if (!plugin_) return false;
    isClosed_ = false;
    window_->native().show();
    return window_->native().isAlive();
}

bool Editor::hide() {
    if (!plugin_) return false;
    window_->native().hide();
    return true;
}

bool Editor::setSize(int width, int height) {
    if (!plugin_ || width <= 0 || height <= 0) return false;
    const auto points = [&](int pixels) {
        return std::min(pixels, EditorWindow::largestSide) / window_->native().scale();
    };
    window_->native().setSize({points(width), points(height)});
    return true;
}

}  // namespace qov::hosts::lv2
