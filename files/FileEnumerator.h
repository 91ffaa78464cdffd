#pragma once

#include <memory>
#include <string>

#include "files/FileTree.h"
#include "platform/foundation/FileManagerDelegate.h"

namespace platform {
class FileManager;
}

namespace qov {

/// Fills a tree from a directory. As the delegate of its file manager it allows every copy, move,
/// link and removal, and never proceeds after an error.
///
/// Enumerating DELETES: an item with "__MACOSX" or ".DS_Store" anywhere in its path below the
/// directory is litter from unpacked archives and is removed with its contents through
/// defaultFileManager. A caller that must not delete installs a file manager whose delegate
/// declines; litter then stays on disk but out of the tree, and the delegate is asked about each
/// entry in it, too.
class FileEnumerator : public platform::FileManagerDelegate {
 public:
    FileEnumerator();
    ~FileEnumerator() override;
    FileEnumerator(const FileEnumerator&) = delete;
    FileEnumerator& operator=(const FileEnumerator&) = delete;

    std::shared_ptr<platform::FileManager> defaultFileManager;
    std::shared_ptr<platform::FileManager> fileManager;  ///< the one that walks
    std::shared_ptr<FileTree> fileTree;

    /// Makes path (absolute: it must mean the same afterwards) the process's current directory and
    /// fills the tree with all that is below it. If path cannot be entered, one line is printed and
    /// the tree stays as it was; one that can be entered and then not be read is a fatal error.
    /// Entries that cannot be read, or vanish meanwhile, stay in the tree without attributes.
    /// The tree's list is not cleared before.
    void enumerate(const std::string& path);

 private:
    void createRoot(const std::string& path);
    void removeLitter(const std::string& path, const std::string& relative);
    void add(const std::string& relative, std::int64_t level);
    /// Reads the flags and the attributes from the file system at filePath; the caller sets
    /// isDirectory and exists. False if the attributes cannot be read, which is printed.
    bool describe(File& entry, const std::string& filePath);
};

}  // namespace qov
