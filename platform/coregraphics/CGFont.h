#pragma once

#include <memory>
#include <string_view>

#include "platform/coregraphics/CGPath.h"

namespace platform {

/// A type face that comes with the program: unhinted outlines, so that every machine and every back
/// end draws the same text. Lengths are in ems (multiples of the font size). Main thread only.
class CGFont {
 public:
    /// By its PostScript name: "HelveticaNeue-CondensedBold" and names with "Condensed" get the
    /// condensed bold face, every other name the regular one. Never null; the same object for one
    /// face.
    static std::shared_ptr<const CGFont> named(std::string_view name);

    virtual ~CGFont() = default;

    /// Above the base line, and below it (positive).
    virtual CGFloat ascent() const = 0;
    virtual CGFloat descent() const = 0;
    virtual CGFloat capHeight() const = 0;
    virtual CGFloat xHeight() const = 0;

    /// One line of UTF-8, kerned, tracking added after each glyph.
    virtual CGFloat width(std::string_view text, CGFloat tracking = 0) const = 0;
    /// Its outlines for a font size, the base line starting at origin.
    virtual CGPath outlines(std::string_view text, CGFloat size, CGPoint origin,
                            CGFloat tracking = 0) const = 0;
};

}  // namespace platform
