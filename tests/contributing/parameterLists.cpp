// Prints, for each format, the number of parameters that it lists, the last one's name, and its
// value after it was set: for the copy of the sources in which ./add_parameter has added one.

#include <cstdio>

#include "platform/foundation/Console.h"
#include "tests/hosts/conformance/Plugin.h"

int main() {
    platform::console::setSink({});
    for (const auto& [name, format] : qov::test::Format::all()) {
        if (!format.describe) continue;
        const auto parameters = format.describe().parameters;
        const auto last = parameters.back().address;
        const auto plugin = format.create();
        plugin->setValue(last, 1);
        std::printf("%s %zu %s %g\n", name.c_str(), parameters.size(),
                    parameters.back().name.c_str(), double{plugin->value(last)});
    }
}
