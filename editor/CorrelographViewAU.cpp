#include "editor/CorrelographViewAU.h"

namespace qov {

void CorrelographViewAU::draw(platform::CGRect rect) {
    if (isHidden()) return;
    baseClass.drawCorrelograph(rect, CorrelographBaseAU::ResizingBehavior::aspectFit);
}

}  // namespace qov
