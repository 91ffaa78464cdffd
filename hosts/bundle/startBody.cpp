#include <cstdio>
#include <cstdlib>
#include <string_view>

#include "platform/foundation/Console.h"

/// Called by each entry once, after it has loaded the body. A host's output is not the place for
/// the effect's own lines, unless somebody asks for them; then standard error is.
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
