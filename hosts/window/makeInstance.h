#pragma once

#include <memory>
#include <string>

namespace platform {
class RunLoop;
}

namespace qov::hosts {

class Instance;

/// An instance that an editor can be opened on, on that run loop or, for null, on one of its own.
/// Null, with a line about why in *error, when it cannot be made. Editor's thread.
std::unique_ptr<Instance> makeInstance(const std::shared_ptr<platform::RunLoop>& loop,
                                       std::string* error);

}  // namespace qov::hosts
