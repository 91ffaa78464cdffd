#pragma once

#include <lv2/core/lv2.h>
#include <lv2/ui/ui.h>

/// The body's functions for the entry.
extern "C" {
const LV2_Descriptor* kelvane_lv2_plugin();
const LV2UI_Descriptor* kelvane_lv2_editor();
}
