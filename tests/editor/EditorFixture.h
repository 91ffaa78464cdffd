#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "audiounit/QOV_Kelvane_PluginAudioUnit.h"
#include "audiounit/componentDescription.h"
#include "editor/AudioUnitViewController.h"
#include "editor/CorrelographViewAU.h"
#include "editor/PluginFrameEx.h"
#include "editor/StereoControls.h"
#include "platform/coregraphics/CGBitmapContext.h"
#include "platform/dispatch/RunLoop.h"
#include "platform/foundation/Console.h"
#include "platform/uikit/UIGraphics.h"
#include "platform/uikit/UITouch.h"

namespace qov {

/// A controller with its audio unit and views, bound, on a loop whose clock stands still.
class EditorFixture : public testing::Test {
 protected:
    EditorFixture() {
        controller->createAudioUnit(componentDescription, nullptr);
        controller->view();
        loop->pump();
        panel = controller->stereoControls;
    }
    ~EditorFixture() override {
        loop->end();
        platform::console::setSink(before);
    }

    /// Drawn as it stands, at so many points wide and pixels a point.
    std::unique_ptr<platform::CGBitmapContext> draw(platform::UIView& view, double width,
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

    std::vector<std::string> lines;
    platform::console::Sink before =
        platform::console::setSink([this](std::string_view line) { lines.emplace_back(line); });
    std::shared_ptr<platform::RunLoop> loop = platform::RunLoop::createForTest();
    platform::RunLoop::MakeCurrent current{loop};
    std::shared_ptr<AudioUnitViewController> controller =
        std::make_shared<AudioUnitViewController>();
    std::shared_ptr<StereoControls> panel;
};

}  // namespace qov
