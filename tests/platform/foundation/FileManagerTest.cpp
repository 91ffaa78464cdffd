#include "platform/foundation/FileManager.h"

#include <sys/stat.h>

#include <cstdlib>
#include <tuple>

#include <gmock/gmock.h>

#include "platform/foundation/Bundle.h"
#include "platform/foundation/FileManagerDelegate.h"
#include "platform/foundation/NSError.h"
#include "platform/foundation/URL.h"
#include "tests/support/TemporaryFolder.h"

namespace {

using namespace platform;

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
    std::string paths;
    while (const auto path = step()) {
        paths += " " + std::to_string(enumerator->level()) + *path;
        if (*path != "gone" && *path != "swapped") continue;
        std::filesystem::remove_all(folder / *path);
        if (*path == "swapped") folder.link("tail", "swapped");
    }
    EXPECT_EQ(paths, " 1gone 1secret 1swapped 1tail 2tail/a");
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
    for (const auto& [name, type] : {std::pair{"", NSFileTypeDirectory},
                                     {"file", NSFileTypeRegular},
                                     {"link", NSFileTypeSymbolicLink},
                                     {"pipe", NSFileTypeUnknown}}) {
        struct stat expected {};
        ASSERT_EQ(lstat((folder / name).c_str(), &expected), 0);
        const auto found = manager.attributesOfItem(folder / name, &error).value();
        const FileAttributes wanted{{NSFileType, type},
                                    {NSFileSystemFileNumber, Number(expected.st_ino)},
                                    {NSFileSize, Number(expected.st_size)},
                                    {NSFilePosixPermissions, Number(expected.st_mode & 07777)},
                                    {NSFileReferenceCount, Number(expected.st_nlink)},
                                    {NSFileOwnerAccountID, Number(expected.st_uid)},
                                    {NSFileSystemNumber, Number(expected.st_dev)}};
        for (const auto& [key, value] : wanted)
            EXPECT_EQ(*found.find(key), value) << name << key.rawValue();
        const auto modified = std::get<Date>(*found.find(NSFileModificationDate));
        const auto& [seconds, rest] = expected.st_mtim;
        EXPECT_NEAR(modified.timeIntervalSince1970(),
                    static_cast<double>(seconds) + static_cast<double>(rest) * 1e-9, 1e-5);
    }
}

TEST_F(FileManagerTest, CreatesFoldersAndErrorsNameReasonAndItem) {
    EXPECT_TRUE(manager.createDirectory(folder / "a/b/c/", true, &error));
    EXPECT_TRUE(manager.createDirectory(folder / "a/b", true, &error));
    EXPECT_TRUE(std::filesystem::is_directory(folder / "a/b/c"));
    folder.file("f");
    folder.file("safe/file");
    chmod((folder / "safe").c_str(), 0500);
    const WithoutPrivileges nobody;
    // Made, made with those above, or removed: which item.
    for (const auto& [what, code, text] :
         {std::tuple{std::string("m a"), NSFileWriteFileExistsError,
                     "a file with the same name already exists"},
          {"p f", NSFileWriteFileExistsError, "The file “f” couldn’t"},
          {"p f/g", NSFileWriteUnknownError, "“g” couldn’t be saved in the folder “f”."},
          {"m no/b", NSFileNoSuchFileError, "The folder “b” doesn’t exist."},
          {"p safe/new", NSFileWriteNoPermissionError, "save the file “new” in the folder “safe”."},
          {"r none", NSFileNoSuchFileError, "“none” couldn’t be removed."},
          {"r safe/file", NSFileWriteNoPermissionError, "permission to access"}}) {
        const auto path = folder / what.substr(2);
        EXPECT_FALSE(what[0] == 'r' ? manager.removeItem(path, &error)
                                    : manager.createDirectory(path, what[0] == 'p', &error));
        EXPECT_EQ(error.code(), code) << what;
        EXPECT_THAT(error.localizedDescription(), testing::HasSubstr(text));
    }
}

/// Declines paths named "keep", proceeds after errors on demand, and records both.
class Guard : public FileManagerDelegate {
 public:
    bool shouldRemoveItem(FileManager&, const std::string& path) override {
        asked += " " + path;
        return !path.ends_with("/keep");
    }
    bool shouldRemoveItem(FileManager& manager, const URL& url) override {
        return shouldRemoveItem(manager, "url:" + url.path());
    }
    using FileManagerDelegate::shouldProceedAfterErrorRemovingItem;
    bool shouldProceedAfterErrorRemovingItem(FileManager&, const NSError& error,
                                             const std::string&) override {
        EXPECT_EQ(error.code(), NSFileNoSuchFileError);
        return ++errors == 2;
    }

    std::string asked;
    int errors = 0;
};

TEST_F(FileManagerTest, RemovalAsksTheDelegateAboutEveryItem) {
    Guard guard;
    manager.setDelegate(&guard);
    folder.file("a/keep");
    EXPECT_TRUE(manager.removeItem(folder / "a", &error));
    EXPECT_TRUE(manager.removeItem(URL::fileURLWithPath(folder / "a/keep"), &error));
    const auto a = folder / "a";
    EXPECT_EQ(guard.asked, " " + a + " " + a + "/keep url:" + a + "/keep");
    EXPECT_TRUE(manager.fileExists(folder / "a/keep"));
    for (const bool proceeds : {false, true})
        EXPECT_EQ(manager.removeItem(folder / "gone", &error), proceeds);
}

TEST_F(FileManagerTest, DocumentsAreWhereTheDesktopKeepsThemOrInTheHomeFolder) {
    using enum FileManager::SearchPathDirectory;
    using enum FileManager::SearchPathDomain;
    setenv("HOME", folder.path().c_str(), 1);
    unsetenv("XDG_CONFIG_HOME");
    EXPECT_EQ(manager.urls(documentDirectory, userDomain).at(0).path(), folder / "Documents");
    folder.file(".config/user-dirs.dirs",
                "# comment\nXDG_MUSIC_DIR=\"$HOME/M\"\nXDG_DOCUMENTS_DIR=\"$HOME/Papers\"\n");
    EXPECT_EQ(manager.urls(documentDirectory, userDomain).at(0).path(), folder / "Papers");
}

TEST_F(FileManagerTest, ResourcesAreBesideTheModuleThenInShareThenTheModulesFolder) {
    const Bundle bundle(folder / "bin/tool.so");
    EXPECT_FALSE(bundle.resourceURL());
    for (const auto* place : {"bin", "share/tool", "bin/Resources"}) {
        folder.folder(place);
        EXPECT_EQ(bundle.resourceURL()->path(), folder / place);
    }
    EXPECT_EQ(Bundle::main().resourceURL()->path(),
              std::filesystem::read_symlink("/proc/self/exe").parent_path());
}

}  // namespace
