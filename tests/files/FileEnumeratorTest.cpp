#include "files/FileEnumerator.h"

#include <sys/stat.h>

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

TEST_F(Enumerating, LinksEntriesToTheirFoldersAndDistinguishesLinks) {
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
    for (const auto* name : {"__MACOSX/deep/file", "kept/.DS_Store", "kept/a.DS_Store.txt",
                             "kept/x", "safe/.DS_Store"})
        folder.file(name);
    folder.link("../kept", "kept/__MACOSX link");
    for (const auto* name : {"", "kept", "__MACOSX", "__MACOSX/deep"})
        chmod((folder / name).c_str(), 0777);
    chmod((folder / "safe").c_str(), 0555);
    {
        const WithoutPrivileges nobody;
        enumerator.enumerate(folder.path());
    }
    EXPECT_THAT(found(tree), ElementsAre("kept", "kept/x", "safe"));
    EXPECT_THAT(console.take(), ElementsAre("“.DS_Store” couldn’t be removed because you don’t "
                                            "have permission to access it.",
                                            end));
    EXPECT_THAT(folder.files(), ElementsAre("kept", "safe"));
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder / "kept"), {}), 1);
}

TEST_F(Enumerating, StopsWithALineWhereTheFolderCannotBeEntered) {
    enumerator.enumerate(folder / "none");
    EXPECT_THAT(console.take(), ElementsAre("Error: Could not set current path '" +
                                            (folder / "none") + "' for the file manager."));
    EXPECT_EQ(tree.root, nullptr);
    EXPECT_EQ(tree.basePath, "");
}

/// Removes a folder just before it is examined, and reports a level too many on demand.
struct MeddlingManager : platform::FileManager {
    struct Walk : platform::DirectoryEnumerator {
        std::optional<std::string> name = "b";
        std::optional<platform::FileAttributes> attributes = platform::FileAttributes();
        std::optional<std::string> nextObject() override {
            return std::exchange(name, std::nullopt);
        }
        long level() const override { return 3; }
        const std::optional<platform::FileAttributes>& directoryAttributes() const override {
            return attributes;
        }
    };
    std::string removed = "/a";

    bool fileExists(const std::string& path, bool* isDirectory) const override {
        if (path.ends_with(removed)) std::filesystem::remove_all(path);
        return FileManager::fileExists(path, isDirectory);
    }
    std::unique_ptr<platform::DirectoryEnumerator> enumerator(
        const std::string& path) const override {
        return removed == "/a" ? FileManager::enumerator(path) : std::make_unique<Walk>();
    }
};

TEST_F(Enumerating, KeepsVanishedEntriesAndCorrectsDepths) {
    folder.file("a/inside");
    folder.file("b");
    const auto manager = std::make_shared<MeddlingManager>();
    enumerator.fileManager = manager;
    enumerator.enumerate(folder.path());
    EXPECT_THAT(found(tree), ElementsAre("a", "b"));
    EXPECT_THAT(
        console.take(),
        ElementsAre(HasSubstr("“a” couldn’t be opened because there is no such file."), end));
    EXPECT_EQ(tree.filelist().at(0)->uid, platform::Number(-1));
    EXPECT_EQ(tree.root->children.size(), 2u);
    manager->removed = "/none";
    enumerator.enumerate(folder.path());
    EXPECT_EQ(tree.filelist().back()->_indent, 2);
    EXPECT_THAT(console.take(), ElementsAre("WARNUNG: Die Verschachtelungstiefe unterscheidet "
                                            "sich! ( indent: 0 / level: 2 )",
                                            end));
}

}  // namespace
