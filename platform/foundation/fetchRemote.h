#pragma once

#include <atomic>

#include "platform/foundation/URLSession.h"

namespace platform {

// A back end is a source file that defines both. Any thread, several at once.

/// Starts the libraries that fetch, once. What they take down when the process exits is still up
/// for objects with static storage that were made after this call.
void prepareRemote();
/// URLSession::fetch() for addresses that are not files.
URLFetch fetchRemote(const URL& url, const URLSession::Configuration& limits,
                     const std::atomic<bool>* cancelled);

}  // namespace platform
