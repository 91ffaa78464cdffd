#pragma once

#include <cstdint>
#include <memory>
#include <optional>

#include "hosts/window/EditorWindow.h"

namespace qov::hosts {
class Instance;
}

namespace qov::hosts::clap {

struct ClapHost;
class Heartbeat;

/// The editor in the order in which a CLAP host calls: created, told where and how large to be,
/// shown. The window opens when its place is known. Sizes are pixels. Main thread.
class ClapEditor {
 public:
    /// Pixels.
    struct Size {
        std::uint32_t width, height;
    };

    ClapEditor(Instance& instance, const ClapHost& host);
    ~ClapEditor();
    ClapEditor(const ClapEditor&) = delete;
    ClapEditor& operator=(const ClapEditor&) = delete;

    /// Makes an editor without a window yet. False, with a line on standard error, where there is
    /// no screen; false if there is one already.
    bool create(bool isFloating);
    void destroy();

    // What follows says false before create() or for the other kind of window.

    bool setScale(double scale);
    bool setSize(Size size);
    bool setParent(std::uint64_t window);
    bool setTransient(std::uint64_t window);
    void setTitle(const char* title);
    bool show();
    bool hide();
    std::optional<Size> size() const;
    /// The largest of the panel's proportions that fits, no smaller than can be read.
    std::optional<Size> adjusted(Size size) const;

    /// After each turn of the run loop: tells the host that the user has closed a floating window,
    /// or that the window is lost.
    void tellClosed();

 private:
    bool open();
    double scale() const;

    Instance& instance_;
    const ClapHost& host_;
    bool isCreated_ = false, isFloating_ = false;
    EditorWindow::Options options_;
    std::unique_ptr<EditorWindow> window_;
    std::unique_ptr<Heartbeat> heartbeat_;
    bool isClosed_ = false, isLost_ = false;  // by the user, the screen; not told yet
};

}  // namespace qov::hosts::clap
