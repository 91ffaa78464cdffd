#include "editor/PluginFrameEx.h"

namespace qov {

void PluginFrameEx::draw(platform::CGRect rect) {
    baseClass.contrast = contrast;
    baseClass.mainColor = mainColor;
    baseClass.draw(rect, PluginFrameBaseEx::ResizingBehavior::aspectFit);
}

}  // namespace qov
