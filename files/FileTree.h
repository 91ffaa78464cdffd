#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>

#include "files/File.h"

namespace qov {

class Folder;

/// The identifiers by which a file provider asks for the top of a tree.
inline constexpr std::string_view rootContainerItemIdentifier =
    "NSFileProviderRootContainerItemIdentifier";
inline constexpr std::string_view workingSetContainerItemIdentifier =
    "NSFileProviderWorkingSetContainerItemIdentifier";

/// The tree of one base directory, and a flat list of entries: while the tree is filled all that
/// were found, later the page that is visible. Any other identifier than those above is the decimal
/// file system number of an entry.
///
/// Owns its entries: parents are weak, so releasing the tree frees every entry without another
/// owner. Not synchronised: one thread at a time.
class FileTree {
 public:
    std::string basePath;
    std::shared_ptr<Folder> root;

    const FileList& filelist() const { return filelist_; }
    void setFilelist(FileList filelist);
    void append(std::shared_ptr<File> entry);
    void clearList();

    /// Links a new entry to its folder and returns that. An entry directly under the base path goes
    /// to the root; any other to the folder in filelist whose subpath is the entry's parent path.
    /// Of several such folders the last in the list takes it: after a second enumeration that is
    /// the one just found. Without a matching folder, or without a root, the entry keeps no parent
    /// and nothing is returned.
    /// Constant time while entries are appended, as long as no entry's subpath is changed once it
    /// is in the list; linear in the list once after the list was replaced.
    std::shared_ptr<File> findParent(const std::shared_ptr<File>& entry);

    /// Makes filelist what is visible below the root; the root is not in it.
    void makeExpandedList();
    /// Of everything below the root, not the root's own flag.
    void setExpanded(bool value);
    /// Collapses all, then shows one folder with its children. filelist stays empty, with a warning
    /// on the console, if the identifier is a plain file's or unknown. Without a root: nothing,
    /// and filelist stays as it was.
    void makeExpandedPage(const std::string& identifier);
    /// The same, and expands the folders above it; the page is made before that. Without a root the
    /// filelist is emptied, and a line printed, as if nothing were below it.
    void makeExpandedPath(const std::string& identifier);
    /// The root only by its container's identifier, not by its number.
    std::shared_ptr<File> findFileWithUID(const std::string& uid);

    void dumpoutRoot() const;
    /// The tree; a missing root is a fatal error.
    std::string xml() const;
    /// filelist, one line an entry.
    std::string list() const;

 private:
    void indexFolder(const std::shared_ptr<File>& entry);
    void showRoot(const std::string& line);
    /// Makes the folder's children visible, and returns it. Null, with a warning, if there is no
    /// such folder.
    std::shared_ptr<File> showFolder(const std::string& identifier);

    FileList filelist_;
    // The last folder in filelist_ by subpath; owned by the list.
    std::unordered_map<std::string, std::weak_ptr<Folder>> folders_;
    bool indexed_ = true;
};

}  // namespace qov
