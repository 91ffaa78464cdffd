#pragma once

#include "platform/coregraphics/CGContext.h"

namespace platform {

/// The context that this thread draws on; null outside of drawing.
CGContext* UIGraphicsGetCurrentContext();
/// The context must stay alive until it is popped.
void UIGraphicsPushContext(CGContext& context);
/// Restores the context before the last push.
void UIGraphicsPopContext();

/// Pushes a context for its own lifetime.
class UIGraphicsContextScope {
 public:
    explicit UIGraphicsContextScope(CGContext& context) { UIGraphicsPushContext(context); }
    ~UIGraphicsContextScope() { UIGraphicsPopContext(); }
    UIGraphicsContextScope(const UIGraphicsContextScope&) = delete;
    UIGraphicsContextScope& operator=(const UIGraphicsContextScope&) = delete;
};

}  // namespace platform
