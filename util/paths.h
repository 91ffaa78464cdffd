#pragma once

#include <optional>

#include "platform/foundation/URL.h"

namespace qov {

// Folders of the program. Nothing guards them: fill them on one thread before others read them.

/// The user's documents; none before getPaths().
extern std::optional<platform::URL> documentsURL;
/// What was installed with the program; none before getPaths(), nor where it has no such folder.
extern std::optional<platform::URL> resourcesURL;
/// Places that programs of a family could share. Nothing sets them.
extern std::optional<platform::URL> sharedURLAudio, sharedURLMIDI;

/// Finds documentsURL and resourcesURL and prints both with safeprint(). Makes no folder. A user
/// without a document folder is a fatal error.
void getPaths();

}  // namespace qov
