#include "platform/uikit/UIGraphics.h"

#include <utility>

namespace platform {
namespace {

thread_local CGContext* current = nullptr;

}  // namespace

CGContext* UIGraphicsGetCurrentContext() {
    return current;
}

UIGraphicsContextScope::UIGraphicsContextScope(CGContext& context)
    : before_(std::exchange(current, &context)) {}

UIGraphicsContextScope::~UIGraphicsContextScope() {
    current = before_;
}

}  // namespace platform
