#pragma once

#include <string_view>

namespace platform {

/// Ends the process: one line on standard error, then abort. For what can only be a programming
/// fault; nothing that a user does may lead here.
[[noreturn]] void fatalError(std::string_view message);

}  // namespace platform
