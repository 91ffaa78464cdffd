#include "platform/uikit/UIResponder.h"

namespace platform {

void UIResponder::touchesBegan(const UITouchSet& touches, UIEvent* event) {
    if (auto* up = next()) up->touchesBegan(touches, event);
}

void UIResponder::touchesMoved(const UITouchSet& touches, UIEvent* event) {
    if (auto* up = next()) up->touchesMoved(touches, event);
}

void UIResponder::touchesEnded(const UITouchSet& touches, UIEvent* event) {
    if (auto* up = next()) up->touchesEnded(touches, event);
}

void UIResponder::touchesCancelled(const UITouchSet& touches, UIEvent* event) {
    if (auto* up = next()) up->touchesCancelled(touches, event);
}

}  // namespace platform
