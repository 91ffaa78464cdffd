#include "editor/PluginFrameBaseEx.h"

#include "platform/uikit/UIBezierPath.h"
#include "platform/uikit/UIGraphics.h"

namespace qov {

void PluginFrameBaseEx::draw(const platform::CGRect& frame, ResizingBehavior resizing) const {
    auto* context = platform::UIGraphicsGetCurrentContext();
    if (!context) return;
    context->saveGState();
    const platform::CGFloat width = frame.size.width, height = frame.size.height;
    const platform::CGRect target = resizing.apply({0, 0, width, height}, frame);
    context->translateBy(target.minX(), target.minY());
    context->scaleBy(target.width() / width, target.height() / height);
    platform::UIColor(contrast, contrast, contrast, 1).setFill();
    platform::UIBezierPath::roundedRect({1, 1, width - 2, height - 2}, 8).fill();
    context->restoreGState();
}

}  // namespace qov
