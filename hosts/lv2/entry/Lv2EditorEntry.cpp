#include <lv2/ui/ui.h>

#include "hosts/bundle/bodyFunction.h"

/// Hosts read an editor's description only after they have made an instance, so the body is loaded.
LV2_SYMBOL_EXPORT const LV2UI_Descriptor* lv2ui_descriptor(uint32_t index) {
    if (index != 0) return nullptr;
    auto* editor = qov::hosts::bodyFunction<const LV2UI_Descriptor*()>("kelvane_lv2_editor");
    return editor ? editor() : nullptr;
}
