#include "editor/StereoControlsBase.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>

#include "audiounit/QOV_Kelvane_PluginAudioUnit.h"
#include "audiounit/parameters.h"
#include "editor/AudioUnitViewController.h"
#include "editor/PanelStyle.h"
#include "editor/panelCanvas.h"
#include "editor/panelDrawing.h"
#include "editor/valueBoxes.h"
#include "platform/coregraphics/CGContext.h"
#include "platform/coregraphics/CGFont.h"
#include "platform/foundation/Number.h"
#include "platform/foundation/fatalError.h"
#include "platform/uikit/NSTextAlignment.h"
#include "platform/uikit/UIGraphics.h"

namespace qov {

using platform::CGColor;
using platform::CGContext;
using platform::CGFloat;
using platform::CGLineCap;
using platform::CGPath;
using platform::CGPoint;
using platform::CGRect;
using platform::NSTextAlignment;

CGFloat drawScaleX = 1;
CGFloat drawScaleY = 1;

/// Knob, readout and reset button of the width or the panorama.
struct StereoControlsBase::Dial {
    ParameterAddress address;
    const char* caption;
    CGPoint knob;  ///< its middle
    CGRect reset;
};

namespace {

constexpr CGRect canvas{{}, panelCanvas};
constexpr CGPoint center{340, 220};
// Wide enough for the brackets of a neutral width.
constexpr CGRect screen{198.5, 92.5, 283, 255};
constexpr CGRect plateBox{12.5, 12.5, 655, 415};
constexpr CGRect phaseShiftBox = valueBoxes[kPhaseShift];
constexpr CGFloat phaseShiftReach = 110;   // units of the whole range, in the middle of the box
constexpr CGFloat lastKnobAngle = 140;     // degrees to either side
constexpr CGFloat lastPanoramaAngle = 45;  // degrees to either side
constexpr CGFloat levelReach = 254;        // units of a full meter
constexpr CGFloat widthReach = 256;        // units from the centre to a bracket at full width
constexpr CGColor suspendRed{1, 0.16, 0.12, 1};

/// -1..1 from 0..1.
CGFloat bipolar(CGFloat normalized) {
    return 2 * normalized - 1;
}

/// The nearest integer in decimal; 0 for NaN.
std::string wholeNumber(CGFloat value) {
    return std::to_string(platform::Number(std::round(value)).int64Value());
}

std::string percentText(const char* name, CGFloat normalized) {
    return name + wholeNumber(bipolar(normalized) * 100) + "%";
}

void drawPlate(CGContext& context, const PanelStyle& style) {
    const CGPath plate = CGPath::roundedRect(plateBox, 9);
    fillVertically(context, plate, style.plate(0), style.plate(1));
    stroke(context, plate, style.plateEdge, 1);
}

void drawKnob(CGContext& context, const PanelStyle& style, CGPoint middle, CGFloat value,
              bool isActive, const CGColor& emphasis) {
    for (int mark = -5; mark <= 5; ++mark) {
        const CGFloat angle = mark * lastKnobAngle / 5;
        const bool isMain = mark == 0 || std::abs(mark) == 5;
        stroke(context,
               line(around(middle, 22.5, angle), around(middle, isMain ? 26 : 24.5, angle)),
               isMain ? style.ink : style.inkFaint, 1);
    }
    const CGFloat angle = bipolar(value) * lastKnobAngle;
    stroke(context, arc(middle, 18.5, -lastKnobAngle, lastKnobAngle), style.ground, 4);
    if (std::abs(angle) > 0.1) stroke(context, arc(middle, 18.5, 0, angle), emphasis, 2.5);
    const CGRect body{middle.x - 15, middle.y - 15, 30, 30};
    fill(context, CGPath::ellipse(body.insetBy(-0.5, -0.5).offsetBy(0, 1)), CGColor::gray(0, 0.35));
    fillVertically(context, CGPath::ellipse(body), style.knobTop, style.knobBottom);
    stroke(context, CGPath::ellipse(body.insetBy(0.5, 0.5)),
           isActive ? emphasis : CGColor::gray(1, 0.16), 1);
    context.saveGState();
    context.translateBy(middle.x, middle.y);
    context.rotateBy(radians(angle));
    stroke(context, line({0, -14}, {0, 0}), isActive ? emphasis : style.light, 2);
    context.restoreGState();
}

/// A value's text over a scale that fills from its middle.
void drawReadout(CGContext& context, const PanelStyle& style, const CGRect& box,
                 const std::string& words, CGFloat value, bool isActive, const CGColor& emphasis) {
    drawSlot(context, style, box, 4, isActive ? emphasis : style.edge);
    PanelText{words, boldFace, 12, {box.minX() + 10, box.minY() + 4, 0, 14}}.draw(
        context, isActive ? emphasis : style.light);
    constexpr CGFloat reach = 80;  // units to either side
    const CGFloat middle = box.midX(), left = middle - reach, right = middle + reach;
    const CGFloat y = box.maxY() - 8;
    for (int mark = -10; mark <= 10; ++mark) {
        const CGFloat x = middle + mark * reach / 10;
        const bool isMain = mark % 5 == 0;
        stroke(context, line({x, y - (isMain ? 5.5 : 4)}, {x, y - 2.5}), style.lightFaint, 1,
               CGLineCap::butt);
    }
    stroke(context, line({left, y}, {right, y}), CGColor::gray(0.86, 0.14), 3);
    const CGFloat x = middle + bipolar(value) * reach;
    if (std::abs(x - middle) > 0.1) stroke(context, line({middle, y}, {x, y}), emphasis, 3);
    stroke(context, line({x, y - 5}, {x, y + 2}), isActive ? emphasis : style.light, 2);
}

/// A button that sets its control back to the middle: a circular arrow.
void drawReset(CGContext& context, const PanelStyle& style, const CGRect& box, bool isActive,
               const CGColor& emphasis) {
    drawButton(context, style, box, isActive, isActive ? emphasis : style.edge);
    const CGColor color = isActive ? emphasis : style.light;
    const CGPoint middle = box.center();
    stroke(context, arc(middle, 6, 50, 320), color, 1.75);
    const CGPoint tip = around(middle, 6, 318);
    CGPath head;
    head.moveTo({tip.x + 4.2, tip.y + 0.4});
    head.addLineTo({tip.x - 1.6, tip.y + 4.0});
    head.addLineTo({tip.x - 1.6, tip.y - 3.4});
    head.closeSubpath();
    fill(context, head, color);
}

}  // namespace

void StereoControlsBase::keepDrawScale(platform::CGSize scale) {
    drawScaleX = scale.width;
    drawScaleY = scale.height;
}

std::string StereoControlsBase::phaseShiftText() const {
    const auto controller = viewController.lock();
    // Without a view controller, the range is 10 ms at 44100 Hz.
    if (!controller) return "phase shift: " + wholeNumber(phaseShiftValue * 441) + " samples";
    if (!controller->audioUnit()) platform::fatalError("the panel's audio unit is missing");
    return "phase shift: " +
           wholeNumber(phaseShiftValue * controller->audioUnit()->getPhaseShift()) + " samples (" +
           std::to_string(controller->getMilliseconds()) + " ms)";
}

void StereoControlsBase::drawControls(const CGRect& frame, ResizingBehavior resizing) {
    auto* context = platform::UIGraphicsGetCurrentContext();
    const CGRect target = resizing.apply(canvas, frame);
    if (context) {
        context->saveGState();
        context->translateBy(target.minX(), target.minY());
        context->scaleBy(target.width() / canvas.width(), target.height() / canvas.height());
        const std::string phaseShift = phaseShiftText();
        const PanelStyle style(colorBackground.cgColor(), colorContrast.cgColor());
        drawPlate(*context, style);
        drawScreen(*context, style);
        drawStereoField(*context, style);
        drawPhaseShiftField(*context, style);
        // Over the phase field and its bar, under all texts and values.
        drawBrackets(*context, style);
        drawLevels(*context);
        drawDial(*context, style,
                 {kStereoWidth, "stereo width: ", {467, 379}, {197.5, 365.5, 34, 28}},
                 stereoWidthNormalized, isStereoWidthActive, isStereoWidthResetActive);
        drawDial(*context, style, {kPanorama, "panorama: ", {215, 63}, {448.5, 49.5, 34, 28}},
                 panoramaNormalized, isPanoramaActive, isPanoramaResetActive);
        drawPhaseShift(*context, style, phaseShift);
        drawToggles(*context, style);
        print(*context, style,
              {"KELVANE", boldFace, 20, {48, 40, 140, 20}, NSTextAlignment::left, 0.12});
        print(*context, style,
              {"[ QOV ]", boldFace, 28, {510.5, 49, 131, 28}, NSTextAlignment::right});
        context->restoreGState();
    }
    drawHotspots({0, 0, frame.size.width, frame.size.height}, ResizingBehavior::stretch);
}

void StereoControlsBase::drawScreen(CGContext& context, const PanelStyle& style) const {
    drawSlot(context, style, screen, 8, isGoPro ? suspendRed : style.edge);
    const CGColor faint = CGColor::gray(0.86, 0.10);
    stroke(context, CGPath::ellipse({center.x - 118, center.y - 118, 236, 236}), faint, 1);
    stroke(context, CGPath::ellipse({center.x - 59, center.y - 59, 118, 118}), faint, 1);
    // The panorama needle's scale: a mark every 20 %.
    for (int mark = -5; mark <= 5; ++mark) {
        const CGFloat angle = mark * -markersAngle / 5;
        const bool isMain = mark == 0 || std::abs(mark) == 5;
        stroke(context, line(around(center, 118, angle), around(center, isMain ? 109 : 113, angle)),
               CGColor::gray(0.86, isMain ? 0.55 : 0.3), 1);
    }
    const CGColor letter = CGColor::gray(0.86, 0.45);
    const CGFloat top = screen.minY() + 10;
    PanelText{"L", boldFace, 12, {screen.minX() + 12, top, 0, 12}}.draw(context, letter);
    PanelText{"R", boldFace, 12, {screen.maxX() - 12, top, 0, 12}, NSTextAlignment::right}.draw(
        context, letter);
}

void StereoControlsBase::drawStereoField(CGContext& context, const PanelStyle& style) const {
    context.saveGState();
    context.translateBy(center.x, center.y);
    context.setLineDash(0, std::array<CGFloat, 2>{2, 2});
    for (const CGFloat angle : {-45, 45}) {
        context.saveGState();
        context.rotateBy(radians(angle));
        stroke(context, line({-118, 0}, {118, 0}), style.light, 0.5);
        context.restoreGState();
    }
    context.setLineDash(0, {});

    // The needle and the base line turn with the panorama.
    const CGColor amber = colorEmphasize.cgColor();
    context.rotateBy(radians(bipolar(panoramaNormalized) * lastPanoramaAngle));
    const CGFloat reach = widthReach * stereoWidthNormalized;
    stroke(context, line({0, -122}, {0, -106}),
           isPanoramaActive || isPanoramaResetActive ? amber : amber.withAlpha(0.8), 2.5);
    stroke(context, line({-std::min(reach, 118.0), 0}, {std::min(reach, 118.0), 0}),
           amber.withAlpha(0.28), 1);
    context.restoreGState();
}

void StereoControlsBase::drawBrackets(CGContext& context, const PanelStyle& style) const {
    const CGColor amber = colorEmphasize.cgColor();
    context.saveGState();
    context.translateBy(center.x, center.y);
    context.rotateBy(radians(bipolar(panoramaNormalized) * lastPanoramaAngle));
    const CGFloat reach = widthReach * stereoWidthNormalized;
    const bool isActive = isStereoWidthActive || isStereoWidthResetActive;
    for (const int side : {-1, 1}) {
        constexpr CGFloat halfWidth = 10, halfHeight = 9;
        const CGFloat inner = side * (reach - halfWidth), outer = side * (reach + halfWidth);
        CGPath bracket;
        bracket.moveTo({inner, -halfHeight});
        bracket.addLineTo({outer, -halfHeight});
        bracket.addLineTo({outer, halfHeight});
        bracket.addLineTo({inner, halfHeight});
        // The dark rim keeps the amber readable at every brightness of the plate.
        stroke(context, bracket, style.ground, 5);
        if (isActive) stroke(context, bracket, amber.withAlpha(0.3), 7);
        stroke(context, bracket, amber, 2);
    }
    context.restoreGState();
}

void StereoControlsBase::print(CGContext& context, const PanelStyle& style,
                               const PanelText& line) const {
    // Where a bracket lies under it, a rim of the plate's colour keeps the text readable.
    const CGPoint origin = line.origin();
    const CGRect box{origin.x, origin.y - line.size, line.width(), 1.25 * line.size};
    for (const int side : {-1, 1}) {
        constexpr CGFloat radius = 16;  // of a circle around the bracket and its own rim
        const CGPoint bracket = around(center, side * widthReach * stereoWidthNormalized,
                                       90 + bipolar(panoramaNormalized) * lastPanoramaAngle);
        const CGRect square{bracket.x - radius, bracket.y - radius, 2 * radius, 2 * radius};
        if (box.intersection(square).isNull()) continue;
        stroke(context, line.font()->outlines(line.words, line.size, origin, line.tracking),
               style.plate((box.midY() - plateBox.minY()) / plateBox.height()), 1.5);
    }
    line.draw(context, style.ink);
}

void StereoControlsBase::drawLevels(CGContext& context) const {
    const CGFloat levels[]{levelLeftValue, levelRightValue};
    const CGFloat angles[]{45, -45};  // of each channel's diagonal
    for (int channel = 0; channel < 2; ++channel) {
        const CGFloat length = levels[channel] * levelReach;
        if (!(length > 0)) continue;
        context.saveGState();
        context.translateBy(center.x, center.y);
        context.rotateBy(radians(angles[channel]));
        stroke(context, line({-length / 2, 0}, {length / 2, 0}), colorEmphasize.cgColor(), 2);
        context.restoreGState();
    }
}

void StereoControlsBase::drawDial(CGContext& context, const PanelStyle& style, const Dial& dial,
                                  CGFloat value, bool isActive, bool isResetActive) const {
    const CGColor amber = colorEmphasize.cgColor();
    isActive = isActive || isResetActive;
    drawReset(context, style, dial.reset, isResetActive, amber);
    drawReadout(context, style, valueBoxes[dial.address], percentText(dial.caption, value), value,
                isActive, amber);
    drawKnob(context, style, dial.knob, value, isActive, amber);
}

void StereoControlsBase::drawPhaseShiftField(CGContext& context, const PanelStyle& style) const {
    constexpr CGRect box = phaseShiftBox;
    const CGColor blue = colorEmphasize2.cgColor();
    drawSlot(context, style, box, 4, isPhaseShiftActive ? blue : style.edge);
    context.setFillColor(blue.withAlpha(0.38));
    context.fillRect(
        {box.midX() - phaseShiftReach / 2, box.minY() + 8, phaseShiftValue * phaseShiftReach, 12});
}

void StereoControlsBase::drawPhaseShift(CGContext& context, const PanelStyle& style,
                                        const std::string& words) const {
    constexpr CGRect box = phaseShiftBox;
    // Two lines, left-aligned: no text moves when the number of digits changes.
    const auto second = words.find(": ") + 2;
    print(context, style, {words.substr(0, second - 1), boldFace, 12, {box.minX(), 174, 0, 14}});
    print(context, style, {words.substr(second), boldFace, 12, {box.minX(), 187, 0, 14}});
    const CGFloat left = box.midX() - phaseShiftReach / 2;
    for (int mark = 0; mark <= 10; ++mark) {
        const CGFloat at = left + mark * phaseShiftReach / 10;
        stroke(context, line({at, box.maxY() - (mark % 5 ? 8.0 : 10.0)}, {at, box.maxY() - 5}),
               style.lightFaint, 1, CGLineCap::butt);
    }
    const CGFloat x = left + phaseShiftValue * phaseShiftReach;
    stroke(context, line({x, box.minY() + 7}, {x, box.minY() + 21}), colorEmphasize2.cgColor(),
           2.5);
}

void StereoControlsBase::drawToggles(CGContext& context, const PanelStyle& style) const {
    struct Toggle {
        const char* label;
        bool isOn;
        CGPoint dot;  // upper left corner of 12 x 12
        bool labelIsLeft;
        bool isAlarm;
    };
    // Each is centred in its hot area; the boxes of the middle three share their edges.
    const Toggle toggles[]{
        {"swap channels", isSwapOn, {55, 85}, false, false},
        {"invert channel", isInvert, {55, 126}, false, false},
        {"oscillograph", isOscillograph, {55, 212}, false, false},
        {"normalize", isNormalized, {55, 236}, false, false},
        {"points/bezier", isBezier, {55, 260}, false, false},
        {"recover mono", isRecover, {55, 333}, false, false},
        {"test mono", isMonoOn, {623, 333}, true, false},
        {"suspend/freeze", isGoPro, {623, 291}, true, true},
    };
    constexpr CGFloat boxSide = 26;
    for (const auto& toggle : toggles) {
        const CGRect dot{toggle.dot, {12, 12}};
        const CGFloat grow = (boxSide - dot.width()) / 2;
        const CGRect square = dot.insetBy(-grow, -grow);
        const CGPath box = CGPath::roundedRect(square, 4);
        const bool isAlarming = toggle.isAlarm && toggle.isOn;
        fill(context, box, style.ground);
        if (isAlarming) fill(context, box, suspendRed.withAlpha(0.45));
        // Inside the square, on whole pixels.
        stroke(context, CGPath::roundedRect(square.insetBy(0.5, 0.5), 3.5),
               isAlarming ? suspendRed.withAlpha(0.5) : style.inkFaint, 1);
        print(context, style,
              {toggle.label, labelFace, 10, {toggle.labelIsLeft ? 510.5 : 84, dot.minY(), 0, 12}});
        if (!toggle.isOn) continue;
        if (toggle.isAlarm) {
            context.saveGState();
            context.setAlpha(0.5);
            context.beginTransparencyLayer();
            fill(context, CGPath::ellipse(dot), CGColor{1, 0, 0, 1});
            context.endTransparencyLayer();
            context.restoreGState();
        } else {
            fill(context, CGPath::ellipse(dot), colorEmphasize2.cgColor());
        }
        stroke(context, CGPath::ellipse(dot), platform::UIColor::lightGray().cgColor(), 2);
    }
}

struct StereoControlsBase::Hotspot {
    platform::UIBezierPath StereoControlsBase::*path;
    CGRect area;
    const char* mode;

