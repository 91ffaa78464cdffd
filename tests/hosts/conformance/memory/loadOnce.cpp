// usage: load_once FORMAT
// Scans a format's bundle, makes one instance, plays a block and lets everything go: for valgrind.

#include <algorithm>
#include <cstdio>
#include <string>
#include <vector>

#include "platform/foundation/Console.h"
#include "tests/hosts/conformance/Plugin.h"
#include "tests/support/renderEvents.h"

int main(int argc, char** argv) {
    using qov::test::Format;
    platform::console::setSink({});
    const auto& formats = Format::all();
    const auto found =
        std::ranges::find(formats, argc == 2 ? std::string(argv[1]) : "", &Format::name);
    if (found == formats.end()) {
        std::fprintf(stderr, "usage: load_once FORMAT\n");
        return 2;
    }
    auto& format = **found;
    format.describe();
    const auto plugin = format.create();
    plugin->setValue(0, 0.75F);
    if (!plugin->activate(48000, 512)) return 1;
    std::vector<float> left(512, 0.5F), right(512, -0.25F);
    const std::vector events{qov::test::parameterEvent(9, 1, 0.25F)};
    for (int block = 0; block < 10; ++block) {
        plugin->process({left.data(), right.data()}, {left.data(), right.data()}, 512, events);
        plugin->idle();
    }
    const bool isKept = plugin->restoreState(plugin->saveState());
    plugin->deactivate();
    return isKept ? 0 : 1;
}
