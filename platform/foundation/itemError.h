#pragma once

#include <string>

#include "platform/foundation/NSError.h"

namespace platform {

/// What was to be done with an item when errno was set.
enum class ItemOperation { read, remove, create };

/// The error of NSCocoaErrorDomain for it, in a sentence that names the item.
NSError itemError(ItemOperation operation, const std::string& path, int number);

}  // namespace platform
