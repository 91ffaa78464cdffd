#include "platform/foundation/FileManager.h"

#include <sys/stat.h>

#include <cstdio>
#include <cstdlib>
#include <memory>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/foundation/FileManagerDelegate.h"
#include "platform/foundation/NSError.h"
#include "platform/foundation/URL.h"
#include "tests/support/TemporaryFolder.h"

namespace {

using namespace platform;
using testing::ElementsAre;
using Walk = std::vector<std::pair<std::string, long>>;

Walk walk(DirectoryEnumerator& enumerator) {
    Walk paths;
    while (const auto path = enumerator.nextObject()) paths.emplace_back(*path, enumerator.level());
    return paths;
}

class FileManagerTest : public testing::Test {
 protected:
    TemporaryFolder folder;
    FileManager manager;
    NSError error;
};

TEST_F(FileManagerTest, WalksOnWhereFoldersVanishTurnIntoLinksOrMayNotBeRead) {
    for (const auto* name : {"gone", "secret", "swapped", "tail"})
        folder.file(std::string(name) + "/inside");
    chmod((folder / "secret").c_str(), 0);
    const auto enumerator = manager.enumerator(folder.path());
    const auto step = [&] {
        const WithoutPrivileges nobody;
        return enumerator->nextObject();
    };
    Walk paths;
    while (const auto path = step()) {
        paths.emplace_back(*path, enumerator->level());
        if (*path != "gone" && *path != "swapped") continue;
        std::filesystem::remove_all(folder / *path);
        if (*path == "swapped") folder.link("tail", "swapped");
    }
    EXPECT_EQ(paths,
              (Walk{{"gone", 1}, {"secret", 1}, {"swapped", 1}, {"tail", 1}, {"tail/inside", 2}}));
    EXPECT_EQ(enumerator->nextObject(), std::nullopt);
    EXPECT_NE(manager.enumerator(folder / "swapped"), nullptr);
    EXPECT_EQ(manager.enumerator(folder / "swapped/inside"), nullptr);
    EXPECT_EQ(manager.enumerator(folder / "gone"), nullptr);
}

TEST_F(FileManagerTest, TestsFollowLinksAndKnowTheRightsOfTheProcess) {
    folder.folder("open");
    folder.file("open/file");
    folder.folder("sticky/sub");
    folder.file("script");
    folder.link("open", "link");
    folder.link("nowhere", "dangling");
    chmod((folder / "open").c_str(), 0777);
    chmod((folder / "sticky").c_str(), 01777);
    chmod((folder / "script").c_str(), 0755);
    const bool root = getuid() == 0;
    const WithoutPrivileges nobody;
    struct Case {
        const char* name;
        bool exists, isDirectory, readable, writable, executable, deletable;
    };
    // As another user; whoever owns the folder, when not root runs this, may delete anything in it.
    for (const auto& expected : {Case{"open", true, true, true, true, true, !root},
                                 Case{"open/file", true, false, true, !root, false, true},
                                 Case{"sticky/sub", true, true, true, !root, true, !root},
                                 Case{"script", true, false, true, !root, true, !root},
                                 Case{"link", true, true, true, true, true, !root},
                                 Case{"link/file", true, false, true, !root, false, true},
                                 Case{"dangling", false, false, false, false, false, !root},
                                 Case{"none", false, false, false, false, false, false}}) {
        const auto path = folder / expected.name;
        bool isDirectory = !expected.isDirectory;
        EXPECT_EQ(manager.fileExists(path, &isDirectory), expected.exists) << path;
        EXPECT_EQ(isDirectory, expected.isDirectory) << path;
        EXPECT_EQ(manager.isReadableFile(path), expected.readable) << path;
        EXPECT_EQ(manager.isWritableFile(path), expected.writable) << path;
        EXPECT_EQ(manager.isExecutableFile(path), expected.executable) << path;
        EXPECT_EQ(manager.isDeletableFile(path), expected.deletable) << path;
    }
}

/// What another program says of the item: the text that `stat` prints.
std::string statOf(const std::string& path, const std::string& format) {
    std::unique_ptr<FILE, int (*)(FILE*)> pipe(
        popen(("stat -c '" + format + "' '" + path + "'").c_str(), "r"), pclose);
    char text[200] = "";
    return fgets(text, sizeof text, pipe.get()) ? text : "";
}

TEST_F(FileManagerTest, AttributesAreThoseThatStatPrints) {
    folder.file("file", "12345");
    folder.link("file", "link");
    mkfifo((folder / "pipe").c_str(), 0640);
    const std::pair<const char*, FileAttributeType> items[] = {{"", NSFileTypeDirectory},
                                                               {"file", NSFileTypeRegular},
                                                               {"link", NSFileTypeSymbolicLink},
                                                               {"pipe", NSFileTypeUnknown}};
    for (const auto& [name, type] : items) {
        const auto path = folder / name;
        const auto attributes = manager.attributesOfItem(path, &error);
        ASSERT_TRUE(attributes) << path;
        EXPECT_EQ(std::get<FileAttributeType>(*attributes->find(NSFileType)), type) << path;
        const auto number = [&](FileAttributeKey key) {
            return std::get<Number>(*attributes->find(key)).unsignedInt64Value();
        };
        const auto seconds = [&](FileAttributeKey key) {
            return std::get<Date>(*attributes->find(key)).timeIntervalSince1970();
        };
        char text[200];
        std::snprintf(
            text, sizeof text, "%lu %lu %lo %lu %lu %lu %.3f %.3f\n",
            number(NSFileSystemFileNumber), number(NSFileSize), number(NSFilePosixPermissions),
            number(NSFileReferenceCount), number(NSFileOwnerAccountID), number(NSFileSystemNumber),
            seconds(NSFileModificationDate) - 0.0005, seconds(NSFileCreationDate) - 0.0005);
        // %W of a file system without birth times reads 0.
        EXPECT_EQ(text, statOf(path, "%i %s %a %h %u %d %.3Y %.3W")) << path;
    }
}

TEST_F(FileManagerTest, ErrorsSayWhatIsTheMatterWithWhichItem) {
    EXPECT_FALSE(manager.attributesOfItem(folder / "none", &error));
    EXPECT_EQ(error, NSError(NSCocoaErrorDomain, NSFileReadNoSuchFileError,
                             "The file “none” couldn’t be opened because there is no such file."));
    EXPECT_FALSE(manager.removeItem(folder / "none", &error));
    EXPECT_EQ(error,
              NSError(NSCocoaErrorDomain, NSFileNoSuchFileError, "“none” couldn’t be removed."));
    EXPECT_FALSE(manager.createDirectory(folder / "a/b", false, &error));
    EXPECT_EQ(error,
              NSError(NSCocoaErrorDomain, NSFileNoSuchFileError, "The folder “b” doesn’t exist."));
    folder.file("safe/file");
    chmod((folder / "safe").c_str(), 0500);
    const WithoutPrivileges nobody;
    EXPECT_FALSE(manager.removeItem(folder / "safe/file", &error));
    EXPECT_EQ(error.code(), NSFileWriteNoPermissionError);
    EXPECT_FALSE(manager.createDirectory(URL::fileURLWithPath(folder / "safe/new"), true, &error));
    EXPECT_EQ(error.localizedDescription(),
              "You don’t have permission to save the file “new” in the folder “safe”.");
}

TEST_F(FileManagerTest, CreatesFoldersWithThoseAboveThem) {
    EXPECT_TRUE(manager.createDirectory(folder / "a/b/c/", true, &error));
    EXPECT_TRUE(manager.createDirectory(folder / "a/b", true, &error));
    bool isDirectory = false;
    EXPECT_TRUE(manager.fileExists(folder / "a/b/c", &isDirectory) && isDirectory);
    EXPECT_FALSE(manager.createDirectory(folder / "a", false, &error));
    EXPECT_EQ(error.code(), NSFileWriteFileExistsError);
    folder.file("f");
    EXPECT_FALSE(manager.createDirectory(folder / "f", true, &error));
    EXPECT_FALSE(manager.createDirectory(folder / "f/g", true, &error));
    EXPECT_EQ(error.code(), NSFileWriteUnknownError);
}

/// Declines paths with one ending, proceeds after errors on demand, and records both.
class Guard : public FileManagerDelegate {
 public:
    using FileManagerDelegate::shouldProceedAfterErrorRemovingItem;
    using FileManagerDelegate::shouldRemoveItem;
    bool shouldRemoveItem(FileManager&, const std::string& path) override {
        asked.push_back(path);
        return !path.ends_with(declined);
    }
    bool shouldRemoveItem(FileManager& manager, const URL& url) override {
        return shouldRemoveItem(manager, "url:" + url.path());
    }
    bool shouldProceedAfterErrorRemovingItem(FileManager&, const NSError& error,
                                             const std::string&) override {
        errors.push_back(error.code());
        return proceeds;
    }

