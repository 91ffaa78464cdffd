#include "platform/foundation/FileManager.h"

#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <fstream>
#include <string_view>

#include "platform/foundation/NSError.h"
#include "platform/foundation/URL.h"
#include "platform/foundation/fileStatus.h"
#include "platform/foundation/itemError.h"
#include "platform/foundation/path.h"

namespace platform {
namespace {

bool fail(NSError* error, ItemOperation operation, const std::string& path, int number) {
    if (error) *error = itemError(operation, path, number);
    return false;
}

/// Without slashes at its end, which would make the system follow a link.
std::string itemItself(std::string path) {
    while (path.size() > 1 && path.back() == '/') path.pop_back();
    return path;
}

bool isDirectoryAt(const std::string& path) {
    struct stat status {};
    return stat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

std::string homeFolder() {
    if (const char* home = std::getenv("HOME"); home && *home) return home;
    const passwd* user = getpwuid(getuid());
    return user ? user->pw_dir : "";
}

/// The folder that the user's desktop settings name, or empty:
/// XDG_DOCUMENTS_DIR="$HOME/Papers".
std::string configuredDocuments(const std::string& home) {
    const char* configuration = std::getenv("XDG_CONFIG_HOME");
    const bool given = configuration && *configuration == '/';
    std::ifstream file((given ? std::string(configuration) : home + "/.config") +
                       "/user-dirs.dirs");
    constexpr std::string_view opening = "XDG_DOCUMENTS_DIR=\"", variable = "$HOME";
    std::string found;
    for (std::string line; std::getline(file, line);) {
        const auto end = line.rfind('"');
        if (!line.starts_with(opening) || end < opening.size()) continue;
        auto value = line.substr(opening.size(), end - opening.size());
        if (value.starts_with(variable)) value.replace(0, variable.size(), home);
        if (value.starts_with('/')) found = itemItself(value);
    }
    return found;
}

}  // namespace

const std::shared_ptr<FileManager>& FileManager::defaultManager() {
    static const auto manager = std::make_shared<FileManager>();
    return manager;
}

bool FileManager::changeCurrentDirectoryPath(const std::string& path) {
    return chdir(path.c_str()) == 0;
}

std::string FileManager::currentDirectoryPath() const {
    char* allocated = getcwd(nullptr, 0);
    std::string path = allocated ? allocated : "";
    std::free(allocated);
    return path.starts_with('/') ? path : std::string();
}

std::unique_ptr<DirectoryEnumerator> FileManager::enumerator(const std::string& path) const {
    return DirectoryEnumerator::open(path);
}

bool FileManager::fileExists(const std::string& path, bool* isDirectory) const {
    struct stat status {};
    const bool exists = stat(path.c_str(), &status) == 0;
    if (isDirectory) *isDirectory = exists && S_ISDIR(status.st_mode);
    return exists;
}

bool FileManager::isReadableFile(const std::string& path) const {
    return access(path.c_str(), R_OK) == 0;
}

bool FileManager::isWritableFile(const std::string& path) const {
    return access(path.c_str(), W_OK) == 0;
}

bool FileManager::isExecutableFile(const std::string& path) const {
    return access(path.c_str(), X_OK) == 0;
}

bool FileManager::isDeletableFile(const std::string& path) const {
    const auto item = itemItself(path);
    const auto parentPath = path::deletingLastPathComponent(item);
    const char* parent = parentPath.empty() ? "." : parentPath.c_str();
    struct stat itemStatus {
    }, parentStatus{};
    if (lstat(item.c_str(), &itemStatus) || access(parent, W_OK | X_OK)) return false;
    if (stat(parent, &parentStatus)) return false;
    // In a sticky folder only the item's owner, the folder's and root may.
    const auto user = getuid();
    return !(parentStatus.st_mode & S_ISVTX) || user == 0 || user == itemStatus.st_uid ||
           user == parentStatus.st_uid;
}

std::optional<FileAttributes> FileManager::attributesOfItem(const std::string& path,
                                                            NSError* error) const {
    auto attributes = attributesOfPath(path);
    if (!attributes) fail(error, ItemOperation::read, path, errno);
    return attributes;
}

bool FileManager::createDirectory(const std::string& path, bool withIntermediateDirectories,
                                  NSError* error) {
    const auto folder = itemItself(path);
    if (mkdir(folder.c_str(), 0777) == 0) return true;
    int number = errno;
    if (withIntermediateDirectories && number == ENOENT && !folder.empty()) {
        const auto parent = path::deletingLastPathComponent(folder);
        if (parent != folder && !parent.empty()) {
            if (!createDirectory(parent, true, error)) return false;
            if (mkdir(folder.c_str(), 0777) == 0) return true;
            number = errno;
        }
    }
    if (withIntermediateDirectories && number == EEXIST && isDirectoryAt(folder)) return true;
    return fail(error, ItemOperation::create, folder, number);
}

bool FileManager::createDirectory(const URL& url, bool withIntermediateDirectories,
                                  NSError* error) {
    return createDirectory(url.path(), withIntermediateDirectories, error);
}

std::vector<URL> FileManager::urls(SearchPathDirectory, SearchPathDomain) const {
    const auto home = homeFolder();
    if (home.empty()) return {};
    const auto documents = configuredDocuments(home);
    return {URL::fileURLWithPath(documents.empty() ? home + "/Documents" : documents, true)};
}

}  // namespace platform
