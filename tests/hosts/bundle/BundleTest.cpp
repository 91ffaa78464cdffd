#include <gmock/gmock.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <set>
#include <sstream>
#include <string>

#include "tests/hosts/clap/TestHost.h"
#include "tests/support/TemporaryFolder.h"

namespace fs = std::filesystem;

namespace qov::test {
namespace {

using Names = std::set<std::string>;

constexpr const char* kBody = "kelvane-body.so";

std::string outputOf(const std::string& command) {
    testing::internal::CaptureStdout();
    const int status = std::system(command.c_str());
    auto output = testing::internal::GetCapturedStdout();
    EXPECT_EQ(status, 0) << command;
    return output;
}

/// The exported symbols of a shared object, without those that the sanitizers add.
Names exported(const fs::path& file) {
    Names names;
    std::istringstream lines(outputOf("nm -D --defined-only -P '" + file.string() + "'"));
    for (std::string line; std::getline(lines, line);) names.insert(line.substr(0, line.find(' ')));
    return names;
}

/// The exports of each entry, by its name in the bundle.
const std::map<std::string, Names> kEntryPoints{
    {"kelvane.clap", {"clap_entry"}},
    {"kelvane.so", {"lv2_descriptor"}},
    {"kelvane_ui.so", {"lv2ui_descriptor"}},
    {"QOV Kelvane.so", {"GetPluginFactory", "ModuleEntry", "ModuleExit"}}};

TEST(Bundle, EntriesExportTheirEntryPointsOnlyAndNeedNoLibraryOfTheEditor) {
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

TEST(Bundle, AMissingBodyIsReportedInOneLineAndNothingIsCreated) {
    const TemporaryFolder folder;
    const auto lonely = folder / "kelvane.clap";
    fs::copy_file(PLUGINS "/clap/kelvane/kelvane.clap", lonely);
    const auto& factory = clapFactory<clap_plugin_factory_t>(CLAP_PLUGIN_FACTORY_ID, lonely);
    clap_host_t host{};
    host.clap_version = CLAP_VERSION;
    testing::internal::CaptureStderr();
    for (int time = 0; time < 2; ++time)
        EXPECT_EQ(factory.create_plugin(&factory, &host, hosts::product::identifier), nullptr);
    const auto line = testing::internal::GetCapturedStderr();
    EXPECT_THAT(line, testing::HasSubstr(folder / kBody));
    EXPECT_EQ(std::ranges::count(line, '\n'), 1);
}

}  // namespace
}  // namespace qov::test
