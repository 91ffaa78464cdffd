#pragma once

#include <lv2/ui/ui.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "hosts/window/EmbeddedEditor.h"

namespace qov::hosts::lv2 {

class Plugin;

/// The editor of a plug-in in the same process, as an X11 UI: inside a host's window, or floating
/// where the host gives none. It is drawn in the host's idle calls. A user's change takes effect
/// at once and is written to the control ports. It shows the plug-in's own values; port events
/// matter only while the host does not process. Belongs to the host's editor thread.
class Editor {
 public:
    /// What the host gives an editor at its start; kept by value.
    struct Host {
        LV2UI_Write_Function write;
        LV2UI_Controller controller;
        const LV2UI_Touch* touch;    ///< or null
        const LV2UI_Resize* resize;  ///< or null
        std::uint64_t parent;        ///< an X11 window; 0 for none
        float scale;                 ///< pixels a point; 0 for the desktop's
        std::string title;
    };
    /// An editor, shown where it has a parent. Null, with a line about why in *error.
    static std::unique_ptr<Editor> open(Plugin& plugin, const Host& host, std::string* error);
    ~Editor();
    Editor(const Editor&) = delete;
    Editor& operator=(const Editor&) = delete;

    /// The X11 window.
    std::uint64_t handle() const;
    /// Draws and reports edits. False once the user, the screen or the plug-in has closed it.
    bool idle();
    /// A port event of a control port; others are ignored.
    void portChanged(std::uint32_t port, float value);
    // For a window of its own
    bool show();
    bool hide();
    /// Pixels.
    bool setSize(int width, int height);

    /// The plug-in is deleted while the editor is open: closes the window; later calls are no-ops.
    void losePlugin();

 private:
    Editor(Plugin& plugin, const Host& host, double scale);
    bool openWindow(std::string* error);
    void writeEdits();

    Plugin* plugin_;  // null once it is gone
    const Host host_;
    std::optional<EmbeddedEditor> window_;  // empty once the plug-in is gone
    bool isClosed_ = false;
};

}  // namespace qov::hosts::lv2
