#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "platform/coregraphics/CGFont.h"

namespace platform {

/// A face at a size in points; a value. Main thread only.
class UIFont {
 public:
    /// Unknown names fall back to the regular face.
    UIFont(std::string_view fontName, CGFloat pointSize);
    static UIFont systemFontOfSize(CGFloat size) { return {"HelveticaNeue", size}; }

    const std::string& fontName() const { return name_; }
    CGFloat pointSize() const { return size_; }
    CGFloat ascender() const { return font_->ascent() * size_; }
    /// Negative, as the platform has it.
    CGFloat descender() const { return -font_->descent() * size_; }
    CGFloat lineHeight() const { return ascender() - descender(); }
    CGFloat capHeight() const { return font_->capHeight() * size_; }
    CGFloat xHeight() const { return font_->xHeight() * size_; }
    const CGFont& cgFont() const { return *font_; }

 private:
    std::string name_;
    CGFloat size_;
    std::shared_ptr<const CGFont> font_;
};

}  // namespace platform
