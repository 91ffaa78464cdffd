#include "hosts/window/fitPanel.h"

#include <algorithm>

#include "editor/panelCanvas.h"

namespace qov::hosts {

using platform::CGFloat;
using platform::CGSize;

namespace {

constexpr CGFloat aspect = panelCanvas.height / panelCanvas.width;
constexpr CGFloat narrowest = 560;  // points

/// Points a point of a canvas as wide as the panel's and that high.
CGFloat canvasScale(CGSize window, CGFloat canvasHeight) {
    return std::min(window.width / panelCanvas.width, window.height / canvasHeight);
}

}  // namespace

CGSize withFooter(CGSize panel, CGFloat footer) {
    return {panel.width, panel.height + footer * canvasScale(panel, panelCanvas.height)};
}

CGSize withoutFooter(CGSize window, CGFloat footer) {
    const auto scale = canvasScale(window, panelCanvas.height + footer);
    return {window.width, window.height - footer * scale};
}

PanelFit fitPanel(CGSize window, CGFloat footer) {
    const auto place = withoutFooter(window, footer);
    const auto panelWidth = std::min(place.width, place.height / aspect);
    const auto scale = std::min(panelWidth / narrowest, 1.0);
    return {scale, place.height < place.width * aspect, (window.height - place.height) / scale};
}

}  // namespace qov::hosts
