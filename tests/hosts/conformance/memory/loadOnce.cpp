// usage: load_once FORMAT
// Scans a format's bundle, makes an instance for some random calls of a host and destroys it, as
// often as fuzz/adapters.cpp asks for another: for valgrind.

#include <cstdio>
#include <iterator>

#include "fuzz/anything.h"
#include "platform/foundation/Console.h"
#include "tests/hosts/conformance/Plugin.h"

int main(int argc, char** argv) {
    platform::console::setSink({});
    const auto& formats = qov::test::Format::all();
    const auto found = formats.find(argc == 2 ? argv[1] : "");
    if (found == formats.end()) {
        std::fprintf(stderr, "usage: load_once FORMAT\n");
        return 2;
    }
    if (found->second.describe) found->second.describe();
    const auto place = std::distance(formats.begin(), found);
    giveRandomInputs(static_cast<std::uint8_t>(place), 3, 300);
    return 0;
}
