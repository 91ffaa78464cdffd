#include "files/FileEnumerator.h"

#include <sys/stat.h>

#include <functional>
#include <utility>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "files/Folder.h"
#include "platform/foundation/FileManager.h"
#include "platform/foundation/NSError.h"
#include "platform/foundation/URL.h"
#include "tests/support/ConsoleLines.h"
#include "tests/support/TemporaryFolder.h"

namespace {

using namespace qov;
using testing::ElementsAre;
using testing::HasSubstr;
constexpr auto end = "WARNUNG: Unbekannter Typ des Dateiobjektes oder <nil>.";

std::vector<std::string> found(const FileTree& tree) {
    std::vector<std::string> paths;
    for (const auto& entry : tree.filelist()) paths.push_back(entry->subpath());
    return paths;
}

class Enumerating : public testing::Test {
 protected:
    ConsoleLines console;
    TemporaryFolder folder;
    FileEnumerator enumerator;
    FileTree& tree = *enumerator.fileTree;
};

TEST_F(Enumerating, LinksEntriesToTheirFoldersAndTellsLinksFromFolders) {
    folder.file("music/set/a.wav", std::string(1234567, '0'));
    folder.file("b\n'<\xff>");
    folder.folder("empty");
    folder.link("music", "link");
    folder.link(".", "loop");
    folder.link("nowhere", "nowhere else");
    enumerator.enumerate(folder.path() + "/");
    EXPECT_THAT(found(tree), ElementsAre("b\n'<\xff>", "empty", "link", "loop", "music",
                                         "music/set", "music/set/a.wav", "nowhere else"));
    EXPECT_THAT(console.take(), ElementsAre(end));
    EXPECT_EQ(tree.basePath, std::filesystem::canonical(folder.path()));
    EXPECT_EQ(tree.root->rootpath(), folder.path() + "/");
    EXPECT_EQ(tree.root->_indent, 0);
    EXPECT_TRUE(tree.root->_expanded && tree.root->isReadeble && tree.root->isDirectory);
    EXPECT_EQ(tree.root->children.size(), 6u);

    const auto& list = tree.filelist();
    const auto file = list.at(6);
    EXPECT_EQ(file->getFileSizeFormatted(), "1.2 MB");
    EXPECT_EQ(file->_indent, 2);
    EXPECT_EQ(file->parent(), list.at(5));
    EXPECT_EQ(file->parent()->parent()->parent(), tree.root);
    struct stat status {};
    ASSERT_EQ(stat((folder / "music/set/a.wav").c_str(), &status), 0);
    EXPECT_EQ(file->uid, platform::Number(std::uint64_t{status.st_ino}));
    EXPECT_TRUE(list.at(2)->isDirectory);  // a link to a folder, without children
    EXPECT_TRUE(std::dynamic_pointer_cast<Folder>(list.at(2))->children.empty());
    EXPECT_FALSE(list.back()->exists || list.back()->isReadeble || list.back()->isDirectory);
    EXPECT_EQ(list.back()->getFileSize(), platform::Number(7));  // the link's own
}

TEST_F(Enumerating, RemovesLitterWithEverythingInItAndNotWhatALinkPointsTo) {
    folder.file("__MACOSX/deep/file");
    folder.file("kept/.DS_Store");
    folder.file("kept/a.DS_Store.txt");
    folder.file("kept/x");
    folder.link("../kept", "kept/__MACOSX link");
    enumerator.enumerate(folder.path());
    EXPECT_THAT(found(tree), ElementsAre("kept", "kept/x"));
    EXPECT_THAT(console.take(), ElementsAre(end));
    std::vector<std::string> left;
    for (const auto& item : std::filesystem::recursive_directory_iterator(folder.path()))
        left.push_back(item.path().filename());
    EXPECT_THAT(left, testing::UnorderedElementsAre("kept", "x"));
}

TEST_F(Enumerating, GoesOnAfterARemovalThatFails) {
    folder.file("safe/.DS_Store");
    folder.file("z");
    chmod((folder / "safe").c_str(), 0555);
    const WithoutPrivileges nobody;
    enumerator.enumerate(folder.path());
    EXPECT_THAT(found(tree), ElementsAre("safe", "z"));
    EXPECT_THAT(console.take(),
                ElementsAre("“.DS_Store” couldn’t be removed because you don’t have "
                            "permission to access it.",
                            end));
}

TEST_F(Enumerating, StopsWithALineWhereTheFolderCannotBeEntered) {
    enumerator.enumerate(folder / "none");
    EXPECT_THAT(console.take(), ElementsAre("Error: Could not set current path '" +
                                            (folder / "none") + "' for the file manager."));
    EXPECT_EQ(tree.root, nullptr);
    EXPECT_EQ(tree.basePath, "");
}

/// Something happens to the file system before each entry is looked at.
struct MeddlingManager : platform::FileManager {
    std::function<void(const std::string&)> meddle;
    bool fileExists(const std::string& path, bool* isDirectory) const override {
        meddle(path);
        return FileManager::fileExists(path, isDirectory);
    }
};

TEST_F(Enumerating, KeepsWhatVanishesMeanwhileWithoutAttributes) {
    folder.file("a/inside");
    folder.file("b");
    folder.file("c");
    const auto manager = std::make_shared<MeddlingManager>();
    manager->meddle = [&](const std::string& path) {
        if (path == folder / "a" || path == folder / "b") std::filesystem::remove_all(path);
    };
    enumerator.fileManager = manager;
    enumerator.enumerate(folder.path());
    EXPECT_THAT(found(tree), ElementsAre("a", "b", "c"));
    const auto lines = console.take();
    ASSERT_EQ(lines.size(), 3u);
    EXPECT_THAT(lines[0], HasSubstr("“a” couldn’t be opened because there is no such file."));
    EXPECT_EQ(tree.filelist().at(1)->uid, platform::Number(-1));
    EXPECT_THAT(tree.list(), HasSubstr("<file id='-1' name='a' size='(invalid attribute)' "));
    EXPECT_EQ(tree.root->children.size(), 3u);
}

/// Finds a name of one component and says that it lies on the third level.
struct WrongLevel : platform::DirectoryEnumerator {
    explicit WrongLevel(bool hasAttributes) {
        if (hasAttributes) attributes.emplace();
    }
    std::optional<std::string> name = "a";
    std::optional<platform::FileAttributes> attributes;
    std::optional<std::string> nextObject() override { return std::exchange(name, std::nullopt); }
    long level() const override { return 3; }
    const std::optional<platform::FileAttributes>& directoryAttributes() const override {
        return attributes;
    }
};

TEST_F(Enumerating, CorrectsTheDepthToTheLevelAndIsFatalWithoutAttributesOfTheRoot) {
    struct Manager : platform::FileManager {
        bool hasAttributes = true;
        std::unique_ptr<platform::DirectoryEnumerator> enumerator(
            const std::string&) const override {
            return std::make_unique<WrongLevel>(hasAttributes);
        }
    };
    folder.file("a");
    const auto manager = std::make_shared<Manager>();
    enumerator.fileManager = manager;
    enumerator.enumerate(folder.path());
    EXPECT_EQ(tree.filelist().at(0)->_indent, 2);
    EXPECT_THAT(console.take(),
                ElementsAre("WARNUNG: Die Verschachtelungstiefe unterscheidet sich! ( indent: 0 / "
                            "level: 2 )",
                            end));
    manager->hasAttributes = false;
    EXPECT_DEATH(enumerator.enumerate(folder.path()),
                 "The attributes of the folder '.*' are missing");
}

TEST_F(Enumerating, AllowsEveryOperationAndGoesOnAfterNoError) {
    auto& manager = *enumerator.fileManager;
    ASSERT_EQ(manager.delegate(), &enumerator);
    const auto answers = [&](const auto& item) {
        auto& delegate = *manager.delegate();
        const platform::NSError error;
        return std::vector<bool>{
            delegate.shouldRemoveItem(manager, item),
            delegate.shouldCopyItem(manager, item, item),
            delegate.shouldMoveItem(manager, item, item),
            delegate.shouldLinkItem(manager, item, item),
            !delegate.shouldProceedAfterErrorRemovingItem(manager, error, item),
            !delegate.shouldProceedAfterErrorCopyingItem(manager, error, item, item),
            !delegate.shouldProceedAfterErrorMovingItem(manager, error, item, item),
            !delegate.shouldProceedAfterErrorLinkingItem(manager, error, item, item)};
    };
    EXPECT_EQ(answers(std::string("/x")), std::vector<bool>(8, true));
    EXPECT_EQ(answers(platform::URL::fileURLWithPath("/x")), std::vector<bool>(8, true));
}

}  // namespace
