// Writes the bundle's Turtle files into the folder that is given.

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <string>

#include "audiounit/QOV_Kelvane_PluginAudioUnit.h"
#include "audiounit/componentDescription.h"
#include "hosts/lv2/turtle/Turtle.h"
#include "platform/foundation/Console.h"
#include "platform/foundation/NSError.h"

namespace {

bool write(const std::string& path, const std::string& text) {
    const auto fresh = path + ".new";
    std::FILE* file = std::fopen(fresh.c_str(), "wb");
    bool isWell = file && std::fwrite(text.data(), 1, text.size(), file) == text.size();
    if (file && std::fclose(file) != 0) isWell = false;
    if (isWell && std::rename(fresh.c_str(), path.c_str()) == 0) return true;
    std::fprintf(stderr, "lv2-turtle: %s: %s\n", path.c_str(), std::strerror(errno));
    return false;
}

}  // namespace

int main(int count, char** arguments) {
    if (count != 2) {
        std::fputs("usage: lv2-turtle FOLDER\n", stderr);
        return 2;
    }
    platform::console::setSink({});
    qov::QOV_Kelvane_PluginAudioUnit unit;
    platform::NSError error;
    if (!unit.initWithComponentDescription(qov::componentDescription, {}, &error)) {
        std::fprintf(stderr, "lv2-turtle: %s\n", error.localizedDescription().c_str());
        return 1;
    }
    const auto& tree = *unit.parameterTree();
    const std::string folder(arguments[1]);
    const bool isWell = write(folder + "/manifest.ttl", qov::hosts::lv2::manifestTurtle()) &&
                        write(folder + "/kelvane.ttl", qov::hosts::lv2::pluginTurtle(tree)) &&
                        write(folder + "/presets.ttl", qov::hosts::lv2::presetsTurtle(tree));
    return isWell ? 0 : 1;
}
