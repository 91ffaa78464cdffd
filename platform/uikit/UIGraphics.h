#pragma once

#include "platform/coregraphics/CGContext.h"

namespace platform {

/// The context that this thread draws on; null outside of drawing.
CGContext* UIGraphicsGetCurrentContext();

/// Makes a context the current one during its own lifetime. Scopes nest.
class UIGraphicsContextScope {
 public:
    explicit UIGraphicsContextScope(CGContext& context);
    ~UIGraphicsContextScope();
    UIGraphicsContextScope(const UIGraphicsContextScope&) = delete;
    UIGraphicsContextScope& operator=(const UIGraphicsContextScope&) = delete;

 private:
    CGContext* before_;
};

}  // namespace platform
