#pragma once

#include <memory>
#include <string>

namespace platform {
class RunLoop;
}

namespace qov::hosts {

class Instance;

/// Creates an instance for which an editor can be opened, on that run loop or, for null, on one of
/// its own. Null on failure, with a line about why in *error. Editor's thread.
std::unique_ptr<Instance> makeInstance(const std::shared_ptr<platform::RunLoop>& loop,
                                       std::string* error);

}  // namespace qov::hosts
