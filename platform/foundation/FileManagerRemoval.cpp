// How a file manager removes an item with everything below it.

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>

#include "platform/foundation/FileManager.h"
#include "platform/foundation/FileManagerDelegate.h"
#include "platform/foundation/NSError.h"
#include "platform/foundation/URL.h"
#include "platform/foundation/fileStatus.h"
#include "platform/foundation/itemError.h"

namespace platform {
namespace {

/// Closed at the end of its scope.
struct Descriptor {
    ~Descriptor() {
        if (number >= 0) close(number);
    }
    int number;
};

class Removal {
 public:
    Removal(FileManager& manager, bool byURL, NSError* error)
        : manager_(manager), byURL_(byURL), error_(error) {}

    enum class Outcome { removed, kept, failed };

    /// kept: the delegate declined it or something in it, or proceeds after an error.
    Outcome remove(int parent, const std::string& name, const std::string& path) {
        if (!shouldRemove(path)) return Outcome::kept;
        if (unlinkat(parent, name.c_str(), 0) == 0) return Outcome::removed;
        // A folder is refused with EISDIR here; other systems' file systems say EPERM.
        if (errno != EISDIR && errno != EPERM) return failed(path, errno);
        const int refusal = errno;
        // Never through a link, also not through one that has replaced the folder meanwhile.
        constexpr int flags = O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;
        const Descriptor folder{openat(parent, name.c_str(), flags)};
        if (folder.number < 0)
            return failed(path, errno == ENOTDIR || errno == ELOOP ? refusal : errno);
        const int copy = fcntl(folder.number, F_DUPFD_CLOEXEC, 0);
        if (copy < 0) return failed(path, errno);
        const auto entries = readFolder(copy);
        if (errno) return failed(path, errno);
        bool kept = false;
        for (const auto& child : entries) {
            const auto outcome = remove(folder.number, child.name, path + "/" + child.name);
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
