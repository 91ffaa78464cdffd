#pragma once

#include <memory>
#include <string>

#include "editor/PanelStyle.h"
#include "platform/coregraphics/CGContext.h"
#include "platform/coregraphics/CGFont.h"
#include "platform/uikit/NSTextAlignment.h"

/// What the panel is drawn of, and what is drawn beside it in its manner. Main thread.
namespace qov {

inline constexpr const char* labelFace = "HelveticaNeue";
inline constexpr const char* boldFace = "HelveticaNeue-CondensedBold";

/// What has a value, is on or has the keys.
inline constexpr platform::CGColor emphasisColor{1, 0.785, 0.215, 1};

/// One line of text on the panel.
struct PanelText {
    std::string words;
    const char* face;
    platform::CGFloat size;
    platform::CGRect box;  ///< in which it is centred vertically, by its capitals
    platform::NSTextAlignment alignment = platform::NSTextAlignment::left;
    platform::CGFloat tracking = 0;

    std::shared_ptr<const platform::CGFont> font() const { return platform::CGFont::named(face); }
    platform::CGFloat width() const { return (font()->width(words, tracking) - tracking) * size; }
    platform::CGPoint origin() const;
    void draw(platform::CGContext& context, const platform::CGColor& color) const;
};

/// Of an angle.
platform::CGFloat radians(platform::CGFloat degrees);

/// A straight line.
platform::CGPath line(platform::CGPoint from, platform::CGPoint to);
/// From above (0 degrees), clockwise.
platform::CGPath arc(platform::CGPoint middle, platform::CGFloat radius,
                     platform::CGFloat fromDegrees, platform::CGFloat toDegrees);
/// The point of a circle at that many degrees from above.
platform::CGPoint around(platform::CGPoint middle, platform::CGFloat radius,
                         platform::CGFloat degrees);

/// Fills a path.
void fill(platform::CGContext& context, const platform::CGPath& path,
          const platform::CGColor& color);
/// With round joins.
void stroke(platform::CGContext& context, const platform::CGPath& path,
            const platform::CGColor& color, platform::CGFloat width,
            platform::CGLineCap cap = platform::CGLineCap::round);
/// Fills with a gradient from the path's top to its bottom.
void fillVertically(platform::CGContext& context, const platform::CGPath& path,
                    const platform::CGColor& top, const platform::CGColor& bottom);

/// A dark field set into the plate.
void drawSlot(platform::CGContext& context, const PanelStyle& style, const platform::CGRect& box,
              platform::CGFloat radius, const platform::CGColor& edge);
/// A raised button, or a pressed one.
void drawButton(platform::CGContext& context, const PanelStyle& style, const platform::CGRect& box,
                bool isPressed, const platform::CGColor& edge);

}  // namespace qov
