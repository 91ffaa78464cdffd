#pragma once

#include <travesty/base.h>

/// In the body, for the entry: a new plug-in, held once; null, with a line on standard error, when
/// there is none to be had. `host`, which may be null, is the host context of the factory. Any
/// thread.
extern "C" [[gnu::visibility("default")]] v3_funknown** kelvane_vst3_create(v3_funknown** host);
