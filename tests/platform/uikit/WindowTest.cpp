#include <algorithm>
#include <array>
#include <cmath>
#include <memory>
#include <random>
#include <vector>

#include <gmock/gmock.h>

#include "platform/coregraphics/CGBitmapContext.h"
#include "platform/coregraphics/CGFont.h"
#include "platform/uikit/DrawingRecord.h"
#include "platform/uikit/NSLayoutConstraint.h"
#include "platform/uikit/UIGraphics.h"
#include "platform/uikit/UITouch.h"
#include "platform/uikit/UIViewController.h"
#include "platform/uikit/UIWindow.h"
#include "platform/uikit/ViewLayer.h"

namespace {

using namespace platform;
using testing::ElementsAre;
using testing::IsEmpty;
using Rect = PixelRect;

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
    EXPECT_EQ(patch->layer().changes(), 1);
    patch->color = green;
    patch->setNeedsDisplay();
    EXPECT_THAT(window->update(), ElementsAre(Rect{10, 20, 30, 40}));
    EXPECT_EQ(pixel(39, 59), kGreen);

    other->setFrame({50, 0, 10, 10});
    EXPECT_THAT(window->update(), ElementsAre(Rect{50, 0, 20, 30})) << "neighbours are one";
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

TEST_F(Window, ManyChangesInARowLeaveThePictureThatIsCompositedAnew) {
    std::minstd_rand random(1);
    const auto below = [&](unsigned n) { return static_cast<int>(random() % n); };
    const auto place = [&] {
        return CGRect(below(200) / 2.0 - 20, below(100), below(60), below(60));
    };
    std::vector<std::shared_ptr<Patch>> views;
    for (int i = 0; i < 6; ++i) views.push_back(add(place(), {i / 6.0, 0.5, 1, i % 2 ? 1 : 0.7}));
    for (int step = 0; step < 20000; ++step) {
        // The farther a view, the longer it rests.
        const auto& view =
            views[static_cast<std::size_t>(std::max({below(6), below(6), below(6)}))];
        const int what = below(50);
        if (what < 1 || (what < 20 && view == views.back())) view->setFrame(place());
        if (what == 20) view->setHidden(!view->isHidden());
        if (what == 21) view->setAlpha(below(3) / 2.0);
        if (what > 21 && what < 25) window->addSubview(view);  // to the front
        if (what > 25) view->color.red = below(9) / 8.0, view->setNeedsDisplay();
        window->update();
        if (step % 500 < 499) continue;
        const auto before = window->picture()->makeImage();
        window->setBackgroundColor({0, 0, 0, 1});  // all anew
        window->update();
        ASSERT_TRUE(std::ranges::equal(before->pixels(), window->picture()->pixels())) << step;
    }
}

TEST_F(Window, ScaleAndSizeMultiplyThePixelsAndOddFramesAreLeftOut) {
    const auto patch = add({10, 20, 10.5, 10}, red);
    window->setScale(2);
    EXPECT_THAT(window->update(), ElementsAre(Rect{0, 0, 200, 160}));
    EXPECT_EQ(pixel(40, 59), kRed);
    EXPECT_EQ(pixel(40, 60), kBlack);
    EXPECT_EQ(pixel(41, 59), kBlack);
    for (const CGRect& frame :
         {CGRect::null(), CGRect(std::nan(""), 0, 10, 10), CGRect(0, 0, HUGE_VAL, 10),
          CGRect(1e30, 0, 10, 10), CGRect(0, 0, -5, 10), CGRect(0, 0, 1e9, 2)}) {
        patch->setFrame(frame);
        window->update();
        patch->setFrame({0, 0, 10, 10});
        window->update();
        EXPECT_EQ(pixel(5, 5), kRed) << "and it comes back";
    }
}

TEST_F(Window, OfALargeViewThePartIsShownThatLiesInTheWindow) {
    const auto patch = add({-7000, 10, 1e5, 1e5}, red);
    for (const CGFloat x : {-7000.0, 20.0, -99'990.0, 200.0}) {
        patch->setFrame({x, 10, 1e5, 1e5});
        window->update();
        EXPECT_EQ(pixel(5, 9), kBlack);
        EXPECT_EQ(pixel(5, 79), x < 5 ? kRed : kBlack) << x;
        EXPECT_EQ(pixel(99, 79), x == 200 || x < -99'900 ? kBlack : kRed) << x;
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
    struct Logging : UIViewController {
        void viewDidLoad() override { log += "load "; }
        void viewDidLayoutSubviews() override { log += "layout "; }
        std::string log;
    };
    const auto controller = std::make_shared<Logging>();
    window->setRootViewController(controller);
    window->update();
    window->update();
    window->setSize({200, 50});
    window->update();
    EXPECT_EQ(controller->log, "load layout layout ");
    EXPECT_EQ(controller->view()->frame(), CGRect(0, 0, 200, 50)) << "it fills the window";
}

TEST(Layout, AnEdgeFollowsTheSuperviewsAndOneAloneKeepsTheLength) {
    const auto outer = std::make_shared<UIView>(CGRect(7, 9, 100, 60));
    const auto inner = std::make_shared<UIView>(CGRect(20, 20, 30, 20));
    outer->addSubview(inner);
    NSLayoutConstraint::activate(
        {inner->bottomAnchor().constraintEqualTo(outer->bottomAnchor()),
         inner->leadingAnchor().constraintEqualTo(outer->trailingAnchor())});
    outer->layoutIfNeeded();
    EXPECT_EQ(inner->frame(), CGRect(100, 40, 30, 20)) << "in the outer view's own coordinates";
    NSLayoutConstraint::activate({inner->topAnchor().constraintEqualTo(outer->topAnchor())});
    outer->layoutIfNeeded();
    EXPECT_EQ(inner->frame(), CGRect(100, 0, 30, 60));
    EXPECT_DEATH(
        NSLayoutConstraint::activate({outer->topAnchor().constraintEqualTo(inner->topAnchor())}),
        "superview");
}

/// Makes every call; a transform and a clip stay.
void drawAll(CGContext& context, CGFloat shift) {
    const std::array<CGGradientStop, 2> stops{{{0, {1, 0, 0, 1}}, {1, {0, 0, 1, 0.5}}}};
    const std::array<CGFloat, 2> dash{3, 2};
    context.saveGState();
    context.translateBy(shift, 1);
    context.scaleBy(0.9, 1.1);
    context.saveGState();
    context.clipTo({0, 0, 40, 40});
    context.drawLinearGradient(stops, {0, 0}, {40, 40});
    context.drawRadialGradient(stops, {30, 30}, 2, {30, 30}, 10);
    context.restoreGState();
    context.setStrokeColor({0, 0.5, 1, 1});
    context.setFillColor({1, 0.7, 0.2, 0.8});
    context.setLineWidth(2);
    context.setLineCap(CGLineCap::round);
    context.setLineDash(1, dash);
    context.beginPath();
    context.moveTo({3, 3});
    context.addLineTo({30, 8});
    context.addCurveTo({40, 10}, {10, 40}, {50, 50});
    context.closePath();
    context.strokePath();
    context.setLineDash(0, {});
    context.beginTransparencyLayer();
    context.setAlpha(0.5);
    context.addPath(CGPath::roundedRect({5, 30, 30, 20}, 4));
    context.addRect({10, 35, 10, 10});
    context.fillPath();
    context.endTransparencyLayer();
    context.drawImage(CGImage(2, 1, {0xff00ff00, 0xff0000ff}), {40, 40, 10, 10});
    context.showText("Ag", *CGFont::named("HelveticaNeue"), 14, {5, 60}, 0.5);
    context.strokePolygon(std::array<CGPoint, 3>{{{5 + shift, 5}, {20, 30}, {50, 8}}});
    context.fillMarks(std::array<CGPoint, 3>{{{0, 0}, {4, 1}, {1, 4}}},
                      std::array<CGPoint, 3>{{{shift, 9}, {9, 50}, {-99, 9}}});
    context.restoreGState();
    context.scaleBy(shift, 3);
    context.clipTo({1, 1, 8, 6});
}

TEST(DrawingRecord, PlaysBackTheSamePixelsAndIsEqualOnlyForTheSamePicture) {
    DrawingRecord record, other;
    const auto draw = [](DrawingRecord& into, CGFloat shift, CGFloat scale) {
        into.begin({64, 64}, scale);
        drawAll(into, shift);
    };
    for (const CGFloat scale : {1.0, 2.0}) {
        const int side = static_cast<int>(64 * scale);
        const auto direct = makeBitmapContext(side, side, scale);
        const auto played = makeBitmapContext(side, side, scale);
        drawAll(*direct, 2);
        draw(record, 2, scale);
        EXPECT_EQ(record.ctm().a, direct->ctm().a);
        EXPECT_EQ(record.clipBoundingBox(), direct->clipBoundingBox());
        record.play(*played);
        EXPECT_TRUE(std::ranges::equal(direct->pixels(), played->pixels()));
        for (const auto& [shift, at] :
             {std::pair(2.0, scale), {2.0000001, scale}, {2.0, 3 - scale}}) {
            draw(other, shift, at);
            EXPECT_EQ(record == other, shift == 2 && at == scale);
        }
    }
    record.begin({64, 64}, 1);
    record.translateBy(1, 1);
    EXPECT_TRUE(record.painted().isEmpty());
}

TEST_F(Window, APicturesChangeIsWhatItsCallsPaintedAndPaint) {
    struct Turned : UIView {
        using UIView::UIView;
        void draw(CGRect) override {
            auto& context = *UIGraphicsGetCurrentContext();
            context.scaleBy(0.5, 0.5);
            context.rotateBy(turn);
            const std::array<CGPoint, 3> corners{{{40, 12}, {70, 14}, {44, 20}}};
            if (kind == 0) return context.strokePolygon(corners);
            if (kind == 1) return context.fillMarks(corners, corners);
            context.beginPath();
            for (const auto& p : corners) context.addLineTo(p);
            kind == 2 ? context.fillPath() : context.strokePath();
        }
        CGFloat turn = 0;
        int kind = 0;
    };
    const auto view = std::make_shared<Turned>(CGRect(0, 0, 100, 80));
    window->addSubview(view);
    for (view->kind = 0; view->kind < 4; ++view->kind)
        for (const CGFloat turn : {0.0, 0.7, 0.9, 4.0}) {
            view->turn = turn;
            view->setNeedsDisplay();
            window->update();
            const auto changed = view->layer().painted();
            EXPECT_LE(changed.width() * changed.height(), 3400);
            const auto anew = makeBitmapContext(100, 80, 1);
            anew->setFillColor({0, 0, 0, 1});
            anew->fillRect({0, 0, 100, 80});
            {
                const UIGraphicsContextScope scope(*anew);
                view->draw({});
            }
            EXPECT_TRUE(std::ranges::equal(anew->pixels(), window->picture()->pixels()))
                << view->kind << " " << turn;
        }
}

}  // namespace
