#include <gmock/gmock.h>

#include <algorithm>
#include <filesystem>
#include <map>
#include <string>

#include "tests/hosts/clap/TestHost.h"
#include "tests/hosts/cli/Program.h"

namespace fs = std::filesystem;

namespace qov::test {
namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

constexpr const char* kBody = "kelvane-body.so";

/// The exports of each entry, by its name in the bundle.
const std::map<std::string, std::string> kEntryPoints{
    {"kelvane.clap", "clap_entry\n"},
    {"kelvane.so", "lv2_descriptor\n"},
    {"kelvane_ui.so", "lv2ui_descriptor\n"},
    {"QOV Kelvane.so", "GetPluginFactory\nModuleEntry\nModuleExit\n"}};

TEST(Bundle, EntriesExportTheirEntryPointsOnlyAndNeedNoLibraryOfTheEditor) {
    std::size_t entries = 0;
    for (const auto& item : fs::recursive_directory_iterator(PLUGINS)) {
        const auto& file = item.path();
        if (!item.is_regular_file() || (file.extension() != ".so" && file.extension() != ".clap"))
            continue;
        SCOPED_TRACE(file);
        const auto quoted = "'" + file.string() + "'";
        const auto exported =
            shell("nm -DP --defined-only " + quoted + " | sed 's/ .*//' | LC_ALL=C sort").out;
        const auto dynamic = shell("readelf -dW " + quoted).out;
        EXPECT_THAT(dynamic, AllOf(HasSubstr("NEEDED"), Not(HasSubstr("TEXTREL"))));
        if (file.filename() == kBody) {
            EXPECT_THAT(exported, testing::MatchesRegex("(kelvane_[^\n]*\n)+"));
            continue;
        }
        ++entries;
        EXPECT_EQ(exported, kEntryPoints.at(file.filename()));
        EXPECT_THAT(dynamic, Not(testing::ContainsRegex("cairo|X11|harfbuzz|fontconfig|glib|icu")));
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
    EXPECT_THAT(line, HasSubstr(folder / kBody));
    EXPECT_EQ(std::ranges::count(line, '\n'), 1);
}

}  // namespace
}  // namespace qov::test
