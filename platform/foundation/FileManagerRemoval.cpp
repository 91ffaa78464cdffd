// How a file manager removes an item with everything below it.

#include <dirent.h>
#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <vector>

#include "platform/foundation/FileManager.h"
#include "platform/foundation/FileManagerDelegate.h"
#include "platform/foundation/NSError.h"
#include "platform/foundation/URL.h"
#include "platform/foundation/itemError.h"

namespace platform {
namespace {

/// A directory descriptor, closed at the end of its scope.
class Directory {
 public:
    /// Never through a link: what is a link by now is not opened.
    Directory(int parent, const std::string& name)
        : descriptor_(
              openat(parent, name.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC)) {}
    ~Directory() {
        if (descriptor_ >= 0) close(descriptor_);
    }
    Directory(const Directory&) = delete;
    Directory& operator=(const Directory&) = delete;

    int descriptor() const { return descriptor_; }

    /// errno is set when they cannot be read, and 0 otherwise.
    std::vector<std::string> names() const {
        std::vector<std::string> names;
        const int copy = fcntl(descriptor_, F_DUPFD_CLOEXEC, 0);
        DIR* stream = copy < 0 ? nullptr : fdopendir(copy);
        if (!stream) {
            const int number = errno;
            if (copy >= 0) close(copy);
            errno = number;
            return names;
        }
        errno = 0;
        while (const dirent* entry = readdir(stream)) {
            const std::string name = entry->d_name;
            if (name != "." && name != "..") names.push_back(name);
        }
        const int number = errno;
        closedir(stream);
        errno = number;
        return names;
    }

 private:
    int descriptor_;
};

class Removal {
 public:
    Removal(FileManager& manager, bool byURL, NSError* error)
        : manager_(manager), byURL_(byURL), error_(error) {}

    enum class Outcome { removed, kept, failed };

    /// kept: the delegate declined it or something in it, or wants to go on after
    /// an error.
    Outcome remove(int parent, const std::string& name, const std::string& path) {
        if (!shouldRemove(path)) return Outcome::kept;
        if (unlinkat(parent, name.c_str(), 0) == 0) return Outcome::removed;
        // A folder is refused with EISDIR here; other systems' file systems say
        // EPERM.
        if (errno != EISDIR && errno != EPERM) return failed(path, errno);
        const int refusal = errno;
        const Directory directory(parent, name);
        if (directory.descriptor() < 0)
            return failed(path, errno == ENOTDIR || errno == ELOOP ? refusal : errno);
        const auto names = directory.names();
        if (errno) return failed(path, errno);
        bool kept = false;
        for (const auto& child : names) {
            auto childPath = path;
            childPath.append("/").append(child);
            const auto outcome = remove(directory.descriptor(), child, childPath);
            if (outcome == Outcome::failed) return outcome;
            kept = kept || outcome == Outcome::kept;
        }
        if (kept) return Outcome::kept;
        if (unlinkat(parent, name.c_str(), AT_REMOVEDIR) == 0) return Outcome::removed;
        return failed(path, errno);
    }

    Outcome failed(const std::string& path, int number) {
        const auto error = itemError(ItemOperation::remove, path, number);
        if (proceeds(error, path)) return Outcome::kept;
        if (error_) *error_ = error;
        return Outcome::failed;
    }

 private:
    bool shouldRemove(const std::string& path) {
        auto* delegate = manager_.delegate();
        if (!delegate) return true;
        return byURL_ ? delegate->shouldRemoveItem(manager_, URL::fileURLWithPath(path))
                      : delegate->shouldRemoveItem(manager_, path);
    }

    bool proceeds(const NSError& error, const std::string& path) {
        auto* delegate = manager_.delegate();
        if (!delegate) return false;
        return byURL_ ? delegate->shouldProceedAfterErrorRemovingItem(manager_, error,
                                                                      URL::fileURLWithPath(path))
                      : delegate->shouldProceedAfterErrorRemovingItem(manager_, error, path);
    }

    FileManager& manager_;
    bool byURL_;
    NSError* error_;
};

bool removeItemAt(FileManager& manager, std::string path, bool byURL, NSError* error) {
    // A slash at the end would make the system follow a link.
    while (path.size() > 1 && path.back() == '/') path.pop_back();
    Removal removal(manager, byURL, error);
    if (path.empty()) return removal.failed(path, ENOENT) != Removal::Outcome::failed;
    return removal.remove(AT_FDCWD, path, path) != Removal::Outcome::failed;
}

}  // namespace

bool FileManager::removeItem(const std::string& path, NSError* error) {
    return removeItemAt(*this, path, false, error);
}

bool FileManager::removeItem(const URL& url, NSError* error) {
    return removeItemAt(*this, url.path(), true, error);
}

}  // namespace platform
