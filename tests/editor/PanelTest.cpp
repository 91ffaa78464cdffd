#include <fstream>
#include <iterator>
#include <span>

#include "editor/StereoControlsDelegate.h"
#include "platform/coregraphics/CGImage.h"
#include "platform/uikit/UISlider.h"
#include "tests/editor/EditorFixture.h"

namespace qov {
namespace {

using platform::CGPoint;
using platform::CGRect;

template <typename Owner>
CGRect fit(int rawValue, CGRect rect, CGRect target) {
    return ResizingBehaviorOf<Owner>::fromRawValue(rawValue)->apply(rect, target);
}

TEST(ResizingBehavior, FitsACanvasByItsRule) {
    const CGRect canvas{0, 0, 680, 440}, view{10, 20, 1020, 1000};
    EXPECT_EQ(fit<PluginFrameBaseEx>(0, canvas, view), (CGRect{10, 190, 1020, 660}));
    const CGRect filled = fit<PluginFrameBaseEx>(1, canvas, view);
    EXPECT_DOUBLE_EQ(filled.height(), 1000);
    EXPECT_DOUBLE_EQ(filled.midX(), 520);
    const CGRect stretched = fit<PluginFrameBaseEx>(2, canvas, view);
    EXPECT_NEAR(stretched.minY(), 20, 1e-9);
    EXPECT_NEAR(stretched.height(), 1000, 1e-9);
    EXPECT_DOUBLE_EQ(stretched.width(), 1020);
    EXPECT_EQ(fit<PluginFrameBaseEx>(3, {0, 0, 256, 256}, {0, 0, 100, 100}),
              (CGRect{-78, -78, 256, 256}));
    EXPECT_FALSE(StereoControlsBase::ResizingBehavior::fromRawValue(4).has_value());
    EXPECT_FALSE(StereoControlsBase::ResizingBehavior::fromRawValue(-1).has_value());
    EXPECT_DEATH(CorrelographBaseAU::ResizingBehavior(
                     static_cast<CorrelographBaseAU::ResizingBehavior::Case>(7))
                     .apply(canvas, view),
                 "no such case");
}

const std::pair<platform::CGFloat, platform::CGFloat> scaleBeforeAnyDrawing{drawScaleX, drawScaleY};

TEST(ResizingBehavior, OnlyThePanelsCopyKeepsTheScaleForTouches) {
    EXPECT_EQ(scaleBeforeAnyDrawing, std::pair(1.0, 1.0));
    drawScaleX = drawScaleY = 0.5;
    const CGRect canvas{0, 0, 680, 440};
    fit<PluginFrameBaseEx>(0, canvas, {0, 0, 68, 44});
    fit<CorrelographBaseAU>(0, canvas, {0, 0, 68, 44});
    EXPECT_EQ(fit<StereoControlsBase>(0, canvas, CGRect::zero()), canvas);
    EXPECT_EQ(fit<StereoControlsBase>(0, canvas, canvas), canvas);
    EXPECT_EQ(drawScaleX, 0.5);
    fit<StereoControlsBase>(2, canvas, {0, 0, 1360, 220});
    EXPECT_EQ(drawScaleX, 2);
    EXPECT_EQ(drawScaleY, 0.5);
}

/// Takes what the panel reports and hands it to nobody.
struct Reports : StereoControlsDelegate {
    void onStereoControlsParameter(int address, float value) override {
        calls.push_back("p" + std::to_string(address) + "=" + std::to_string(value));
    }
    void onStereoControlsOption(int address, float value) override {
        calls.push_back("o" + std::to_string(address) + "=" + std::to_string(value));
    }
    std::vector<std::string> take() { return std::exchange(calls, {}); }
    std::vector<std::string> calls;
};

class Panel : public test::BoundEditor {
 protected:
    Panel() {
        panel->delegate = reports;
        for (const auto event :
             {platform::UIControlEventTouchDown, platform::UIControlEventValueChanged,
              platform::UIControlEventTouchUpInside, platform::UIControlEventTouchUpOutside,
              platform::UIControlEventTouchCancel})
            panel->addTarget(
                [this, event](platform::UIControl&) { events.push_back(static_cast<int>(event)); },
                event);
        show(680);
    }
    void show(double width) {
        panel->setFrame({0, 0, width, width * 11 / 17});
        draw(*panel, panel->bounds().width(), panel->bounds().height());
    }
    void down(CGPoint p) { panel->touchesBegan(finger(p), nullptr); }
    void move(CGPoint p) { panel->touchesMoved(finger(p), nullptr); }
    void up(CGPoint p) { panel->touchesEnded(finger(p), nullptr); }
    std::vector<int> takeEvents() { return std::exchange(events, {}); }

