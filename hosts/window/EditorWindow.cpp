#include "hosts/window/EditorWindow.h"

#include <utility>

#include "dsp/ParameterAddress.h"
#include "editor/AudioUnitViewController.h"
#include "editor/PanelStyle.h"
#include "editor/PluginFrameEx.h"
#include "editor/StereoControls.h"
#include "editor/StereoControlsDelegate.h"
#include "editor/panelCanvas.h"
#include "hosts/instance/Instance.h"
#include "hosts/window/HoverView.h"
#include "hosts/window/PanelFooter.h"
#include "hosts/window/PanelInput.h"
#include "hosts/window/fitPanel.h"
#include "hosts/window/panelHelp.h"
#include "platform/dispatch/RunLoop.h"
#include "platform/uikit/NativeWindow.h"
#include "platform/uikit/UISlider.h"
#include "platform/uikit/UITouch.h"
#include "platform/uikit/UIWindow.h"

namespace qov::hosts {

using platform::KeyDemand;
using platform::RunLoop;
using platform::UITouchPhase;

EditorWindow::EditorWindow(Instance& instance, std::shared_ptr<AudioUnitViewController> controller,
                           std::shared_ptr<platform::UIWindow> content)
    : instance_(instance),
      controller_(std::move(controller)),
      content_(std::move(content)),
      hover_(std::make_shared<HoverView>()),
      gesture_(instance) {
    content_->willDeliverTouch = [this](platform::UIView& touched, UITouchPhase phase) {
        if (&touched != controller_->stereoControls.get()) return;
        content_->display(touched);
        if (phase == UITouchPhase::began) gesture_.hold();
    };
    content_->didDeliverTouch = [this](platform::UIView& touched, UITouchPhase phase) {
        if (footer_) footer_->setBrightness(controller_->pluginFrame->contrast);
        if (&touched != controller_->stereoControls.get()) return;
        if (phase != UITouchPhase::ended && phase != UITouchPhase::cancelled) return;
        if (input_ && phase == UITouchPhase::ended) input_->touchEnded();
        gesture_.release();
    };
    controller_->stereoControls->addSubview(hover_);
}

std::unique_ptr<EditorWindow> EditorWindow::open(Instance& instance, const Options& options,
                                                 std::string* error) {
    const RunLoop::MakeCurrent current(instance.runLoop());
    auto controller = std::dynamic_pointer_cast<AudioUnitViewController>(instance.factory());
    if (!controller) {
        if (error) *error = "the instance was made without an editor";
        return nullptr;
    }
    auto content = std::make_shared<platform::UIWindow>(options.size);
    content->setRootViewController(controller);
    std::unique_ptr<EditorWindow> window(
        new EditorWindow(instance, std::move(controller), content));
    if (options.makeFooter) {
        window->footer_ = options.makeFooter(*window);
        window->footer_->setBrightness(window->controller().pluginFrame->contrast);
        window->controller().view()->setAutoresizingMask(platform::UIViewAutoresizingNone);
        content->addSubview(window->footer_);
        content->willUpdate = [footer = window->footer_.get()] { footer->willDraw(); };
    }
    window->native_ = platform::NativeWindow::open(
        content,
        {.title = options.title,
         .parent = options.parent,
         .transientFor = options.transientFor,
         .scale = options.scale,
         .minimumSize = smallestSize,
         .aspect = window->aspect(),
         .application = product::identifier,
         .contentScale = [&made = *window](platform::CGSize size) { return made.layOut(size); }},
        error);
    if (!window->native_) return nullptr;
    window->takeInput();
    return window;
}

/// Returns the content's scale.
platform::CGFloat EditorWindow::layOut(platform::CGSize size) {
    footerHeight_ = footer_ ? footer_->canvasHeight() : 0;
    const auto fit = fitPanel(size, footerHeight_);
    controller_->fitToHeight = fit.fitToHeight;
    if (footer_) {
        const auto width = size.width / fit.scale, height = size.height / fit.scale - fit.footer;
        controller_->view()->setFrame({0, 0, width, height});
        footer_->setFrame({0, height, width, fit.footer});
    }
    return fit.scale;
}

platform::CGSize EditorWindow::aspect() const {
    return withFooter(panelSize, footer_ ? footer_->canvasHeight() : 0);
}

platform::CGSize EditorWindow::panelPlace() const {
    return withoutFooter(native_->size(), footerHeight_);
}

platform::CGSize EditorWindow::wantedSize() const {
    return withFooter(panelPlace(), footer_ ? footer_->canvasHeight() : 0);
}

void EditorWindow::setSize(platform::CGSize size) {
    native_->setAspect(aspect());
    native_->setSize(size);
}

void EditorWindow::takeInput() {
    input_ = std::make_unique<PanelInput>(*this, instance_, gesture_);
    native_->routeTouch = [this](auto identifier, UITouchPhase phase, platform::CGPoint at,
                                 auto held) -> std::optional<platform::CGPoint> {
        if (phase == UITouchPhase::began && footer_ && !footer_->willTouch(at)) return {};
        return input_->routeTouch(identifier, phase, at, held);
    };
    native_->onWheel = [this](platform::CGPoint at, int steps, auto held) {
        return (footer_ && footer_->wheel(at, steps)) || input_->wheel(at, steps, held);
    };
    native_->onHover = [this](auto at) { hover(at); };
    native_->onKey = [this](const platform::KeyStroke& stroke) { key(stroke); };
    native_->onFocusLost = [this] {
        input_->closeField();
        if (footer_) footer_->loseKeys();
    };
}

EditorWindow::~EditorWindow() {
    const RunLoop::MakeCurrent current(instance_.runLoop());
    native_.reset();
    input_.reset();
    content_->willUpdate = {};
    if (footer_) footer_->removeFromSuperview();
    footer_.reset();
    hover_->removeFromSuperview();
    content_->setRootViewController(nullptr);
    controller_->fitToHeight = false;
}

platform::CGFloat EditorWindow::canvasScale() const {
    return controller_->stereoControls->bounds().size.width / panelCanvas.width;
}

std::optional<platform::CGPoint> EditorWindow::canvasPoint(platform::CGPoint point) const {
    const auto& panel = *controller_->stereoControls;
    if (content_->hitTest(point).get() != &panel || panel.bounds().isEmpty()) return {};
    const auto place = panel.convertFromWindow(point);
    return platform::CGPoint{place.x / canvasScale(), place.y / canvasScale()};
}

void EditorWindow::hover(std::optional<platform::CGPoint> at) {
    isOverFooter_ = footer_ && footer_->hover(at);
    const auto place = at ? canvasPoint(*at) : std::nullopt;
    auto area = place ? controller_->stereoControls->baseClass.hotAreaAt(*place) : std::nullopt;
    const bool takesKeys = at && controlAt(*at);
    // Around the whole of a control, whose picture is a little wider than its hot area.
    if (area && takesKeys) area = area->insetBy(-9, -2);
    const auto scale = canvasScale();
    if (area)
        area = platform::CGRect(area->minX() * scale, area->minY() * scale, area->width() * scale,
                                area->height() * scale);
    using platform::CGColor;
    const platform::CGFloat grey = controller_->pluginFrame->contrast;
    input_->hover(at);
    hover_->mark(area, takesKeys, PanelStyle(CGColor::gray(grey), CGColor::gray(1 - grey)).ink);
}

std::optional<int> EditorWindow::controlAt(platform::CGPoint point) const {
    return controlOf(modeAt(point));
}

bool EditorWindow::key(const platform::KeyStroke& stroke) {
    const RunLoop::MakeCurrent current(instance_.runLoop());
    if (!(footer_ && footer_->takesKeys()) && input_->key(stroke)) return true;
    return (footer_ && footer_->key(stroke)) || (onKey && onKey(stroke));
}

void EditorWindow::endTurn() {
    input_->endTurn();
}

void EditorWindow::demandKeys(KeyDemand demand) {
    if (isOverFooter_) demand = KeyDemand::tab;
    if (footer_ && footer_->takesKeys()) demand = KeyDemand::all;
    native_->demandKeys(demand);
}

void EditorWindow::setValue(std::uint64_t address, float value) {
    const RunLoop::MakeCurrent current(instance_.runLoop());
    instance_.setValue(address, value);
    showBypass();
}

void EditorWindow::showBypass() {
    controller_->stereoControls->switchOption(kOptionSuspended, instance_.value(kBypass) > 0.5F);
}

EditorWindow::Picture EditorWindow::picture() const {
    const auto& panel = *controller_->stereoControls;
    return {.isShown = panel.isOn(kOptionOscillograph),
            .isNormalized = panel.isOn(kOptionNormalized),
            .isLines = panel.isOn(kOptionDrawMode)};
}

void EditorWindow::setPicture(const Picture& picture) {
    auto& panel = *controller_->stereoControls;
    panel.switchOption(kOptionOscillograph, picture.isShown);
    panel.switchOption(kOptionNormalized, picture.isNormalized);
    panel.switchOption(kOptionDrawMode, picture.isLines);
}

float EditorWindow::brightness() const {
    return static_cast<float>(controller_->pluginFrame->contrast);
}

void EditorWindow::setBrightness(float brightness) {
    auto& slider = *controller_->brightnessSlider;
    slider.setValue(brightness);
    controller_->onBrightnessSlider(slider);
    controller_->touchesLocked = false;  // the slider is not touched
    if (footer_) footer_->setBrightness(controller_->pluginFrame->contrast);
}

std::string EditorWindow::modeAt(platform::CGPoint point) const {
    const auto place = canvasPoint(point);
    return place ? controller_->stereoControls->baseClass.modeAt(*place) : "";
}

std::vector<CaptionView::Line> EditorWindow::helpAt(platform::CGPoint point) const {
    return isInFooter(point) ? footer_->helpAt(point) : panelHelp(modeAt(point), instance_);
}

bool EditorWindow::isInFooter(platform::CGPoint point) const {
    return footer_ && footer_->frame().contains(point);
}

std::optional<platform::CGRect> EditorWindow::hotAreaAt(platform::CGPoint point) const {
    if (isInFooter(point)) return footer_->areaAt(point);
    const auto place = canvasPoint(point);
    const auto area =
        place ? controller_->stereoControls->baseClass.hotAreaAt(*place) : std::nullopt;
    return area ? std::optional(windowArea(*area)) : std::nullopt;
}

platform::CGRect EditorWindow::windowArea(const platform::CGRect& canvasArea) const {
    const auto scale = canvasScale();
    const auto corner = controller_->stereoControls->convertToWindow(
        {canvasArea.minX() * scale, canvasArea.minY() * scale});
    return {corner, {canvasArea.width() * scale, canvasArea.height() * scale}};
}

}  // namespace qov::hosts
