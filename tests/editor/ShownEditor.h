#pragma once

#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "audiounit/QOV_Kelvane_PluginAudioUnit.h"
#include "audiounit/componentDescription.h"
#include "editor/AudioUnitViewController.h"
#include "editor/CorrelographViewAU.h"
#include "editor/PluginFrameEx.h"
#include "editor/StereoControls.h"
#include "platform/dispatch/RunLoop.h"
#include "platform/foundation/Console.h"
#include "platform/uikit/UITouch.h"
#include "platform/uikit/UIWindow.h"

namespace qov::test {

/// An editor in a window of 680 x 440 points (one panel, at scale 1), with a clock of its own and
/// its console lines in a list. Its audio unit is made first and bound once.
class ShownEditor : public testing::Test {
 protected:
    ShownEditor() {
        before_ =
            platform::console::setSink([this](std::string_view line) { lines.emplace_back(line); });
    }
    ~ShownEditor() override {
        window.reset();
        controller.reset();
        loop->end();
        platform::console::setSink(before_);
    }

    std::shared_ptr<platform::AUAudioUnit> createAudioUnit() {
        return controller->createAudioUnit(componentDescription, nullptr);
    }
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
        lines.clear();
    }

    void touch(platform::UITouchPhase phase, double x, double y, int finger = 0) {
        window->deliverTouch(finger, phase, {x, y}, loop->now());
    }
    void down(double x, double y, int finger = 0) {
        touch(platform::UITouchPhase::began, x, y, finger);
    }
    void move(double x, double y, int finger = 0) {
        touch(platform::UITouchPhase::moved, x, y, finger);
    }
    void up(double x, double y, int finger = 0) {
        touch(platform::UITouchPhase::ended, x, y, finger);
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

    std::shared_ptr<platform::RunLoop> loop = platform::RunLoop::createForTest();
    platform::RunLoop::MakeCurrent current{loop};
    std::vector<std::string> lines;
    std::shared_ptr<AudioUnitViewController> controller =
        std::make_shared<AudioUnitViewController>();
    std::shared_ptr<platform::UIWindow> window;

 private:
    platform::console::Sink before_;
};

}  // namespace qov::test
