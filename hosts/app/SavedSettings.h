#pragma once

#include <optional>
#include <string>

#include "hosts/window/EditorWindow.h"
#include "platform/coregraphics/CGGeometry.h"

namespace qov::app {

/// What the standalone keeps from one run to the next. In a file of text lines: the window's size,
/// the brightness and the picture's switches, then the effect's state.
struct SavedSettings {
    std::optional<platform::CGSize> size;  ///< points
    std::optional<float> brightness;       ///< of the panel's background, 0..1
    hosts::EditorWindow::Picture picture;
    std::string state;  ///< as Instance::saveState() gives it; empty where it is not known

    /// "$XDG_CONFIG_HOME/kelvane/settings", by default below "~/.config"; empty without a home.
    static std::string defaultPath();
    /// Missing files and lines, and values outside their range, leave what a new SavedSettings has.
    static SavedSettings read(const std::string& path);
    /// Writes the file whole or leaves it as it was. Returns an empty text, or a line about what
    /// failed.
    std::string write(const std::string& path) const;
};

}  // namespace qov::app
