#include <gtest/gtest.h>

#include "audiounit/componentDescription.h"
#include "editor/AudioUnitViewController.h"
#include "editor/CorrelographViewAU.h"
#include "editor/StereoControls.h"
#include "hosts/window/fitPanel.h"
#include "platform/dispatch/RunLoop.h"
#include "platform/uikit/UIWindow.h"

namespace qov::test {
namespace {

/// The panel is cut off, distorted, or laid out narrower than its correlograph has room in.
TEST(FitPanel, ShowsThePanelWholeInWindowsOfAnySizeAndShape) {
    const auto loop = platform::RunLoop::createForTest();
    const platform::RunLoop::MakeCurrent current(loop);
    const auto controller = std::make_shared<AudioUnitViewController>();
    controller->createAudioUnit(componentDescription, nullptr);
    for (const platform::CGSize size : {platform::CGSize{680, 440},
                                        {390, 300},
                                        {320, 568},
                                        {1200, 420},
                                        {1200, 100},
                                        {170, 110},
                                        {1, 1},
                                        {1360, 880},
                                        {800, 2000}}) {
        SCOPED_TRACE(testing::Message() << size.width << " x " << size.height);
        const auto fit = hosts::fitPanel(size);
        controller->fitToHeight = fit.fitToHeight;
        const auto window = std::make_shared<platform::UIWindow>(
            platform::CGSize{size.width / fit.scale, size.height / fit.scale});
        window->setRootViewController(controller);
        window->layoutIfNeeded();
        const auto panel = controller->stereoControls->frame();
        const auto& all = window->bounds();
        constexpr double tiny = 1e-9;
        EXPECT_LE(fit.scale, 1);
        EXPECT_GE(panel.width(), 560 - tiny);
        EXPECT_NEAR(panel.width() * 11, panel.height() * 17, 1e-6);
        EXPECT_GE(panel.minX(), -tiny);
        EXPECT_GE(panel.minY(), -tiny);
        EXPECT_NEAR(panel.center().x, all.center().x, 1e-6);
        EXPECT_NEAR(panel.center().y, all.center().y, 1e-6);
        EXPECT_NEAR(
            std::min(all.width() - panel.width(), all.height() - panel.height()) / all.width(), 0,
            1e-6)
            << "it fills one direction";
        EXPECT_FALSE(controller->correlographView->frame().isEmpty());
        window->setRootViewController(nullptr);
    }
    loop->end();
}

}  // namespace
}  // namespace qov::test
