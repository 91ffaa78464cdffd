#include <clap/entry.h>
#include <clap/plugin-factory.h>
#include <dlfcn.h>
#include <gmock/gmock.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdio>
#include <filesystem>
#include <map>
#include <set>
#include <sstream>
#include <string>

#include "hosts/instance/product.h"
#include "tests/support/TemporaryFolder.h"

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

/// What each entry exports to hosts, by its name in the bundle.
const std::map<std::string, Names> kEntryPoints{
    {"kelvane.clap", {"clap_entry"}},
    {"kelvane.so", {"lv2_descriptor"}},
    {"kelvane_ui.so", {"lv2ui_descriptor"}},
    {"QOV Kelvane.so", {"GetPluginFactory", "ModuleEntry", "ModuleExit"}},
};

TEST(Bundle, EntriesExportTheirEntryPointsAloneAndNeedNothingOfTheEditor) {
    std::size_t entries = 0;
    for (const auto& item : fs::recursive_directory_iterator(PLUGINS)) {
        const auto& file = item.path();
        if (!item.is_regular_file() || (file.extension() != ".so" && file.extension() != ".clap"))
            continue;
        SCOPED_TRACE(file);
        const auto dynamic = outputOf("readelf -dW '" + file.string() + "'");
        EXPECT_THAT(dynamic, testing::Not(testing::HasSubstr("TEXTREL")));
        if (file.filename() == kBody) {
            EXPECT_THAT(exported(file), testing::Each(testing::StartsWith("kelvane_")));
            continue;
        }
        ++entries;
        EXPECT_EQ(exported(file), kEntryPoints.at(file.filename()));
        EXPECT_THAT(dynamic,
                    testing::Not(testing::ContainsRegex("cairo|X11|harfbuzz|fontconfig|glib|icu")));
        EXPECT_TRUE(fs::exists(file.parent_path() / kBody));
    }
    EXPECT_EQ(entries, kEntryPoints.size());
}

TEST(Bundle, AMissingBodyIsReportedInOneLineAndNothingIsMade) {
    const TemporaryFolder folder;
    const auto lonely = folder / "kelvane.clap";
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
    EXPECT_THAT(said, testing::HasSubstr(folder / kBody));
    EXPECT_EQ(std::ranges::count(said, '\n'), 1);
    entry->deinit();
    dlclose(library);
}

}  // namespace
}  // namespace qov::test
