#pragma once

#include <lv2/ui/ui.h>

#include <cstdint>
#include <memory>
#include <string>

namespace qov::hosts {
class EditorWindow;
}

namespace qov::hosts::lv2 {

class Plugin;

/// The editor of a plug-in that runs in the same process, as an X11 UI: inside a host's window, or
/// in one of its own where the host has none to give. The host's idle calls are what it lives on.
/// What a person changes takes effect at once and is written to the control ports. It shows what
/// the plug-in does, and needs not be told of the ports but by a host that has stopped processing.
/// Belongs to the host's editor thread.
class Editor {
 public:
    /// What the host gives an editor at its start; kept by value.
    struct Host {
        LV2UI_Write_Function write;
        LV2UI_Controller controller;
        const LV2UI_Touch* touch;    ///< or null
        const LV2UI_Resize* resize;  ///< or null
        std::uint64_t parent;        ///< an X11 window; 0 for none
        float scale;                 ///< pixels a point; 0 for what the desktop says
        std::string title;
    };
    /// An editor, shown where it has a parent. Null, with a line about why in *error.
    static std::unique_ptr<Editor> open(Plugin& plugin, const Host& host, std::string* error);
    ~Editor();
    Editor(const Editor&) = delete;
    Editor& operator=(const Editor&) = delete;

    /// The X11 window.
    std::uint64_t handle() const;
    /// False once the user has closed it, or there is nothing left to show.
    bool idle();
    /// What the host says of a port, by its index.
    void hearPort(std::uint32_t port, float value);
    // For a window of its own
    bool show();
    bool hide();
    /// Pixels.
    bool setSize(int width, int height);

    /// The plug-in goes while the editor is still open: the window closes, calls do nothing.
    void losePlugin();

 private:
    Editor(Plugin& plugin, const Host& host);
    bool openWindow(std::string* error);
    void writeEdits();

    Plugin* plugin_;  // null once it is gone
    const Host host_;
    std::unique_ptr<EditorWindow> window_;
    bool isClosed_ = false;
};

}  // namespace qov::hosts::lv2
