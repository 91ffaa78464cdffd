#pragma once

namespace platform {
class URL;
}

namespace qov {

/// Makes the folder at a file URL, and those above it, unless something is there already; a plain
/// file counts too. False, and one line through debugprint() that says why, if it cannot be made.
bool ensureDirectoryExists(const platform::URL& url);

}  // namespace qov
