#include <clap/entry.h>
#include <clap/plugin-factory.h>
#include <dlfcn.h>
#include <gmock/gmock.h>
#include <stdlib.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <filesystem>
#include <map>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "hosts/instance/product.h"

namespace fs = std::filesystem;

namespace qov::test {
namespace {

using Names = std::set<std::string>;

constexpr const char* kBody = "kelvane-body.so";

std::string outputOf(const std::string& command) {
    std::string output;
    FILE* pipe = popen(command.c_str(), "r");
    std::array<char, 4096> part;
    while (const auto count = fread(part.data(), 1, part.size(), pipe))
        output.append(part.data(), count);
    EXPECT_EQ(pclose(pipe), 0) << command;
    return output;
}

/// The symbols that a shared object offers, without those that the sanitizers add.
Names exported(const fs::path& file) {
    Names names;
    std::istringstream lines(outputOf("nm -D --defined-only -P '" + file.string() + "'"));
    for (std::string line; std::getline(lines, line);) names.insert(line.substr(0, line.find(' ')));
    return names;
}

/// Each binary below the plug-in folder.
std::vector<fs::path> binaries() {
    std::vector<fs::path> found;
    for (const auto& file : fs::recursive_directory_iterator(PLUGINS))
        if (file.is_regular_file() &&
            (file.path().extension() == ".so" || file.path().extension() == ".clap"))
            found.push_back(file.path());
    return found;
}

/// What each entry offers to hosts, by its name in the bundle.
const std::map<std::string, Names> kEntryPoints{
    {"kelvane.clap", {"clap_entry"}},
    {"kelvane.so", {"lv2_descriptor"}},
    {"kelvane_ui.so", {"lv2ui_descriptor"}},
    {"QOV Kelvane.so", {"GetPluginFactory", "ModuleEntry", "ModuleExit"}},
};

TEST(Bundle, EntriesOfferTheirEntryPointsAlone) {
    for (const auto& file : binaries()) {
        SCOPED_TRACE(file);
        const auto name = file.filename().string();
        if (name == kBody)
            EXPECT_THAT(exported(file), testing::Each(testing::StartsWith("kelvane_")));
        else
            EXPECT_EQ(exported(file), kEntryPoints.at(name));
    }
}

TEST(Bundle, EntriesNeedNothingOfTheEditor) {
    for (const auto& file : binaries()) {
        SCOPED_TRACE(file);
        const auto dynamic = outputOf("readelf -dW '" + file.string() + "'");
        EXPECT_THAT(dynamic, testing::Not(testing::HasSubstr("TEXTREL")));
        if (file.filename() == kBody) continue;
        for (const auto* library : {"cairo", "X11", "harfbuzz", "fontconfig", "glib", "icu"})
            EXPECT_THAT(dynamic, testing::Not(testing::HasSubstr(library)));
        EXPECT_TRUE(fs::exists(file.parent_path() / kBody));
    }
}

TEST(Bundle, AMissingBodyIsSaidInOneLineAndNothingIsMade) {
    auto folder = (fs::temp_directory_path() / "kelvane-bundle-XXXXXX").string();
    ASSERT_TRUE(mkdtemp(folder.data()));
    const auto lonely = fs::path(folder) / "kelvane.clap";
    fs::copy_file(fs::path(PLUGINS) / "clap/kelvane/kelvane.clap", lonely);

    void* library = dlopen(lonely.c_str(), RTLD_NOW | RTLD_LOCAL);
    ASSERT_TRUE(library) << dlerror();
    const auto* entry = static_cast<const clap_plugin_entry_t*>(dlsym(library, "clap_entry"));
    ASSERT_TRUE(entry && entry->init(lonely.c_str()));
    const auto* factory =
        static_cast<const clap_plugin_factory_t*>(entry->get_factory(CLAP_PLUGIN_FACTORY_ID));
    clap_host_t host{};
    host.clap_version = CLAP_VERSION;
    testing::internal::CaptureStderr();
    for (int time = 0; time < 2; ++time)
        EXPECT_EQ(factory->create_plugin(factory, &host, hosts::product::identifier), nullptr);
    const auto said = testing::internal::GetCapturedStderr();
    EXPECT_THAT(said, testing::HasSubstr((fs::path(folder) / kBody).string()));
    EXPECT_EQ(std::ranges::count(said, '\n'), 1);
    entry->deinit();
    dlclose(library);
    fs::remove_all(folder);
}

}  // namespace
}  // namespace qov::test
