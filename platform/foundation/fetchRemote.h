#pragma once

#include <atomic>

#include "platform/foundation/URLSession.h"

namespace platform {

/// URLSession::fetch() for addresses that are not files. A back end is a source file that defines
/// it. Any thread, several at once.
URLFetch fetchRemote(const URL& url, const URLSession::Configuration& limits,
                     const std::atomic<bool>* cancelled);

}  // namespace platform
