#pragma once

#include <memory>
#include <string>
#include <vector>

#include "files/FileBase.h"
#include "platform/foundation/Date.h"
#include "platform/foundation/FileAttributes.h"
#include "platform/foundation/Number.h"

namespace qov {

class File;

/// Entries in the order in which they were found or are shown.
using FileList = std::vector<std::shared_ptr<File>>;

/// One entry of the file system below a root path. Made by std::make_shared only: lists and
/// lookups hand out shared pointers to it.
///
/// The three text forms insert names and paths as they are, apostrophes, angle brackets and bytes
/// that are not UTF-8 included; what reads them back has to know that.
///
/// Not synchronised: one thread at a time.
class File : public FileBase, public std::enable_shared_from_this<File> {
 public:
    File();

    /// For a view: the file system's number once the attributes are read.
    platform::Number uid{-1};

    /// The enclosing folder. Held weakly: a folder owns its children, so a released tree
    /// frees itself, and what is kept of it longer has no parent any more.
    std::shared_ptr<File> parent() const { return parent_.lock(); }
    void setParent(const std::shared_ptr<File>& parent) { parent_ = parent; }

    /// The tree's base path, as it was given.
    const std::string& rootpath() const { return *rootpath_; }
    void setRootpath(std::string rootpath);
    /// Shares another entry's root path instead of copying the text.
    void shareRootpath(const File& other) { rootpath_ = other.rootpath_; }

    /// Relative to rootpath, without a slash in front; empty for the root.
    const std::string& subpath() const { return subpath_; }
    /// Sets _indent, too: the number of components less one, so -1 for an empty path.
    void setSubpath(std::string subpath);

    bool exists = false;
    bool isDirectory = false;
    bool isWritable = false;
    bool isReadeble = false;
    bool isExecutable = false;
    bool isDeleteble = false;
    platform::FileAttributes attributes;

    std::string getFilePath() const;
    /// The last component of subpath; of the root, of rootpath, where an empty one is the current
    /// directory.
    std::string getFileName() const;
    /// Of subpath, without the dot.
    std::string getFileExtension() const;
    /// subpath without its last component.
    std::string getParentPath() const;

    // Without any attribute the numbers are -1, the dates the current one, and the formatted texts
    // "(invalid attribute)". With attributes, one that is missing or of another type is a fatal
    // error.
    platform::Number getSystemFileNumber() const;
    std::string getSystemFileNumberFormatted() const;
    platform::Number getFileSize() const;
    std::string getFileSizeFormatted() const;
    platform::Date getCreationDate() const;
    platform::Date getModificationDate() const;
    std::string getCreationDateFormatted() const;
    std::string getModifiedDateFormatted() const;

    /// Only a directory can be expanded.
    virtual void setExpanded(bool value);
    /// Appends the entry and what is visible below it, a folder before its children.
    virtual void makeExpandedList(FileList& list);
    /// Sets found to the first entry, from here down, whose file system number reads as uid, and
    /// prints what was found; leaves it alone otherwise.
    virtual void findFileWithUID(const std::string& uid, std::shared_ptr<File>& found);

    /// Appends the entry as an element on a new line, with what is below it. indent: the nesting
    /// level, 0 for the root; below 0 is a fatal error.
    virtual void xml(std::string& result, std::int64_t indent) const;
    /// Appends one line's text, without its end.
    void list(std::string& result) const;
    void dumpout() const override;

 protected:
    /// The attributes that a file and a folder both end with in the text forms, depth last.
    void appendTimes(std::string& result) const;

 private:
    std::weak_ptr<File> parent_;
    std::shared_ptr<const std::string> rootpath_;
    std::string subpath_;
};

}  // namespace qov
