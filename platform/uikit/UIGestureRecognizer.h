#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <vector>

#include "platform/coregraphics/CGGeometry.h"
#include "platform/uikit/UIResponder.h"

namespace platform {

class GestureCenter;
class UIView;

/// The state of a gesture; UIGestureRecognizer describes the transitions.
enum class UIGestureRecognizerState { possible, began, changed, ended, cancelled, failed };

/// A state machine that reads the touches of its view and of everything inside it, and the time.
///
/// Continuous gestures go possible, began, changed (any number of times), ended or cancelled;
/// discrete ones go from possible to ended. Either may fail instead. Targets are called at every
/// such step except possible and failed. A gesture that begins makes all others of the same touches
/// fail. The view below still receives the touches: view and gesture agree on which of them acts. A
/// gesture is ready again when all touches of the window are up.
///
/// The window feeds it; see GestureCenter for the rules between recognisers. Main thread.
class UIGestureRecognizer {
 public:
    using Action = std::function<void(UIGestureRecognizer& sender)>;

    virtual ~UIGestureRecognizer() = default;

    void addTarget(Action action) { targets_.push_back(std::move(action)); }
    UIGestureRecognizerState state() const { return state_; }
    /// The view that it has been added to, or null.
    UIView* view() const { return view_; }

    bool isEnabled() const { return enabled_; }
    /// Switching it off in mid-gesture cancels the gesture.
    void setEnabled(bool enabled);

    /// This one is not recognised before the other has failed.
    void require(const std::shared_ptr<UIGestureRecognizer>& toFail) { required_ = toFail; }
    const std::weak_ptr<UIGestureRecognizer>& requiredToFail() const { return required_; }

    /// Called with each new touch: false keeps the touch from the recogniser, and a further tap
    /// that was pending there fails at once. Empty accepts every touch.
    std::function<bool(const UITouch& touch)> shouldReceive;

    /// The touches that it follows.
    const std::vector<std::shared_ptr<UITouch>>& touches() const { return touches_; }
    /// The middle of its touches in a view's coordinates (the window's for null).
    virtual CGPoint location(const UIView* in) const;

    bool isActive() const {
        return state_ == UIGestureRecognizerState::began ||
               state_ == UIGestureRecognizerState::changed;
    }

    // For the window's GestureCenter.

    void takeTouch(const std::shared_ptr<UITouch>& touch, GestureCenter& center);
    void moveTouch(const std::shared_ptr<UITouch>& touch);
    void dropTouch(const std::shared_ptr<UITouch>& touch, bool cancelled);
    /// When timePassed() is to be called next, in seconds; nothing for never.
    std::optional<double> deadline() const { return deadline_; }
    void timePassed(double now);
    /// Recognised, but another recogniser has to fail first.
    bool isWaiting() const { return waiting_; }
    void stopWaiting(bool recognise);
    void fail();
    void cancel();
    /// Back to possible.
    void reset();

 protected:
    // A subclass's rules. `time` is the event's, in seconds.
    virtual void touchBegan(UITouch& touch, double time) = 0;
    virtual void touchMoved(UITouch& touch, double time) = 0;
    /// Called before the touch is taken off touches().
    virtual void touchEnded(UITouch& touch, double time) = 0;
    virtual void deadlinePassed(double /*time*/) {}
    virtual void resetGesture() {}

    /// Starts a continuous gesture; false if it may not, and then it has failed.
    bool begin();
    void change();
    /// Ends a continuous gesture, or recognises a discrete one.
    void end();
    void setDeadline(std::optional<double> time) { deadline_ = time; }
    /// For gestures that come without touches.
    void setCenter(GestureCenter& center) { center_ = &center; }

 private:
    friend class UIView;
    bool mayBegin() const;
    void enter(UIGestureRecognizerState state);

    std::vector<Action> targets_;
    std::vector<std::shared_ptr<UITouch>> touches_;
    std::weak_ptr<UIGestureRecognizer> required_;
    std::optional<double> deadline_;
    UIView* view_ = nullptr;
    GestureCenter* center_ = nullptr;
    UIGestureRecognizerState state_ = UIGestureRecognizerState::possible;
    bool enabled_ = true;
    bool waiting_ = false;
};

/// The middle of the touches, in a view's coordinates (the window's for null). Not empty.
CGPoint centroid(const std::vector<std::shared_ptr<UITouch>>& touches, const UIView* in);

/// Straight-line distance in points.
CGFloat distance(CGPoint a, CGPoint b);

/// How far a resting finger or mouse may stray, in points; what goes beyond is a drag.
inline constexpr CGFloat kGestureSlop = 10;

}  // namespace platform
