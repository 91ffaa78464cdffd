#include "hosts/window/SavedSettings.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <locale>
#include <sstream>
#include <system_error>

#include <fmt/format.h>

#include "hosts/output/Failure.h"
#include "hosts/output/OutputPlace.h"

namespace qov::hosts {

namespace {

constexpr double largestSide = 8192;  // points

bool isSide(double side) {
    return side >= 1 && side <= largestSide;
}

}  // namespace

std::string SavedSettings::pathOf(const std::string& name) {
    const auto value = [](const char* variable) {
        const char* text = std::getenv(variable);
        return std::string(text ? text : "");
    };
    // A relative path there is invalid by the desktop's own rules.
    auto folder = value("XDG_CONFIG_HOME");
    if (!folder.starts_with('/')) {
        const auto home = value("HOME");
        if (home.empty()) return {};
        folder = home + "/.config";
    }
    return folder + "/kelvane/" + name;
}

SavedSettings SavedSettings::read(const std::string& path) {
    SavedSettings settings;
    std::ifstream file(path);
    for (std::string line; std::getline(file, line);) {
        std::istringstream words(line);
        words.imbue(std::locale::classic());
        std::string key;
        words >> key;
        if (key == "size") {
            platform::CGSize size;
            if (words >> size.width >> size.height && isSide(size.width) && isSide(size.height))
                settings.size = size;
        } else if (key == "brightness") {
            float brightness = 0;
            if (words >> brightness && brightness >= 0 && brightness <= 1)
                settings.brightness = brightness;
        } else if (key == "picture") {
            EditorWindow::Picture picture;
            if (words >> picture.isShown >> picture.isNormalized >> picture.isLines)
                settings.picture = picture;
        } else if (key == "strip") {
            words >> settings.isStripShown;
        } else {
            settings.state += line + '\n';
        }
    }
    return settings;
}

std::string SavedSettings::write(const std::string& path) const {
    std::string text;
    if (size) text += fmt::format("size {} {}\n", size->width, size->height);
    if (brightness) text += fmt::format("brightness {}\n", *brightness);
    text += fmt::format("picture {:d} {:d} {:d}\nstrip {:d}\n{}", picture.isShown,
                        picture.isNormalized, picture.isLines, isStripShown, state);
    std::error_code error;
    std::filesystem::create_directories(std::filesystem::path(path).parent_path(), error);
    try {
        writeOutput(path, text);
        return {};
    } catch (const Failure& failure) {
        return fmt::format("the settings cannot be saved: {}", failure.what());
    }
}

}  // namespace qov::hosts
