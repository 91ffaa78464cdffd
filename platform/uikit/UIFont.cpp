#include "platform/uikit/UIFont.h"

namespace platform {

UIFont::UIFont(std::string_view fontName, CGFloat pointSize)
    : name_(fontName), size_(pointSize), font_(CGFont::named(fontName)) {}

}  // namespace platform
