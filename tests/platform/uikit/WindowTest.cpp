#include <cmath>
#include <limits>
#include <memory>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/coregraphics/CGBitmapContext.h"
#include "platform/uikit/UIGraphics.h"
#include "platform/uikit/UITouch.h"
#include "platform/uikit/UIViewController.h"
#include "platform/uikit/UIWindow.h"
#include "platform/uikit/ViewLayer.h"

namespace {

using namespace platform;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

using Rect = UIWindow::PixelRect;

constexpr std::uint32_t kBlack = 0xff000000, kRed = 0xffff0000, kGreen = 0xff00ff00;

/// One colour all over.
class Patch : public UIView {
 public:
    Patch(CGRect frame, CGColor with) : UIView(frame), color(with) {}
    void draw(CGRect rect) override {
        UIGraphicsGetCurrentContext()->setFillColor(color);
        UIGraphicsGetCurrentContext()->fillRect(rect);
    }
    CGColor color;
};

class Window : public testing::Test {
 protected:
    std::uint32_t pixel(int x, int y) const {
        const auto* picture = window->picture();
        return picture->pixels()[static_cast<std::size_t>(y * picture->pixelWidth() + x)];
    }
    std::shared_ptr<Patch> add(CGRect frame, CGColor color) {
        auto patch = std::make_shared<Patch>(frame, color);
        window->addSubview(patch);
        return patch;
    }

