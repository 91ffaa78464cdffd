#pragma once

#include <optional>
#include <string>

#include "hosts/window/EditorWindow.h"
#include "platform/coregraphics/CGGeometry.h"

namespace qov::hosts {

/// What the standalone keeps from one run to the next. In a file of text lines: the panel's size,
/// the brightness, the picture's switches and whether the strip is shown, then the effect's state.
/// Plug-in windows have a file of their own, of which they use the strip alone.
struct SavedSettings {
    std::optional<platform::CGSize> size;  ///< of the place for the panel, in points
    std::optional<float> brightness;       ///< of the panel's background, 0..1
    EditorWindow::Picture picture;
    bool isStripShown = true;
    std::string state;  ///< as Instance::saveState() gives it; empty where it is not known

    /// "$XDG_CONFIG_HOME/kelvane/<name>", by default below "~/.config"; empty without a home.
    static std::string pathOf(const std::string& name);
    /// Missing files and lines, and values outside their range, leave what a new SavedSettings has.
    static SavedSettings read(const std::string& path);
    /// Writes the file whole or leaves it as it was. Returns an empty text, or a line about what
    /// failed.
    std::string write(const std::string& path) const;
};

}  // namespace qov::hosts