    /// In the order of hit testing. "reset1" is the panorama's, "reset2" the width's, and "go pro"
    /// bypasses the effect and freezes the picture.
    static const std::array<Hotspot, 13> all;
};

const std::array<StereoControlsBase::Hotspot, 13> StereoControlsBase::Hotspot::all{{
    {&StereoControlsBase::hotspotStereoWidthPath, {248, 355, 238, 44}, "stereo width"},
    {&StereoControlsBase::hotspotPanoramaPath, {195, 41, 238, 44}, "panorama"},
    {&StereoControlsBase::hotspotPanoramaResetPath, {443, 41, 44, 44}, "reset1"},
    {&StereoControlsBase::hotspotStereoWidthResetPath, {194, 355, 44, 44}, "reset2"},
    {&StereoControlsBase::hotspotPhaseShiftPath, {500, 179, 150, 84}, "phase shift"},
    {&StereoControlsBase::hotspotGoProPath, {500, 286, 150, 22}, "go pro"},
    {&StereoControlsBase::hotspotOscillographPath, {40, 207, 126, 22}, "show oscillograph"},
    {&StereoControlsBase::hotspotNormalizedPath, {40, 231, 126, 22}, "graph normalized"},
    {&StereoControlsBase::hotspotBezierPath, {40, 255, 126, 22}, "bezier"},
    {&StereoControlsBase::hotspotTestMonoPath, {500, 319, 150, 40}, "test mono"},
    {&StereoControlsBase::hotspotRecoverMonoPath, {40, 319, 125, 40}, "recover mono"},
    {&StereoControlsBase::hotspotInvertChannelPath, {40, 112, 125, 40}, "invert channel"},
    {&StereoControlsBase::hotspotSwapChannelsPath, {40, 70, 125, 40}, "swap channels"},
}};

void StereoControlsBase::drawHotspots(const CGRect& frame, ResizingBehavior resizing) {
    resizing.apply(canvas, frame);
    // apply() does not store the factors of a frame of the canvas's own size; touches need them.
    if (frame == canvas) keepDrawScale({1, 1});
    for (const auto& hotspot : Hotspot::all)
        this->*hotspot.path = platform::UIBezierPath::rect(hotspot.area);
}

const StereoControlsBase::Hotspot* StereoControlsBase::hotspotAt(CGPoint point) const {
    for (const auto& hotspot : Hotspot::all)
        if ((this->*hotspot.path).containsPoint(point)) return &hotspot;
    return nullptr;
}

const char* StereoControlsBase::modeAt(CGPoint point) const {
    const auto* hotspot = hotspotAt(point);
    return hotspot ? hotspot->mode : "";
}

std::optional<CGRect> StereoControlsBase::hotAreaAt(CGPoint point) const {
    const auto* hotspot = hotspotAt(point);
    return hotspot ? std::optional(hotspot->area) : std::nullopt;
}

}  // namespace qov