    std::string declined = "/none";
    bool proceeds = false;
    std::vector<std::string> asked;
    std::vector<long> errors;
};

TEST_F(FileManagerTest, RemovalAsksTheDelegateAboutEveryItem) {
    Guard guard;
    manager.setDelegate(&guard);
    folder.file("a/keep");
    guard.declined = "/keep";
    EXPECT_TRUE(manager.removeItem(folder / "a", &error));
    EXPECT_THAT(guard.asked, ElementsAre(folder / "a", folder / "a/keep"));
    EXPECT_TRUE(manager.fileExists(folder / "a/keep"));
    EXPECT_TRUE(manager.removeItem(URL::fileURLWithPath(folder / "a/keep"), &error));
    EXPECT_EQ(guard.asked.back(), "url:" + (folder / "a/keep"));
    EXPECT_THAT(guard.errors, ElementsAre());

    EXPECT_FALSE(manager.removeItem(folder / "gone", &error));
    guard.proceeds = true;
    EXPECT_TRUE(manager.removeItem(folder / "gone", &error));
    EXPECT_THAT(guard.errors, ElementsAre(NSFileNoSuchFileError, NSFileNoSuchFileError));

    // A link is removed, and not what it points to.
    folder.file("kept/file");
    folder.file("doomed/deep/file");
    folder.link("../kept", "doomed/link");
    folder.link("kept", "alias");
    EXPECT_TRUE(manager.removeItem(folder / "alias/", &error));
    EXPECT_TRUE(manager.removeItem(folder / "doomed", &error));
    EXPECT_EQ(walk(*manager.enumerator(folder.path())),
              (Walk{{"a", 1}, {"a/keep", 2}, {"kept", 1}, {"kept/file", 2}}));
}

TEST_F(FileManagerTest, DocumentsLieWhereTheDesktopSaysOrInTheHomeFolder) {
    using enum FileManager::SearchPathDirectory;
    using enum FileManager::SearchPathDomain;
    const std::string home = std::getenv("HOME") ? std::getenv("HOME") : "";
    setenv("HOME", folder.path().c_str(), 1);
    unsetenv("XDG_CONFIG_HOME");
    EXPECT_EQ(manager.urls(documentDirectory, userDomain).at(0).path(), folder / "Documents");
    folder.file(".config/user-dirs.dirs",
                "# comment\nXDG_MUSIC_DIR=\"$HOME/M\"\nXDG_DOCUMENTS_DIR=\"$HOME/Papers\"\n");
    EXPECT_EQ(manager.urls(documentDirectory, userDomain).at(0).path(), folder / "Papers");
    setenv("HOME", home.c_str(), 1);
}

TEST_F(FileManagerTest, TheCurrentDirectoryIsTheProcesss) {
    folder.folder("real");
    folder.link("real", "link");
    ASSERT_TRUE(manager.changeCurrentDirectoryPath(folder / "link"));
    EXPECT_EQ(manager.currentDirectoryPath(), std::filesystem::canonical(folder / "real"));
    EXPECT_EQ(std::filesystem::current_path(), std::filesystem::canonical(folder / "real"));
    EXPECT_FALSE(manager.changeCurrentDirectoryPath(folder / "none"));
    std::filesystem::remove(folder / "real");
    EXPECT_EQ(manager.currentDirectoryPath(), "");
}

}  // namespace
