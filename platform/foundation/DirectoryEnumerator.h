#pragma once

#include <memory>
#include <optional>
#include <string>

#include "platform/foundation/FileAttributes.h"

namespace platform {

/// Walks everything below a directory: a folder before what it holds, the names of one folder in
/// byte order. Symbolic links are named and not followed, so no link makes a loop. A folder is
/// opened only when the walk reaches its contents; one that has vanished by then or may not be read
/// counts as empty. Holds one descriptor, and the names still to come of the folders on the way.
class DirectoryEnumerator {
 public:
    virtual ~DirectoryEnumerator() = default;

    /// The next path, relative to the directory; nothing at the end.
    virtual std::optional<std::string> nextObject() = 0;
    /// How deep the last path lies: 1 directly in the directory.
    virtual long level() const = 0;
    /// Of the directory itself; absent if they could not be read.
    virtual const std::optional<FileAttributes>& directoryAttributes() const = 0;

    /// A walk through the directory at a path. Null if path cannot be opened as a directory (a link
    /// to one can); errno says why.
    static std::unique_ptr<DirectoryEnumerator> open(const std::string& path);
};

}  // namespace platform
