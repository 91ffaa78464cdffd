#pragma once

#include <cstdint>
#include <memory>
#include <optional>

#include "hosts/window/DoubleClick.h"
#include "hosts/window/FineDrag.h"
#include "hosts/window/Scroll.h"
#include "platform/coregraphics/CGGeometry.h"
#include "platform/uikit/NativeWindow.h"
#include "platform/uikit/UITouch.h"

namespace qov::hosts {

class CaptionView;
class EditGesture;
class EditorWindow;
class Instance;
class ValueField;

/// Mouse, wheel and keys, in addition to the panel's own touches. Over stereo width, panorama or
/// phase shift:
///
/// - Shift makes drag, wheel and arrow keys ten times finer; in a drag, so does Ctrl.
/// - A double click sets the default value.
/// - Ctrl and a click, or Return, opens a field for a typed value. Return sets it; one that cannot
///   be read or is out of range stays in the field, with the reason below. Esc or a click beside
///   the field closes it.
///
/// Ctrl and the wheel zoom. A mouse that rests on a control or switch shows a tooltip. Each edit is
/// one gesture for the host. Main thread, with the instance's run loop current.
class PanelInput {
 public:
    static constexpr float step = 0.01F;  // of a control's range: one step of wheel or arrow
    static constexpr float fineStep = step / 10;

    /// All three outlive it; the window is open.
    PanelInput(EditorWindow& window, Instance& instance, EditGesture& gesture);
    ~PanelInput();
    PanelInput(const PanelInput&) = delete;
    PanelInput& operator=(const PanelInput&) = delete;

    /// As NativeWindow::routeTouch. Follows one touch; a further finger on the panel, which the
    /// panel does not get, passes unchanged.
    std::optional<platform::CGPoint> routeTouch(std::int64_t identifier,
                                                platform::UITouchPhase phase, platform::CGPoint at,
                                                platform::KeyModifiers held);
    /// Called when a touch of the panel has ended, before its gesture ends.
    void touchEnded();
    /// True if it turned a control.
    bool wheel(platform::CGPoint at, int steps, platform::KeyModifiers held);
    /// True if it was used.
    bool key(const platform::KeyStroke& stroke);
    void hover(std::optional<platform::CGPoint> at);
    /// Adds to a control's value; calls within Scroll::pause belong to one gesture.
    void turn(int address, float by);
    /// Ends the gesture of turn() now.
    void endTurn();
    /// Closes an open value field without setting the value.
    void closeField();

 private:
    std::optional<int> pointedControl() const;
    void showTip();
    void hideTip();
    void openField(int address);
    void enterField();

    EditorWindow& window_;
    Instance& instance_;
    EditGesture& gesture_;
    Scroll scroll_;
    std::int64_t touch_ = 0;  // the one that it follows
    FineDrag drag_;
    DoubleClick click_;
    std::optional<int> toReset_;
    bool isDragging_ = false;    // a control
    std::optional<int> turned_;  // holds the gesture until the timer
    std::optional<std::uint64_t> turnTimer_, tipTimer_;
    std::optional<platform::CGRect> tipArea_;  // of the window: where the mouse rests
    std::shared_ptr<CaptionView> caption_;
    std::shared_ptr<ValueField> field_;
    int typed_ = 0;  // address of the open field's control
};

}  // namespace qov::hosts
