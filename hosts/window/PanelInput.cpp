#include "hosts/window/PanelInput.h"

#include <algorithm>
#include <cmath>
#include <string>
#include <utility>

#include "audiounit/parameters.h"
#include "editor/AudioUnitViewController.h"
#include "editor/valueBoxes.h"
#include "hosts/instance/Instance.h"
#include "hosts/window/CaptionView.h"
#include "hosts/window/EditGesture.h"
#include "hosts/window/EditorWindow.h"
#include "hosts/window/ValueField.h"
#include "hosts/window/panelHelp.h"
#include "platform/dispatch/RunLoop.h"
#include "platform/uikit/UIWindow.h"

namespace qov::hosts {

using platform::CGPoint;
using platform::Key;
using platform::KeyDemand;
using platform::UITouchPhase;

namespace {

constexpr double tipDelay = 0.7;  // seconds of rest

}  // namespace

PanelInput::PanelInput(EditorWindow& window, Instance& instance, EditGesture& gesture)
    : window_(window),
      instance_(instance),
      gesture_(gesture),
      caption_(std::make_shared<CaptionView>()),
      field_(std::make_shared<ValueField>()) {
    window_.content().addSubview(field_);
    window_.content().addSubview(caption_);
}

PanelInput::~PanelInput() {
    endTurn();
    if (tipTimer_) instance_.runLoop()->cancel(*tipTimer_);
    field_->removeFromSuperview();
    caption_->removeFromSuperview();
}

// Touches

std::optional<CGPoint> PanelInput::routeTouch(std::int64_t identifier, UITouchPhase phase,
                                              CGPoint at, platform::KeyModifiers held) {
    if (phase == UITouchPhase::began) {
        endTurn();
        hideTip();
        if (!gesture_.isHeld()) touch_ = identifier;
    }
    if (identifier != touch_) return at;
    switch (phase) {
        case UITouchPhase::began: {
            toReset_.reset();
            if (field_->isOpen()) {
                if (field_->frame().contains(at)) return std::nullopt;
                closeField();
            }
            const auto control = window_.controlAt(at);
            isDragging_ = control.has_value();
            drag_.begin(at);
            if (!control) {
                click_.forget();
                return at;
            }
            if (held.control) {
                click_.forget();
                openField(*control);
                return std::nullopt;
            }
            click_.press(*control, at, instance_.runLoop()->now());
            return at;
        }
        case UITouchPhase::ended:
            toReset_ = click_.release();
            break;
        case UITouchPhase::cancelled:
            click_.forget();
            break;
        default:
            click_.move(at);
            break;
    }
    // Ctrl at the beginning opens the field; pressed later it is another Shift.
    return isDragging_ ? drag_.move(at, held.shift || held.control) : at;
}

void PanelInput::touchEnded() {
    if (toReset_)
        window_.controller().onStereoControlsParameter(
            *toReset_, hostParameters[static_cast<std::size_t>(*toReset_)].initial);
    toReset_.reset();
}

// Wheel and keys

bool PanelInput::wheel(CGPoint at, int steps, platform::KeyModifiers held) {
    closeField();
    const auto control = scroll_.target(at, instance_.runLoop()->now(), [&] {
        return held.control ? std::nullopt : window_.controlAt(at);
    });
    if (control) turn(*control, (held.shift ? fineStep : step) * static_cast<float>(steps));
    return control.has_value();
}

std::optional<int> PanelInput::pointedControl() const {
    const auto at = window_.native().pointer();
    return at ? window_.controlAt(*at) : std::nullopt;
}

bool PanelInput::key(const platform::KeyStroke& stroke) {
    if (field_->isOpen()) {
        if (stroke.key == Key::escape)
            closeField();
        else if (stroke.key == Key::enter)
            enterField();
        else
            field_->key(stroke);
        return true;
    }
    const auto control = pointedControl();
    if (!control || stroke.held.control) {
        endTurn();  // before an undo
        return false;
    }
    const float by = stroke.held.shift ? fineStep : step;
    switch (stroke.key) {
        case Key::up:
        case Key::right:
            turn(*control, by);
            return true;
        case Key::down:
        case Key::left:
            turn(*control, -by);
            return true;
        case Key::enter:
            openField(*control);
            return true;
        default:
            return false;
    }
}

void PanelInput::turn(int address, float by) {
    if (turned_ != address) {
        endTurn();
        gesture_.hold();
        turned_ = address;
    }
    auto& controller = window_.controller();
    controller.onStereoControlsParameter(
        address, std::clamp(controller.getParameter(address) + by, 0.0F, 1.0F));
    if (turnTimer_) instance_.runLoop()->cancel(*turnTimer_);
    turnTimer_ = instance_.runLoop()->schedule(Scroll::pause, false, [this] { endTurn(); });
    if (!caption_->isHidden() && !field_->isOpen()) showTip();
}

void PanelInput::endTurn() {
    if (turnTimer_) instance_.runLoop()->cancel(*turnTimer_);
    turnTimer_.reset();
    if (!turned_) return;
    turned_.reset();
    gesture_.release();
}

// Tooltip

void PanelInput::hover(std::optional<CGPoint> at) {
    if (field_->isOpen()) return;
    const auto area = at ? window_.hotAreaAt(*at) : std::nullopt;
    window_.demandKeys(at && window_.controlAt(*at) ? KeyDemand::steps : KeyDemand::none);
    if (area != tipArea_) hideTip();
    tipArea_ = area;
    if (!area || !caption_->isHidden()) return;
    if (tipTimer_) instance_.runLoop()->cancel(*tipTimer_);
    tipTimer_ = instance_.runLoop()->schedule(tipDelay, false, [this] {
        tipTimer_.reset();
        showTip();
    });
}

void PanelInput::showTip() {
    const auto at = window_.native().pointer();
    if (!at || !tipArea_) return;
    auto lines = window_.helpAt(*at);
    if (!lines.empty()) caption_->show(std::move(lines), *tipArea_);
}

void PanelInput::hideTip() {
    if (tipTimer_) instance_.runLoop()->cancel(*tipTimer_);
    tipTimer_.reset();
    tipArea_.reset();
    if (!field_->isOpen()) caption_->hide();
}

// Typed values

void PanelInput::openField(int address) {
    endTurn();
    hideTip();
    typed_ = address;
    const auto parameter = static_cast<std::uint64_t>(address);
    field_->open(instance_.valueText(parameter, instance_.value(parameter)),
                 window_.windowArea(valueBoxes[static_cast<std::size_t>(address)]));
    caption_->show({{"For example " + valueExamples(address)}, {"Return: set    Esc: leave"}},
                   field_->frame());
    window_.demandKeys(KeyDemand::all);
}

void PanelInput::enterField() {
    const auto value = instance_.parseTyped(static_cast<std::uint64_t>(typed_), field_->text());
    if (auto reason = refusal(typed_, value, instance_); !reason.empty()) {
        field_->refuse();
        caption_->show(
            {{std::move(reason), CaptionView::Line::Kind::warning}, {"Return: set    Esc: leave"}},
            field_->frame());
        return;
    }
    closeField();
    gesture_.hold();
    window_.controller().onStereoControlsParameter(typed_, *value);
    gesture_.release();
}

void PanelInput::closeField() {
    if (!field_->isOpen()) return;
    field_->close();
    caption_->hide();
    window_.demandKeys(pointedControl() ? KeyDemand::steps : KeyDemand::none);
}

}  // namespace qov::hosts
