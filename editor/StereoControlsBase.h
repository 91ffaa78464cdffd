#pragma once

#include <memory>
#include <optional>
#include <string>

#include "editor/ResizingBehavior.h"
#include "platform/uikit/UIBezierPath.h"
#include "platform/uikit/UIColor.h"

namespace platform {
class CGContext;
}

namespace qov {

class AudioUnitViewController;
struct PanelStyle;
struct PanelText;

/// Points per canvas unit of the panel that drew last in this process; the locations of touches are
/// divided by them. Main thread.
extern platform::CGFloat drawScaleX;
extern platform::CGFloat drawScaleY;

/// The panel's state, picture and hot areas (hotspots), on a canvas of 680 x 440 units. Main
/// thread.
class StereoControlsBase {
 public:
    using ResizingBehavior = ResizingBehaviorOf<StereoControlsBase>;

    /// Draws on the current context; without one only the hot areas are built.
    /// A view controller without an audio unit is a fatal error.
    void drawControls(const platform::CGRect& frame, ResizingBehavior resizing);
    /// Builds the hot areas, in canvas units, and stores the scale of the frame (points).
    void drawHotspots(const platform::CGRect& frame, ResizingBehavior resizing);

    /// The editing mode of the hot area at a point of the canvas; empty outside all of them, and
    /// before the first drawing.
    const char* modeAt(platform::CGPoint point) const;
    /// That hot area, in canvas units.
    std::optional<platform::CGRect> hotAreaAt(platform::CGPoint point) const;

    static void keepDrawScale(platform::CGSize scale);

    std::weak_ptr<AudioUnitViewController> viewController;

 private:
    friend class StereoControls;
    struct Hotspot;
    struct Dial;

    const Hotspot* hotspotAt(platform::CGPoint point) const;
    std::string phaseShiftText() const;
    void drawScreen(platform::CGContext& context, const PanelStyle& style) const;
    void drawStereoField(platform::CGContext& context, const PanelStyle& style) const;
    void drawBrackets(platform::CGContext& context, const PanelStyle& style) const;
    void drawLevels(platform::CGContext& context) const;
    void drawDial(platform::CGContext& context, const PanelStyle& style, const Dial& dial,
                  platform::CGFloat value, bool isActive, bool isResetActive) const;
    void drawPhaseShiftField(platform::CGContext& context, const PanelStyle& style) const;
    void drawPhaseShift(platform::CGContext& context, const PanelStyle& style,
                        const std::string& text) const;
    void drawToggles(platform::CGContext& context, const PanelStyle& style) const;
    void print(platform::CGContext& context, const PanelStyle& style, const PanelText& line) const;

    platform::UIColor hotspotColor{0.211, 1, 0, 0.1};  ///< to make the hot areas visible; unused
    platform::UIColor colorEmphasize{1, 0.785, 0.215, 1};
    platform::UIColor colorEmphasize2{0, 0.539, 1, 1};
    platform::UIColor colorContrast{0.75, 0.75, 0.75, 1};
    platform::UIColor colorBackground{0.25, 0.25, 0.25, 1};
    platform::CGFloat markersAngle = -45;  ///< degrees
    platform::CGFloat knobsAngle = -140;   ///< degrees, where a knob's sweep starts

    // Parameters, 0..1.
    platform::CGFloat stereoWidthNormalized = 0.5;
    platform::CGFloat panoramaNormalized = 0.5;
    platform::CGFloat phaseShiftValue = 0;
    // Being edited by a touch.
    bool isStereoWidthActive = false;
    bool isPanoramaActive = false;
    bool isPhaseShiftActive = false;
    bool isPanoramaResetActive = false;
    bool isStereoWidthResetActive = false;
    platform::CGFloat levelLeftValue = 0;  ///< 0..1; nothing writes the two
    platform::CGFloat levelRightValue = 0;
    // Switches.
    bool isSwapOn = false;
    bool isMonoOn = false;
    bool isInvert = false;
    bool isRecover = false;
    bool isNormalized = true;
    bool isOscillograph = true;
    bool isBezier = false;
    bool isGoPro = false;

    // Hot areas, rebuilt by each drawing.
    platform::UIBezierPath aHotspot;  ///< spare
    platform::UIBezierPath hotspotStereoWidthPath;
    platform::UIBezierPath hotspotPanoramaPath;
    platform::UIBezierPath hotspotStereoWidthResetPath;
    platform::UIBezierPath hotspotPanoramaResetPath;
    platform::UIBezierPath hotspotPhaseShiftPath;
    platform::UIBezierPath hotspotGoProPath;
    platform::UIBezierPath hotspotOscillographPath;
    platform::UIBezierPath hotspotNormalizedPath;
    platform::UIBezierPath hotspotBezierPath;
    platform::UIBezierPath hotspotTestMonoPath;
    platform::UIBezierPath hotspotRecoverMonoPath;
    platform::UIBezierPath hotspotInvertChannelPath;
    platform::UIBezierPath hotspotSwapChannelsPath;
};

}  // namespace qov
