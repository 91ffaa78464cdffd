#pragma once

#include <memory>
#include <set>

namespace platform {

class UIEvent;
class UITouch;

/// The touches that one event is about. The order is arbitrary.
using UITouchSet = std::set<std::shared_ptr<UITouch>>;

/// A receiver of touches. By default, a responder passes them to the next one up. The event is null
/// here.
class UIResponder {
 public:
    virtual ~UIResponder() = default;

    virtual UIResponder* next() const { return nullptr; }
    virtual void touchesBegan(const UITouchSet& touches, UIEvent* event);
    virtual void touchesMoved(const UITouchSet& touches, UIEvent* event);
    virtual void touchesEnded(const UITouchSet& touches, UIEvent* event);
    virtual void touchesCancelled(const UITouchSet& touches, UIEvent* event);
};

}  // namespace platform
