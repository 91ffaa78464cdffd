#pragma once

#include <memory>

#include <gtest/gtest.h>

#include "audiounit/QOV_Kelvane_PluginAudioUnit.h"
#include "audiounit/componentDescription.h"
#include "editor/AudioUnitViewController.h"
#include "editor/CorrelographViewAU.h"
#include "editor/PluginFrameEx.h"
#include "editor/StereoControls.h"
#include "platform/coregraphics/CGBitmapContext.h"
#include "platform/dispatch/RunLoop.h"
#include "platform/uikit/UIGraphics.h"
#include "platform/uikit/UITouch.h"
#include "platform/uikit/UIWindow.h"
#include "tests/support/ConsoleLines.h"

namespace qov::test {

/// A controller on a loop whose clock stands still, and what brings it to the screen.
class EditorFixture : public testing::Test {
 protected:
    ~EditorFixture() override {
        window.reset();
        controller.reset();
        loop->end();
    }

    std::shared_ptr<platform::AUAudioUnit> createAudioUnit() {
        return controller->createAudioUnit(componentDescription, nullptr);
    }
    /// In a window; 680 x 440 points are one panel at scale 1.
    void show(platform::CGSize size = {680, 440}) {
        window = std::make_shared<platform::UIWindow>(size);
        window->setRootViewController(controller);
        window->update();
    }
    /// Audio unit, then window, and what both have queued.
    void open() {
        createAudioUnit();
        loop->pump();
        show();
        console.take();
    }

    void touch(platform::UITouchPhase phase, double x, double y) {
        window->deliverTouch(0, phase, {x, y}, loop->now());
    }
    void down(double x, double y) { touch(platform::UITouchPhase::began, x, y); }
    void move(double x, double y) { touch(platform::UITouchPhase::moved, x, y); }
    void up(double x, double y) {
        touch(platform::UITouchPhase::ended, x, y);
        loop->pump();
        window->update();
    }
    void tapAt(double x, double y) {
        down(x, y);
        up(x, y);
    }
    void settle(double seconds = 1) {
        loop->advance(seconds);
        window->update();
    }
    float parameter(int address) const { return controller->audioUnit()->getParameter(address); }

    ConsoleLines console;
    std::shared_ptr<platform::RunLoop> loop = platform::RunLoop::createForTest();
    platform::RunLoop::MakeCurrent current{loop};
    std::shared_ptr<AudioUnitViewController> controller =
        std::make_shared<AudioUnitViewController>();
    std::shared_ptr<platform::UIWindow> window;
};

/// Bound to its audio unit, without a window: for a view by itself.
class BoundEditor : public EditorFixture {
 protected:
    BoundEditor() {
        createAudioUnit();
        controller->view();
        loop->pump();
        panel = controller->stereoControls;
    }

    /// Drawn as it stands, at so many points wide and pixels a point.
    static std::unique_ptr<platform::CGBitmapContext> draw(platform::UIView& view, double width,
                                                           double height, double scale = 1) {
        auto picture = platform::makeBitmapContext(static_cast<int>(width * scale),
                                                   static_cast<int>(height * scale), scale);
        const platform::UIGraphicsContextScope scope(*picture);
        view.draw({0, 0, width, height});
        return picture;
    }

    /// A finger in the panel's own points.
    platform::UITouchSet finger(platform::CGPoint at) {
        return {std::make_shared<platform::UITouch>(panel, panel->convertToWindow(at), 0)};
    }

    std::shared_ptr<StereoControls> panel;
};

}  // namespace qov::test
