#include <filesystem>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/foundation/Bundle.h"
#include "platform/foundation/FileManager.h"
#include "tests/support/ConsoleLines.h"
#include "tests/support/TemporaryFolder.h"
#include "util/ensureDirectoryExists.h"
#include "util/paths.h"

namespace {

using platform::FileManager;
using platform::RunLoop;
using platform::URL;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
namespace fs = std::filesystem;

class Folders : public testing::Test {
 protected:
    bool ensure(const fs::path& path) {
        const bool exists = qov::ensureDirectoryExists(URL::fileURLWithPath(path.string()));
        loop->pump();
        return exists;
    }

    TemporaryFolder temporary;
    fs::path base = temporary.path();
    std::shared_ptr<RunLoop> loop = RunLoop::createForTest();
    RunLoop::MakeCurrent makeCurrent{loop};
    ConsoleLines console{loop.get()};
};

TEST_F(Folders, AreCreatedWithThoseAboveThemOrAFailureIsOneLine) {
    EXPECT_TRUE(ensure(base / "a b/ü/%20"));
    EXPECT_TRUE(fs::is_directory(base / "a b/ü/%20"));
    temporary.file("file", "kept");
    EXPECT_TRUE(ensure(base / "file"));
    EXPECT_TRUE(fs::is_regular_file(base / "file"));
    EXPECT_TRUE(ensure(base));
    EXPECT_THAT(console.lines(), IsEmpty());
    EXPECT_FALSE(ensure(base / "file/inside"));
    EXPECT_THAT(console.lines(),
                ElementsAre(testing::StartsWith(
                    "ensureDirectoryExists() : ERROR: Creating required directory '" +
                    (base / "file/inside").string() + "' failed: ")));
}

TEST_F(Folders, PathsAreFoundAndPrintedUnderTheControllersName) {
    qov::getPaths();
    EXPECT_EQ(qov::documentsURL, FileManager::defaultManager()
                                     ->urls(FileManager::SearchPathDirectory::documentDirectory,
                                            FileManager::SearchPathDomain::userDomain)
                                     .front());
    EXPECT_EQ(qov::resourcesURL, platform::Bundle::main().resourceURL());
    EXPECT_FALSE(qov::sharedURLAudio || qov::sharedURLMIDI);
    EXPECT_THAT(console.lines(), IsEmpty());
    loop->pump();
    const std::string line = "AudioUnitViewController::getPaths() : Audio Unit's ";
    EXPECT_THAT(console.lines(),
                ElementsAre(line + "documents path is: " + qov::documentsURL->path(),
                            line + "resources path is: " + qov::resourcesURL->path()));
}

}  // namespace
