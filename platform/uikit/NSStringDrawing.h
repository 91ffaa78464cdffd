#pragma once

#include <string_view>

#include "platform/uikit/UIColor.h"
#include "platform/uikit/UIFont.h"

namespace platform {

/// Where lines stand across their rectangle.
enum class NSTextAlignment { left, center, right };

/// How a text looks. Main thread only, as fonts are.
struct NSTextAttributes {
    UIFont font = UIFont::systemFontOfSize(12);
    UIColor foregroundColor = UIColor::black();
    NSTextAlignment alignment = NSTextAlignment::left;
    /// Added after each glyph, in points.
    CGFloat kern = 0;
};

/// Around the text as it stands, broken at line ends only.
CGSize sizeWithAttributes(std::string_view text, const NSTextAttributes& attributes);
/// The first line's upper left corner at the point; broken at line ends only.
void drawAtPoint(std::string_view text, CGPoint point, const NSTextAttributes& attributes);
/// From the rectangle's top downward, aligned across, also broken between words where a line would
/// be wider; what does not fit in height is drawn all the same.
void drawInRect(std::string_view text, const CGRect& rect, const NSTextAttributes& attributes);

}  // namespace platform
