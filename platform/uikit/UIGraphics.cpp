#include "platform/uikit/UIGraphics.h"

#include <vector>

namespace platform {

namespace {

thread_local std::vector<CGContext*> contexts;

}  // namespace

CGContext* UIGraphicsGetCurrentContext() {
    return contexts.empty() ? nullptr : contexts.back();
}

void UIGraphicsPushContext(CGContext& context) {
    contexts.push_back(&context);
}

void UIGraphicsPopContext() {
    if (!contexts.empty()) contexts.pop_back();
}

}  // namespace platform
