#include "platform/foundation/FileManager.h"

#include <sys/stat.h>

#include <cstdio>
#include <cstdlib>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/foundation/FileManagerDelegate.h"
#include "platform/foundation/NSError.h"
#include "platform/foundation/URL.h"
#include "tests/support/TemporaryFolder.h"

namespace {

using namespace platform;
using testing::ElementsAre;
using testing::Pair;

class FileManagerTest : public testing::Test {
 protected:
    TemporaryFolder folder;
    FileManager manager;
    NSError error;
};

TEST_F(FileManagerTest, WalksOnWhereFoldersVanishTurnIntoLinksOrMayNotBeRead) {
    for (const auto* name : {"gone/a", "secret/a", "swapped/a", "tail/a"}) folder.file(name);
    chmod((folder / "secret").c_str(), 0);
    const auto enumerator = manager.enumerator(folder.path());
    const auto step = [&] {
        const WithoutPrivileges nobody;
        return enumerator->nextObject();
    };
    std::vector<std::pair<std::string, long>> paths;
    while (const auto path = step()) {
        paths.emplace_back(*path, enumerator->level());
        if (*path != "gone" && *path != "swapped") continue;
        std::filesystem::remove_all(folder / *path);
        if (*path == "swapped") folder.link("tail", "swapped");
    }
    EXPECT_THAT(paths, ElementsAre(Pair("gone", 1), Pair("secret", 1), Pair("swapped", 1),
                                   Pair("tail", 1), Pair("tail/a", 2)));
    EXPECT_EQ(enumerator->nextObject(), std::nullopt);
    EXPECT_NE(manager.enumerator(folder / "swapped"), nullptr);
    EXPECT_EQ(manager.enumerator(folder / "swapped/a"), nullptr);
    EXPECT_EQ(manager.enumerator(folder / "gone"), nullptr);
}

TEST_F(FileManagerTest, TestsFollowLinksAndKnowTheRightsOfTheProcess) {
    for (const auto* name : {"open/file", "sticky/sub/file", "script"}) folder.file(name);
    folder.link("open", "link");
    folder.link("nowhere", "dangling");
    chmod((folder / "open").c_str(), 0777);
    chmod((folder / "sticky").c_str(), 01777);
    chmod((folder / "script").c_str(), 0755);
    // As another user; where root does not run this, the folder's owner may delete anything in it.
    const std::string owner = getuid() == 0 ? "" : "D";
    const std::string writer = getuid() == 0 ? "" : "w";
    const WithoutPrivileges nobody;
    const auto rights = [&](const std::string& path) {
        bool isDirectory = true;
        std::string text = manager.fileExists(path, &isDirectory) ? "e" : "";
        return text + (isDirectory ? "d" : "") + (manager.isReadableFile(path) ? "r" : "") +
               (manager.isWritableFile(path) ? "w" : "") +
               (manager.isExecutableFile(path) ? "x" : "") +
               (manager.isDeletableFile(path) ? "D" : "");
    };
    using Case = std::pair<std::string, std::string>;
    for (const auto& [name, expected] :
         {Case{"open", "edrwx" + owner}, Case{"open/file", "er" + writer + "D"},
          Case{"sticky/sub", "edr" + writer + "x" + owner},
          Case{"script", "er" + writer + "x" + owner}, Case{"link", "edrwx" + owner},
          Case{"link/file", "er" + writer + "D"}, Case{"dangling", owner}, Case{"none", ""}})
        EXPECT_EQ(rights(folder / name), expected) << name;
}

TEST_F(FileManagerTest, AttributesAreThoseOfTheItemItself) {
    folder.file("file", "12345");
    folder.link("file", "link");
    mkfifo((folder / "pipe").c_str(), 0640);
    using Case = std::pair<const char*, FileAttributeType>;
    for (const auto& [name, type] :
         {Case{"", NSFileTypeDirectory}, Case{"file", NSFileTypeRegular},
          Case{"link", NSFileTypeSymbolicLink}, Case{"pipe", NSFileTypeUnknown}}) {
        struct stat expected {};
        ASSERT_EQ(lstat((folder / name).c_str(), &expected), 0);
        const auto found = manager.attributesOfItem(folder / name, &error).value();
        EXPECT_EQ(std::get<FileAttributeType>(*found.find(NSFileType)), type) << name;
        using Value = std::pair<FileAttributeKey, std::uint64_t>;
        const auto size = static_cast<std::uint64_t>(expected.st_size);
        for (const auto& [key, value] :
             {Value{NSFileSystemFileNumber, expected.st_ino}, Value{NSFileSize, size},
              Value{NSFilePosixPermissions, expected.st_mode & 07777},
              Value{NSFileReferenceCount, expected.st_nlink},
              Value{NSFileOwnerAccountID, expected.st_uid},
              Value{NSFileSystemNumber, expected.st_dev}})
            EXPECT_EQ(std::get<Number>(*found.find(key)).unsignedInt64Value(), value) << name;
        const double modified = static_cast<double>(expected.st_mtim.tv_sec) +
                                static_cast<double>(expected.st_mtim.tv_nsec) * 1e-9;
        EXPECT_NEAR(std::get<Date>(*found.find(NSFileModificationDate)).timeIntervalSince1970(),
                    modified, 1e-5);
    }
}

TEST_F(FileManagerTest, CreatesFoldersAndErrorsNameReasonAndItem) {
    EXPECT_TRUE(manager.createDirectory(folder / "a/b/c/", true, &error));
    EXPECT_TRUE(manager.createDirectory(folder / "a/b", true, &error));
    EXPECT_TRUE(std::filesystem::is_directory(folder / "a/b/c"));
    EXPECT_FALSE(manager.createDirectory(folder / "a", false, &error));
    EXPECT_EQ(error.code(), NSFileWriteFileExistsError);
    folder.file("f");
    EXPECT_FALSE(manager.createDirectory(folder / "f", true, &error));
    EXPECT_FALSE(manager.createDirectory(folder / "f/g", true, &error));
    EXPECT_EQ(error.code(), NSFileWriteUnknownError);
    EXPECT_FALSE(manager.removeItem(folder / "none", &error));
    EXPECT_EQ(error.localizedDescription(), "“none” couldn’t be removed.");
    EXPECT_FALSE(manager.createDirectory(folder / "no/b", false, &error));
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

/// Declines paths named "keep", proceeds after errors on demand, and records both.
class Guard : public FileManagerDelegate {
 public:
    bool shouldRemoveItem(FileManager&, const std::string& path) override {
        asked.push_back(path);
        return !path.ends_with("/keep");
    }
    bool shouldRemoveItem(FileManager& manager, const URL& url) override {
        return shouldRemoveItem(manager, "url:" + url.path());
    }
    using FileManagerDelegate::shouldProceedAfterErrorRemovingItem;
    bool shouldProceedAfterErrorRemovingItem(FileManager&, const NSError& error,
                                             const std::string&) override {
        errors.push_back(error.code());
        return errors.size() == 2;
    }

    std::vector<std::string> asked;
    std::vector<long> errors;
};

TEST_F(FileManagerTest, RemovalAsksTheDelegateAboutEveryItem) {
    Guard guard;
    manager.setDelegate(&guard);
    folder.file("a/keep");
    EXPECT_TRUE(manager.removeItem(folder / "a", &error));
    EXPECT_TRUE(manager.removeItem(URL::fileURLWithPath(folder / "a/keep"), &error));
    EXPECT_THAT(guard.asked,
                ElementsAre(folder / "a", folder / "a/keep", "url:" + (folder / "a/keep")));
    EXPECT_TRUE(manager.fileExists(folder / "a/keep"));
    for (const bool proceeds : {false, true})
        EXPECT_EQ(manager.removeItem(folder / "gone", &error), proceeds);
    EXPECT_THAT(guard.errors, ElementsAre(NSFileNoSuchFileError, NSFileNoSuchFileError));
}

TEST_F(FileManagerTest, DocumentsAreWhereTheDesktopKeepsThemOrInTheHomeFolder) {
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

}  // namespace
