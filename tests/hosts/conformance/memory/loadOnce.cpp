// usage: load_once FORMAT
// Scans a format's bundle, makes one instance, plays some blocks and destroys all: for valgrind.

#include <cstdio>
#include <vector>

#include "platform/foundation/Console.h"
#include "tests/hosts/conformance/Plugin.h"
#include "tests/support/renderEvents.h"

int main(int argc, char** argv) {
    platform::console::setSink({});
    const auto& formats = qov::test::Format::all();
    const auto found = formats.find(argc == 2 ? argv[1] : "");
    if (found == formats.end()) {
        std::fprintf(stderr, "usage: load_once FORMAT\n");
        return 2;
    }
    const auto& format = found->second;
    if (format.describe) format.describe();
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
