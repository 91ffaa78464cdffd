#pragma once

#include <travesty/base.h>

/// In the body, for the entry: a new plug-in with one reference; null, with a line on standard
/// error, if it cannot be made. `host`, which may be null, is the host context of the factory. Any
/// thread.
extern "C" [[gnu::visibility("default")]] v3_funknown** kelvane_vst3_create(v3_funknown** host);
