#pragma once

#include "files/File.h"

namespace qov {

/// A file with children: files and folders in the order in which they were found. Calls
/// recurse into the children, as deep as the tree is.
class Folder : public File {
 public:
    Folder() = default;
    /// Releases the subtree without recursion, however deep it is.
    ~Folder() override;

    FileList children;

    /// The whole subtree follows.
    void setExpanded(bool value) override;
    void makeExpandedList(FileList& list) override;
    void findFileWithUID(const std::string& uid, std::shared_ptr<File>& found) override;
    void xml(std::string& result, std::int64_t indent) const override;
    /// The folder's own lines, then those of its children.
    void dumpout() const override;
};

}  // namespace qov