    using Calls = std::vector<std::string>;
    std::shared_ptr<Reports> reports = std::make_shared<Reports>();
    std::vector<int> events;
};

TEST_F(Panel, EachHotspotSwitchesOrStartsItsOwnControl) {
    struct Case {
        CGRect area;
        const char* mode;
        Calls on, off;  // reported at the first and the second touch
    };
    const Case cases[]{
        {{40, 70, 125, 40}, "swap channels", {"p3=1.000000"}, {"p3=0.000000"}},
        {{40, 112, 125, 40}, "invert channel", {"p4=1.000000"}, {"p4=0.000000"}},
        {{40, 319, 125, 40}, "recover mono", {"p5=1.000000"}, {"p5=0.000000"}},
        {{500, 319, 150, 40}, "test mono", {"p6=1.000000"}, {"p6=0.000000"}},
        {{40, 255, 126, 22}, "bezier", {"o13=1.000000"}, {"o13=0.000000"}},
        {{40, 231, 126, 22}, "graph normalized", {"o10=0.000000"}, {"o10=1.000000"}},
        {{40, 207, 126, 22}, "show oscillograph", {"o11=0.000000"}, {"o11=1.000000"}},
        {{500, 286, 150, 22},
         "go pro",
         {"o12=1.000000", "p7=1.000000"},
         {"o12=0.000000", "p7=0.000000"}},
        {{443, 41, 44, 44}, "reset1", {"p1=0.500000"}, {"p1=0.500000"}},
        {{194, 355, 44, 44}, "reset2", {"p0=0.500000"}, {"p0=0.500000"}},
        {{500, 179, 150, 84}, "phase shift", {}, {}},
        {{195, 41, 238, 44}, "panorama", {}, {}},
        {{248, 355, 238, 44}, "stereo width", {}, {}},
    };
    for (const double width : {680.0, 340.0, 2048.0}) {
        show(width);
        const double s = width / 680;
        for (const auto& one : cases) {
            console.take();
            const CGPoint corners[]{{one.area.minX() + 0.6, one.area.minY() + 0.6},
                                    {one.area.maxX() - 0.6, one.area.maxY() - 0.6}};
            for (int i = 0; i < 2; ++i) {
                down({corners[i].x * s, corners[i].y * s});
                EXPECT_EQ(panel->currentEditingMode, one.mode) << width;
                EXPECT_EQ(reports->take(), i ? one.off : one.on) << one.mode;
                EXPECT_TRUE(controller->touchesLocked);
                panel->touchesCancelled({}, nullptr);
            }
            EXPECT_EQ(console.lines()[0], std::string("Current editing mode is: ") + one.mode);
        }
    }
    show(680);
    for (const auto& [area, mode, on, off] : cases)
        for (const CGPoint beside : {CGPoint{area.minX() - 0.6, area.midY()},
                                     {area.maxX() + 0.6, area.midY()},
                                     {area.midX(), area.minY() - 0.6},
                                     {area.midX(), area.maxY() + 0.6}})
            EXPECT_STRNE(panel->baseClass.modeAt(beside), mode);
    down({340, 220});
    EXPECT_EQ(console.lines().back(), "Current editing mode is: ");
}

TEST_F(Panel, DragsFollowTheFingerAndStopAtTheEnds) {
    down({300, 370});
    move({300, 370 - 60});  // 60 units up: a tenth of the range
    EXPECT_EQ(reports->take(), Calls{"p0=0.600000"});
    move({330, 370});
    EXPECT_EQ(reports->take(), Calls{"p0=0.550000"})
        << "to the right is up, measured from the start";
    move({300, 370 - 5000});
    EXPECT_EQ(reports->take(), Calls{"p0=1.000000"});
    up({300, 370 + 5000});
    EXPECT_EQ(reports->take(), Calls{"p0=0.000000"}) << "lifting is a last drag";
    EXPECT_EQ(takeEvents(), (std::vector{1, 4096, 4096, 4096, 4096, 64}));
    EXPECT_TRUE(panel->currentEditingMode.empty());
    EXPECT_FALSE(controller->touchesLocked);

    show(1360);  // twice as large: the distance is divided by the scale twice
    down({1020, 400});
    move({1020, 400 - 240});
    EXPECT_EQ(reports->take(), Calls{"p2=0.100000"});
    up({1020, 400});
    reports->take();
    takeEvents();
    down({460 * 2, 60 * 2});  // a reset, and a drag after it does nothing
    move({460 * 2, 0});
    EXPECT_EQ(reports->take(), Calls{"p1=0.500000"});
    up({460 * 2, 0});
    EXPECT_EQ(takeEvents(), (std::vector{1, 4096, 4096, 64}));
    show(680);
    panel->scaler = 2;
    down({200, 50});
    move({215, 50 - 15});
    EXPECT_EQ(reports->take(), Calls{"p1=0.600000"}) << "twice as sensitive";
}

TEST_F(Panel, LooksAsBeforeWhereATouchHasLeft) {
    const auto picture = [&] {
        const auto drawn = draw(*panel, 680, 440);
        return std::vector(drawn->pixels().begin(), drawn->pixels().end());
    };
    const auto before = picture();
    for (const CGPoint& at : {CGPoint{300, 379}, {300, 60}, {575, 220}, {216, 379}, {465, 63}}) {
        down(at);
        EXPECT_NE(picture(), before) << at.x;
        up(at);
        EXPECT_EQ(picture(), before) << at.x;
    }
}

TEST_F(Panel, TouchesBesideTheHotspotsUnlockAndCancelKeepsTheMode) {
    controller->touchesLocked = true;
    down({340, 220});
    EXPECT_FALSE(controller->touchesLocked);
    EXPECT_TRUE(takeEvents().empty());
    down({300, 370});
    panel->touchesCancelled({}, nullptr);
    EXPECT_EQ(takeEvents(), (std::vector{1, 256}));
    EXPECT_EQ(panel->currentEditingMode, "stereo width");
    EXPECT_FALSE(controller->touchesLocked);
    panel->setFrame({0, 0, 200, 100});  // the touch-down point lies outside these bounds
    up({300, 370});
    EXPECT_EQ(takeEvents(), (std::vector{4096, 128}));
    EXPECT_DEATH(panel->touchesBegan({}, nullptr), "no touch");
    panel->viewController.reset();
    console.take();
    panel->touchesBegan({}, nullptr);
    EXPECT_TRUE(console.lines().empty());
    panel->delegate.reset();
    panel->touchesMoved({}, nullptr);
}

struct Golden {
    const char* name;
    double width, height, scale;
    void (*arrange)(AudioUnitViewController& controller);
    platform::UIView& (*view)(AudioUnitViewController& controller);
};

platform::UIView& panelOf(AudioUnitViewController& c) {
    return *c.stereoControls;
}
platform::UIView& graphOf(AudioUnitViewController& c) {
    return *c.correlographView;
}
platform::UIView& frameOf(AudioUnitViewController& c) {
    return *c.pluginFrame;
}

void editAll(AudioUnitViewController& c) {
    const float values[]{0.8f, 0.3f, 0.5f, 1, 1, 1, 1};
    for (int address = 0; address < 7; ++address)
        c.stereoControls->updateParameter(address, values[address]);
}

/// Fingers that came down and did not leave.
void hold(AudioUnitViewController& c, std::initializer_list<CGPoint> points) {
    editAll(c);
    c.stereoControls->baseClass.drawHotspots({0, 0, 680, 440},
                                             StereoControlsBase::ResizingBehavior::stretch);
    for (const CGPoint point : points) {
        const auto finger = std::make_shared<platform::UITouch>(
            c.stereoControls, c.stereoControls->convertToWindow(point), 0);
        c.stereoControls->touchesBegan({finger}, nullptr);
    }
}

/// A figure with straight and curved parts, without any noise.
void capture(AudioUnitViewController& c, const char* mode) {
    float* left = c.audioUnit()->getBufferLeft();
    float* right = c.audioUnit()->getBufferRight();
    for (int i = 0; i < 2048; ++i) {
        const float t = static_cast<float>(i) / 2048;
        left[i] = t < 0.2f ? 0.5f - 5 * t : t * (1 - t) * (t - 0.5f) * 8;
        right[i] = t < 0.3f ? left[i] : 2 * (t - 0.3f) * (1 - t) * (i % 32 < 16 ? 1.0f : 0.6f);
    }
    c.correlographView->baseClass.drawMode = mode;
}

const Golden goldens[]{
    {"panel", 680, 440, 1, [](auto&) {}, panelOf},
    {"panel-edited", 340, 220, 2, editAll, panelOf},
    {"panel-held", 680, 440, 1,
     [](auto& c) {
         hold(c, {{300, 379}, {300, 60}, {575, 220}, {575, 297}});
     },
     panelOf},
    {"panel-reset", 680, 440, 1,
     [](auto& c) {
         hold(c, {{216, 379}, {465, 63}});
     },
     panelOf},
    {"panel-black", 340, 220, 1, [](auto& c) { c.stereoControls->setBrightness(0); }, panelOf},
    {"panel-grey", 340, 220, 1, [](auto& c) { c.stereoControls->setBrightness(0.5f); }, panelOf},
    {"panel-white", 340, 220, 1, [](auto& c) { editAll(c), c.stereoControls->setBrightness(1); },
     panelOf},
    {"correlograph-points", 128, 128, 2, [](auto& c) { capture(c, "points"); }, graphOf},
    {"correlograph-ovals", 128, 128, 2, [](auto& c) { capture(c, "ovals"); }, graphOf},
    {"correlograph-bezier", 256, 256, 1, [](auto& c) { capture(c, "bezier"); }, graphOf},
    {"slider", 300, 32, 2,
     [](auto& c) {
         c.brightnessSlider->setFrame({0, 0, 300, 32});
     },
     [](auto& c) -> platform::UIView& { return *c.brightnessSlider; }},
    {"frame", 170, 110, 1, [](auto& c) { c.pluginFrame->contrast = 0.75f; }, frameOf},
};

class GoldenPicture : public test::BoundEditor, public testing::WithParamInterface<Golden> {};

void writeFile(const std::string& path, const platform::CGImage& image) {
    const auto bytes = image.png();
    std::ofstream file(path, std::ios::binary);
    file.write(reinterpret_cast<const char*>(bytes.data()), std::ssize(bytes));
    ASSERT_TRUE(file) << path;
}

// Looked at by eye when it was taken; KELVANE_TAKE_GOLDEN=1 takes it anew.
TEST_P(GoldenPicture, LooksAsItWasApproved) {
    const Golden& golden = GetParam();
    golden.arrange(*controller);
    const auto image =
        draw(golden.view(*controller), golden.width, golden.height, golden.scale)->makeImage();
    const std::string path = std::string(GOLDEN_FOLDER "/") + golden.name + ".png";
    if (std::getenv("KELVANE_TAKE_GOLDEN")) writeFile(path, *image);
    std::ifstream file(path, std::ios::binary);
    const std::string bytes{std::istreambuf_iterator<char>(file), {}};
    const auto approved = platform::CGImage::decode(std::as_bytes(std::span(bytes)));
    ASSERT_NE(approved, nullptr) << path;
    ASSERT_EQ(approved->width(), image->width());
    ASSERT_EQ(approved->height(), image->height());
    // Room for another compiler's rounding, not for a line that is paler or wider.
    constexpr int slightly = 3;
    constexpr std::size_t few = 4;
    std::size_t unlike = 0;
    std::vector<std::uint32_t> difference(image->pixels().size());
    for (std::size_t i = 0; i < difference.size(); ++i) {
        int most = 0;
        for (const int shift : {0, 8, 16, 24}) {
            const auto of = [&](const platform::CGImage& picture) {
                return static_cast<int>(picture.pixels()[i] >> shift & 255);
            };
            most = std::max(most, std::abs(of(*image) - of(*approved)));
        }
        unlike += most > slightly;
        difference[i] = 0xff000000u | 0x010101u * static_cast<unsigned>(most);
    }
    if (unlike <= few) return;
    const std::string folder = std::string(DIFFERENCE_FOLDER "/") + golden.name;
    writeFile(folder + ".is.png", *image);
    writeFile(folder + ".difference.png",
              platform::CGImage(image->width(), image->height(), difference));
    ADD_FAILURE() << unlike << " of " << difference.size() << " pixels differ; see " << folder
                  << ".difference.png";
}

INSTANTIATE_TEST_SUITE_P(Views, GoldenPicture, testing::ValuesIn(goldens), [](const auto& one) {
    std::string name = one.param.name;
    std::replace(name.begin(), name.end(), '-', '_');
    return name;
});

// Outside the screen at neutral and at +20 %, over the phase field at +80 %.
TEST_F(Panel, TheRightBracketIsReadableAtEveryWidthAndBrightness) {
    const auto luminance = [](std::uint32_t pixel) {
        const auto linear = [&](int shift) {
            return std::pow((pixel >> shift & 255) / 255.0, 2.2);
        };
        return 0.2126 * linear(16) + 0.7152 * linear(8) + 0.0722 * linear(0);
    };
    for (const float width : {0.5f, 0.6f, 0.9f}) {
        for (const float brightness : {0.0f, 0.25f, 0.45f, 0.5f, 0.75f, 1.0f}) {
            panel->updateParameter(kStereoWidth, width);
            panel->setBrightness(brightness);
            const auto picture = draw(*panel, 680, 440, 4);
            const auto at = [&](double x) {
                return luminance(picture->pixels()[880 * 2720 + static_cast<int>(4 * x)]);
            };
            const double post = 340 + 256 * width + 10;
            EXPECT_GE((at(post) + 0.05) / (at(post + 1.75) + 0.05), 3)
                << width << " on " << brightness;
        }
    }
}

TEST_F(Panel, TextsWithoutAudioUnitNeedNoViewControllerOrAreAFault) {
    controller->setAudioUnit(nullptr);
    EXPECT_DEATH(draw(*panel, 68, 44), "audio unit is missing");
    panel->viewController.reset();
    EXPECT_NE(draw(*panel, 68, 44)->pixels()[68 * 22 + 34], 0u);
}

}  // namespace
}  // namespace qov
