#pragma once

#include "platform/coregraphics/CGContext.h"

namespace platform {

/// The context that drawing on this thread goes to; null outside of drawing.
CGContext* UIGraphicsGetCurrentContext();
/// The context must stay alive until it is popped.
void UIGraphicsPushContext(CGContext& context);
/// Goes back to the context before the last push. One pop a push.
void UIGraphicsPopContext();

/// Pushes for its own lifetime.
class UIGraphicsContextScope {
 public:
    explicit UIGraphicsContextScope(CGContext& context) { UIGraphicsPushContext(context); }
    ~UIGraphicsContextScope() { UIGraphicsPopContext(); }
    UIGraphicsContextScope(const UIGraphicsContextScope&) = delete;
    UIGraphicsContextScope& operator=(const UIGraphicsContextScope&) = delete;
};

}  // namespace platform
