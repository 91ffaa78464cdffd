#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/foundation/DirectoryEnumerator.h"
#include "platform/foundation/FileAttributes.h"

namespace platform {

class FileManagerDelegate;
class NSError;
class URL;

/// The file system, by path or file URL. Any bytes may make a name; a relative path starts at the
/// process's current directory. Errors are of NSCocoaErrorDomain and name the item.
/// Any thread may use a file manager; the delegate is called on that thread.
class FileManager {
 public:
    enum class SearchPathDirectory { documentDirectory };
    enum class SearchPathDomain { userDomain };

    FileManager() = default;
    virtual ~FileManager() = default;
    FileManager(const FileManager&) = delete;
    FileManager& operator=(const FileManager&) = delete;

    /// The shared one. It should have no delegate.
    static const std::shared_ptr<FileManager>& defaultManager();

    /// Not owned; must outlive its use or be reset with nullptr.
    FileManagerDelegate* delegate() const { return delegate_; }
    void setDelegate(FileManagerDelegate* delegate) { delegate_ = delegate; }

    /// Changes the current directory of the whole process. False on failure.
    virtual bool changeCurrentDirectoryPath(const std::string& path);
    /// Absolute, links resolved; empty if the directory has been removed.
    virtual std::string currentDirectoryPath() const;

    /// A walk through everything below a directory. Null if path is no directory or may not be
    /// read.
    virtual std::unique_ptr<DirectoryEnumerator> enumerator(const std::string& path) const;

    /// Follows links: a dangling one does not exist, one to a directory is a directory.
    /// isDirectory may be null; it is set to false when nothing exists.
    virtual bool fileExists(const std::string& path, bool* isDirectory = nullptr) const;
    /// Whether this process may read, write or execute (enter) the item. Links are followed. False
    /// where nothing exists.
    virtual bool isReadableFile(const std::string& path) const;
    virtual bool isWritableFile(const std::string& path) const;
    virtual bool isExecutableFile(const std::string& path) const;
    /// Whether this process may remove the item (a link itself) from its folder, whatever a folder
    /// contains. False where nothing exists.
    virtual bool isDeletableFile(const std::string& path) const;

    /// All keys of FileAttributes.h, of a link itself. The creation date is the file system's
    /// birth time, or on one that keeps none the earlier of modification and status change.
    virtual std::optional<FileAttributes> attributesOfItem(const std::string& path,
                                                           NSError* error = nullptr) const;

    /// Removes the item and, of a folder, everything below it; of a link, never what it points to.
    /// The delegate is called for every item, a folder before its contents; an item that it
    /// declines is kept, without an error. False on the first error after which it stops.
    virtual bool removeItem(const std::string& path, NSError* error = nullptr);
    virtual bool removeItem(const URL& url, NSError* error = nullptr);

    /// Makes the folder. With withIntermediateDirectories also those above it, and a folder that
    /// exists already is then not an error. Permissions are 0777 less the umask.
    bool createDirectory(const std::string& path, bool withIntermediateDirectories,
                         NSError* error = nullptr);
    bool createDirectory(const URL& url, bool withIntermediateDirectories,
                         NSError* error = nullptr);

    /// The user's document folder by the desktop's settings (user-dirs.dirs), else Documents in the
    /// home folder. It need not exist. Empty only for a user without a home folder.
    std::vector<URL> urls(SearchPathDirectory directory, SearchPathDomain domain) const;

 private:
    FileManagerDelegate* delegate_ = nullptr;
};

}  // namespace platform
