// Folders, printing and the placing of views.

#include <filesystem>

#include <gmock/gmock.h>

#include "platform/foundation/Bundle.h"
#include "platform/foundation/FileManager.h"
#include "platform/uikit/UIView.h"
#include "tests/support/ConsoleLines.h"
#include "tests/support/TemporaryFolder.h"
#include "util/debugprint.h"
#include "util/ensureDirectoryExists.h"
#include "util/paths.h"
#include "util/pinToSuperviewEdges.h"

namespace {

using namespace platform;
namespace fs = std::filesystem;

class Helpers : public testing::Test {
 protected:
    bool ensure(const fs::path& path) {
        const bool exists = qov::ensureDirectoryExists(URL::fileURLWithPath(path.string()));
        loop->pump();
        return exists;
    }

    std::shared_ptr<RunLoop> loop = RunLoop::createForTest();
    RunLoop::MakeCurrent makeCurrent{loop};
    ConsoleLines console{loop.get()};
};

TEST_F(Helpers, CreateFoldersWithThoseAboveThemOrPrintOneLine) {
    const TemporaryFolder temporary;
    const fs::path base = temporary.path();
    EXPECT_TRUE(ensure(base / "a b/ü/%20"));
    EXPECT_TRUE(fs::is_directory(base / "a b/ü/%20"));
    temporary.file("file");
    EXPECT_TRUE(ensure(base / "file") && ensure(base)) << "anything that exists";
    EXPECT_EQ(console.taken(), "");
    EXPECT_FALSE(ensure(base / "file/inside"));
    EXPECT_THAT(
        console.taken(),
        testing::StartsWith("ensureDirectoryExists() : ERROR: Creating required directory '" +
                            (base / "file/inside").string() + "' failed: "));
}

TEST_F(Helpers, FindPathsAndPrintThemUnderTheControllersName) {
    qov::getPaths();
    EXPECT_EQ(qov::documentsURL, FileManager::defaultManager()
                                     ->urls(FileManager::SearchPathDirectory::documentDirectory,
                                            FileManager::SearchPathDomain::userDomain)
                                     .front());
    EXPECT_EQ(qov::resourcesURL, Bundle::main().resourceURL());
    EXPECT_FALSE(qov::sharedURLAudio || qov::sharedURLMIDI);
    EXPECT_EQ(console.taken(), "") << "before the main thread's present work is done";
    qov::debugprint("");
    loop->pump();
    const std::string line = "AudioUnitViewController::getPaths() : Audio Unit's ";
    EXPECT_EQ(console.taken(), line + "documents path is: " + qov::documentsURL->path() + "|" +
                                   line + "resources path is: " + qov::resourcesURL->path() + "|");
}

TEST_F(Helpers, PinAViewToItsSuperviewWhateverBecomesOfThat) {
    const auto outer = std::make_shared<UIView>(CGRect{{10, 20}, {300, 200}});
    const auto inner = std::make_shared<UIView>(CGRect{{5, 5}, {10, 10}});
    qov::pinToSuperviewEdges(*inner);
    EXPECT_TRUE(inner->translatesAutoresizingMaskIntoConstraints()) << "without a superview";
    outer->addSubview(inner);
    qov::pinToSuperviewEdges(*inner);
    EXPECT_FALSE(inner->translatesAutoresizingMaskIntoConstraints());
    for (const CGRect frame : {CGRect{{10, 20}, {300, 200}}, CGRect{{0, 0}, {1, 7}}}) {
        outer->setFrame(frame);
        outer->layoutIfNeeded();
        EXPECT_EQ(inner->frame(), outer->bounds());
    }
}

}  // namespace
