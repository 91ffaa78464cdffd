#include "hosts/window/fitPanel.h"

#include <algorithm>

namespace qov::hosts {

namespace {

constexpr platform::CGFloat aspect = 11.0 / 17.0;  // the panel's height over its width
constexpr platform::CGFloat narrowest = 560;       // points

}  // namespace

PanelFit fitPanel(platform::CGSize window) {
    const auto panelWidth = std::min(window.width, window.height / aspect);
    return {std::min(panelWidth / narrowest, 1.0), window.height < window.width * aspect};
}

}  // namespace qov::hosts
