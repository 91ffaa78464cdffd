#pragma once

#include <memory>
#include <string_view>

#include "platform/coregraphics/CGPath.h"

namespace platform {

/// A type face embedded in the program: unhinted outlines, so that every machine and every back end
/// draws the same text. Lengths are in ems (multiples of the font size). Main thread only.
class CGFont {
 public:
    /// By PostScript name: a name that contains "Condensed", such as
    /// "HelveticaNeue-CondensedBold", gets the condensed bold face, any other name the regular one.
    /// Never null; one object a face.
    static std::shared_ptr<const CGFont> named(std::string_view name);

    virtual ~CGFont() = default;

    virtual CGFloat capHeight() const = 0;

    /// Of one line of UTF-8, kerned; tracking is added after each glyph.
    virtual CGFloat width(std::string_view text, CGFloat tracking = 0) const = 0;
    /// The outlines of one line, its base line starting at origin; size and origin in points.
    virtual CGPath outlines(std::string_view text, CGFloat size, CGPoint origin,
                            CGFloat tracking = 0) const = 0;
};

}  // namespace platform
