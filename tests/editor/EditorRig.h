#pragma once

#include "audiounit/QOV_Kelvane_PluginAudioUnit.h"
#include "audiounit/componentDescription.h"
#include "editor/AudioUnitViewController.h"
#include "editor/CorrelographViewAU.h"
#include "editor/PluginFrameEx.h"
#include "editor/StereoControls.h"
#include "platform/coregraphics/CGBitmapContext.h"
#include "platform/dispatch/RunLoop.h"
#include "platform/uikit/DrawingRecord.h"
#include "platform/uikit/UIGraphics.h"
#include "platform/uikit/UITouch.h"
#include "platform/uikit/UIWindow.h"
#include "tests/support/ConsoleLines.h"

namespace qov::test {

/// A controller on a run loop whose clock only advances by hand, and a window to show it in.
struct EditorRig {
    ~EditorRig() { loop->end(); }

    std::shared_ptr<platform::AUAudioUnit> createAudioUnit() {
        return controller->createAudioUnit(componentDescription, nullptr);
    }
    /// 680 x 440 points are one panel at scale 1.
    void show(platform::CGSize size = {680, 440}, double pixelsPerPoint = 1) {
        window = std::make_shared<platform::UIWindow>(size, pixelsPerPoint);
        window->setRootViewController(controller);
        window->update();
    }
    /// Creates the audio unit, shows the window and runs what both have queued.
    void open() {
        createAudioUnit();
        loop->pump();
        show();
        console.take();
    }
    void touch(platform::UITouchPhase phase, platform::CGPoint at) {
        window->deliverTouch(0, phase, at, loop->now());
        if (phase == platform::UITouchPhase::ended) settle(0);
    }
    void down(platform::CGPoint at) { touch(platform::UITouchPhase::began, at); }
    void move(platform::CGPoint at) { touch(platform::UITouchPhase::moved, at); }
    void up(platform::CGPoint at) { touch(platform::UITouchPhase::ended, at); }
    void tapAt(platform::CGPoint at) { down(at), up(at); }
    void settle(double seconds = 1) {
        loop->advance(seconds);
        window->update();
    }
    float parameter(int address) const { return controller->audioUnit()->getParameter(address); }

    /// A view alone, of a width and height in points, at a number of pixels per point; recorded and
    /// played back, as a window does it.
    static std::unique_ptr<platform::CGBitmapContext> draw(platform::UIView& view, double width,
                                                           double height, double scale = 1) {
        auto picture = platform::makeBitmapContext(static_cast<int>(width * scale),
                                                   static_cast<int>(height * scale), scale);
        platform::DrawingRecord record;
        record.begin({width, height}, scale);
        const platform::UIGraphicsContextScope scope(record);
        view.draw({0, 0, width, height});
        record.play(*picture);
        return picture;
    }

    ConsoleLines console;
    std::shared_ptr<platform::RunLoop> loop = platform::RunLoop::createForTest();
    platform::RunLoop::MakeCurrent current{loop};
    std::shared_ptr<AudioUnitViewController> controller =
        std::make_shared<AudioUnitViewController>();
    std::shared_ptr<platform::UIWindow> window;
};

}  // namespace qov::test
