#pragma once

namespace platform {
class UIView;
}

namespace qov {

/// Ties the view's four edges to those of its superview, and lets constraints place it from now on.
/// A view without a superview is left as it is. Main thread.
void pinToSuperviewEdges(platform::UIView& view);

}  // namespace qov
