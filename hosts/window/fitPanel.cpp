#include "hosts/window/fitPanel.h"

#include <algorithm>

#include "editor/panelCanvas.h"

namespace qov::hosts {

namespace {

constexpr platform::CGFloat aspect = panelCanvas.height / panelCanvas.width;
constexpr platform::CGFloat narrowest = 560;  // points

}  // namespace

PanelFit fitPanel(platform::CGSize window) {
    const auto panelWidth = std::min(window.width, window.height / aspect);
    return {std::min(panelWidth / narrowest, 1.0), window.height < window.width * aspect};
}

}  // namespace qov::hosts
