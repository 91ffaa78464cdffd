#pragma once

#include <clap/ext/gui.h>
#include <clap/id.h>

#include <cstdint>
#include <optional>

#include "hosts/window/EmbeddedEditor.h"

namespace qov::hosts {
class Instance;
}

namespace qov::hosts::clap {

struct ClapHost;

/// The editor in the order of a CLAP host's calls: create, set scale, size and parent, show. It is
/// drawn on the host's timer; a host without one gets no editor. Main thread.
class ClapEditor {
 public:
    ClapEditor(Instance& instance, const ClapHost& host);
    ~ClapEditor();
    ClapEditor(const ClapEditor&) = delete;
    ClapEditor& operator=(const ClapEditor&) = delete;

    /// For a floating window the api may be null or empty.
    static bool isSupported(const char* api, bool isFloating);

    /// An editor without a window yet. False if there is one already; false, with a line on
    /// standard error, without a screen or a timer.
    bool create(const char* api, bool isFloating);
    void destroy();

    // False before create(), without an argument, or for the other kind of window. Sizes are
    // pixels.

    bool setScale(double scale) { return editor_ && editor_->setScale(scale); }
    bool getSize(std::uint32_t* width, std::uint32_t* height);
    bool getResizeHints(clap_gui_resize_hints_t* hints);
    bool adjustSize(std::uint32_t* width, std::uint32_t* height);
    bool setSize(std::uint32_t width, std::uint32_t height);
    bool setParent(const clap_window_t* window);
    bool setTransient(const clap_window_t* window);
    void setTitle(const char* title);
    bool show();
    bool hide() { return editor_ && (editor_->hide(), true); }

    /// After each turn of the run loop: reports to the host that the user has closed a floating
    /// window, or that the window is lost.
    void reportClosed();

 private:
    bool open();

    Instance& instance_;
    const ClapHost& host_;
    bool isFloating_ = false;
    EmbeddedEditor::Place place_;
    std::optional<EmbeddedEditor> editor_;
    std::optional<clap_id> timer_;
    int descriptor_ = -1;
};

}  // namespace qov::hosts::clap