    std::shared_ptr<UIWindow> window = std::make_shared<UIWindow>(CGSize{100, 80});
    const CGColor red{1, 0, 0, 1}, green{0, 1, 0, 1};
};

TEST_F(Window, OnlyChangedAreasAreDrawnAndComposited) {
    const auto patch = add({10, 20, 30, 40}, red);
    const auto other = add({60, 20, 10, 10}, green);
    EXPECT_THAT(window->update(), ElementsAre(Rect{0, 0, 100, 80}));
    EXPECT_EQ(pixel(10, 20), kRed);
    EXPECT_EQ(pixel(9, 20), kBlack);
    EXPECT_THAT(window->update(), IsEmpty());
    patch->setNeedsDisplay();
    EXPECT_THAT(window->update(), IsEmpty()) << "it draws the same";
    EXPECT_EQ(patch->layer().draws(), 2);
    EXPECT_EQ(patch->layer().paints(), 1);
    patch->color = green;
    patch->setNeedsDisplay();
    EXPECT_THAT(window->update(), ElementsAre(Rect{10, 20, 30, 40}));
    EXPECT_EQ(pixel(39, 59), kGreen);

    other->setFrame({50, 0, 10, 10});
    EXPECT_THAT(window->update(), UnorderedElementsAre(Rect{60, 20, 10, 10}, Rect{50, 0, 10, 10}));
    EXPECT_EQ(pixel(60, 20), kBlack);
    EXPECT_EQ(pixel(50, 0), kGreen);
    other->setAlpha(0.5);
    EXPECT_THAT(window->update(), ElementsAre(Rect{50, 0, 10, 10}));
    EXPECT_NEAR(static_cast<int>(pixel(55, 5) >> 8 & 255), 128, 1);
    other->setHidden(true);
    EXPECT_THAT(window->update(), ElementsAre(Rect{50, 0, 10, 10}));
    EXPECT_EQ(pixel(55, 5), kBlack);
    other->setNeedsDisplay();
    EXPECT_THAT(window->update(), IsEmpty());
    EXPECT_EQ(other->layer().draws(), 1) << "neither moved nor hidden views draw";
}

TEST_F(Window, ScaleAndSizeMultiplyThePixelsAndOddFramesAreLeftOut) {
    const double infinity = std::numeric_limits<double>::infinity();
    const auto patch = add({10, 20, 10.5, 10}, red);
    window->setScale(2);
    EXPECT_THAT(window->update(), ElementsAre(Rect{0, 0, 200, 160}));
    EXPECT_EQ(patch->layer().bitmap()->pixelWidth(), 21);
    EXPECT_EQ(pixel(20, 40), kRed);
    EXPECT_EQ(pixel(40, 59), kRed);
    EXPECT_EQ(pixel(41, 59), kBlack);
    for (const CGRect& frame :
         {CGRect::null(), CGRect(std::nan(""), 0, 10, 10), CGRect(0, 0, infinity, 10),
          CGRect(1e30, 0, 10, 10), CGRect(0, 0, -5, 10), CGRect(0, 0, 1e9, 2)}) {
        patch->setFrame(frame);
        window->update();
        patch->setFrame({0, 0, 10, 10});
        window->update();
        EXPECT_EQ(pixel(5, 5), kRed) << "and it comes back";
    }
    for (const CGSize size : {CGSize{1, 1}, CGSize{2000, 1500}, CGSize{0, 0}, CGSize{100, 80}}) {
        window->setSize(size);
        EXPECT_FALSE(window->update().empty());
        EXPECT_EQ(pixel(0, 0), kRed);
    }
}

TEST_F(Window, TheFrontmostVisibleViewShowsAndIsTouchedForAsLongAsItExists) {
    const auto back = add({0, 0, 50, 50}, red);
    auto front = add({20, 20, 50, 50}, green);
    window->update();
    EXPECT_EQ(pixel(30, 30), kGreen);
    EXPECT_EQ(window->hitTest({30, 30}), front);
    EXPECT_EQ(window->hitTest({10, 10}), back);
    EXPECT_EQ(window->hitTest({90, 70}), window);
    EXPECT_EQ(window->hitTest({100, 70}), nullptr) << "the right edge is outside";
    front->setHidden(true);
    EXPECT_EQ(window->hitTest({30, 30}), back);
    front->setHidden(false);
    front->setAlpha(0);
    EXPECT_EQ(window->hitTest({30, 30}), back);
    front->setAlpha(1);
    front->setUserInteractionEnabled(false);
    EXPECT_EQ(window->hitTest({30, 30}), back);
    front->setUserInteractionEnabled(true);
    window->bringSubviewToFront(*back);
    window->update();
    EXPECT_EQ(pixel(30, 30), kRed);
    back->removeFromSuperview();
    EXPECT_THAT(window->update(), ElementsAre(Rect{0, 0, 50, 50}));
    EXPECT_EQ(pixel(30, 30), kGreen);
    EXPECT_EQ(pixel(5, 5), kBlack);

    std::vector<UIView*> notified;
    window->willDeliverTouch = [&](UIView& view, UITouchPhase) { notified.push_back(&view); };
    window->deliverTouch(0, UITouchPhase::began, {30, 30}, 0);
    window->deliverTouch(0, UITouchPhase::moved, {90, 70}, 0);
    EXPECT_THAT(notified, ElementsAre(front.get(), front.get()));
    front->removeFromSuperview();
    front.reset();
    window->deliverTouch(0, UITouchPhase::moved, {12, 12}, 0);
    window->deliverTouch(0, UITouchPhase::ended, {12, 12}, 0);
}

TEST_F(Window, TheControllerLoadsOnceAndIsCalledAfterEachLayout) {
    struct Counting : UIViewController {
        void viewDidLoad() override { ++loads; }
        void viewDidLayoutSubviews() override { ++layouts; }
        int loads = 0, layouts = 0;
    };
    const auto controller = std::make_shared<Counting>();
    EXPECT_FALSE(controller->isViewLoaded());
    window->setRootViewController(controller);
    window->update();
    window->update();
    EXPECT_EQ(controller->layouts, 1);
    window->setSize({200, 50});
    window->update();
    EXPECT_EQ(controller->layouts, 2);
    EXPECT_EQ(controller->loads, 1);
    EXPECT_EQ(controller->view()->frame(), CGRect(0, 0, 200, 50)) << "it fills the window";
}

}  // namespace
