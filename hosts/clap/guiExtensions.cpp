// The editor, and the host's calls that keep it going.

#include <algorithm>
#include <cstring>

#include "hosts/clap/ClapPlugin.h"
#include "hosts/clap/extensions.h"

namespace qov::hosts::clap {
namespace {

bool isX11(const char* api) {
    return api && std::strcmp(api, CLAP_WINDOW_API_X11) == 0;
}

/// Of a floating window a host may leave open what shows it.
bool isSupported(const char* api, bool isFloating) {
    return isX11(api) || (isFloating && (!api || !*api));
}

template <class Call>
bool onEditor(const clap_plugin_t* plugin, Call&& call) {
    return ClapPlugin::call(plugin, false, [&](ClapPlugin& self) { return call(self.editor()); });
}

/// On one that was created; false before that.
template <class Call>
bool onCreated(const clap_plugin_t* plugin, Call&& call) {
    return onEditor(plugin, [&](auto& editor) {
        auto* created = editor.created();
        return created && call(*created);
    });
}

EmbeddedEditor::Size sizeOf(uint32_t width, uint32_t height) {
    const auto side = [](uint32_t pixels) {
        return static_cast<int>(std::min<uint32_t>(pixels, EditorWindow::largestSide));
    };
    return {side(width), side(height)};
}

bool give(EmbeddedEditor::Size size, uint32_t* width, uint32_t* height) {
    if (!width || !height) return false;
    *width = static_cast<uint32_t>(size.width);
    *height = static_cast<uint32_t>(size.height);
    return true;
}

}  // namespace

const clap_plugin_gui_t extensions::gui{
    .is_api_supported = [](const clap_plugin_t*, const char* api,
                           bool isFloating) { return isSupported(api, isFloating); },
    .get_preferred_api =
        [](const clap_plugin_t*, const char** api, bool* isFloating) {
            if (!api || !isFloating) return false;
            *api = CLAP_WINDOW_API_X11;
            *isFloating = false;
            return true;
        },
    .create =
        [](const clap_plugin_t* plugin, const char* api, bool isFloating) {
            return isSupported(api, isFloating) &&
                   onEditor(plugin, [&](auto& editor) { return editor.create(isFloating); });
        },
    .destroy =
        [](const clap_plugin_t* plugin) {
            // The end of a touch that ends with the editor is reported now: no timer is left.
            ClapPlugin::run(plugin, [](auto& self) {
                self.editor().destroy();
                self.turn();
            });
        },
    .set_scale =
        [](const clap_plugin_t* plugin, double scale) {
            return onCreated(plugin, [&](auto& editor) { return editor.setScale(scale); });
        },
    .get_size =
        [](const clap_plugin_t* plugin, uint32_t* width, uint32_t* height) {
            return onCreated(plugin,
                             [&](auto& editor) { return give(editor.size(), width, height); });
        },
    .can_resize = [](const clap_plugin_t*) { return true; },
    .get_resize_hints =
        [](const clap_plugin_t*, clap_gui_resize_hints_t* hints) {
            if (!hints) return false;
            *hints = {.can_resize_horizontally = true,
                      .can_resize_vertically = true,
                      .preserve_aspect_ratio = true,
                      .aspect_ratio_width = 17,
                      .aspect_ratio_height = 11};
            return true;
        },
    .adjust_size =
        [](const clap_plugin_t* plugin, uint32_t* width, uint32_t* height) {
            if (!width || !height) return false;
            return onCreated(plugin, [&](auto& editor) {
                return give(editor.fitting(sizeOf(*width, *height)), width, height);
            });
        },
    .set_size =
        [](const clap_plugin_t* plugin, uint32_t width, uint32_t height) {
            return onEditor(plugin, [&](auto& editor) {
                return editor.created() && !editor.isFloating() &&
                       editor.created()->setSize(sizeOf(width, height));
            });
        },
    .set_parent =
        [](const clap_plugin_t* plugin, const clap_window_t* window) {
            return window && isX11(window->api) &&
                   onEditor(plugin, [&](auto& editor) { return editor.setParent(window->x11); });
        },
    .set_transient =
        [](const clap_plugin_t* plugin, const clap_window_t* window) {
            return window && isX11(window->api) &&
                   onEditor(plugin, [&](auto& editor) { return editor.setTransient(window->x11); });
        },
    .suggest_title =
        [](const clap_plugin_t* plugin, const char* title) {
            ClapPlugin::run(plugin, [&](auto& self) { self.editor().setTitle(title); });
        },
    .show =
        [](const clap_plugin_t* plugin) {
            return onEditor(plugin, [](auto& editor) { return editor.show(); });
        },
    .hide =
        [](const clap_plugin_t* plugin) {
            return onEditor(plugin, [](auto& editor) { return editor.hide(); });
        },
};

const clap_plugin_timer_support_t extensions::timerSupport{
    .on_timer = [](const clap_plugin_t* plugin,
                   clap_id) { ClapPlugin::run(plugin, [](auto& self) { self.turn(); }); },
};

const abi::PluginPosixFdSupport extensions::posixFdSupport{
    .on_fd = [](const clap_plugin_t* plugin, int,
                uint32_t) { ClapPlugin::run(plugin, [](auto& self) { self.turn(); }); },
};

}  // namespace qov::hosts::clap
