#include <cstdio>
#include <cstdlib>
#include <string_view>

#include "platform/foundation/Console.h"

/// Called by each entry once, after it has loaded the body. The effect's own lines do not belong
/// into a host's output; where they are asked for, they go to standard error.
extern "C" [[gnu::visibility("default")]] void kelvane_start() {
    const char* asked = std::getenv("KELVANE_DIAGNOSTICS");
    if (!asked || std::string_view(asked) != "1") {
        platform::console::setSink({});
        return;
    }
    platform::console::setSink([](std::string_view line) {
        std::fprintf(stderr, "%.*s\n", static_cast<int>(line.size()), line.data());
    });
}
