#include "files/FileTree.h"

#include <utility>

#include "files/Folder.h"
#include "platform/foundation/Console.h"
#include "platform/foundation/fatalError.h"

namespace qov {

using platform::console::print;

void FileTree::setFilelist(FileList filelist) {
    filelist_ = std::move(filelist);
    indexed_ = false;
}

void FileTree::append(std::shared_ptr<File> entry) {
    filelist_.push_back(std::move(entry));
    if (indexed_) indexFolder(filelist_.back());
}

void FileTree::clearList() {
    filelist_.clear();
    folders_.clear();
    indexed_ = true;
}

void FileTree::indexFolder(const std::shared_ptr<File>& entry) {
    if (auto folder = std::dynamic_pointer_cast<Folder>(entry))
        folders_.insert_or_assign(folder->subpath(), folder);
}

std::shared_ptr<File> FileTree::findParent(const std::shared_ptr<File>& entry) {
    if (!entry) return nullptr;
    if (!indexed_) {
        folders_.clear();
        for (const auto& listed : filelist_) indexFolder(listed);
        indexed_ = true;
    }
    const auto parentPath = entry->getParentPath();
    auto parent = root;
    if (!parentPath.empty()) {
        const auto found = folders_.find(parentPath);
        parent = found == folders_.end() ? nullptr : found->second.lock();
    }
    if (!parent) return nullptr;
    entry->setParent(parent);
    parent->children.push_back(entry);
    return parent;
}

void FileTree::makeExpandedList() {
    setFilelist({});
    if (!root) return;
    for (const auto& child : root->children) child->makeExpandedList(filelist_);
}

void FileTree::setExpanded(bool value) {
    if (!root) return;
    for (const auto& child : root->children) child->setExpanded(value);
}

std::shared_ptr<File> FileTree::findFileWithUID(const std::string& uid) {
    if (uid == rootContainerItemIdentifier) {
        print("FileTree: The file (root) was found :  " + uid);
        return root;
    }
    std::shared_ptr<File> found;
    if (!root) return found;
    for (const auto& child : root->children) {
        child->findFileWithUID(uid, found);
        if (found) break;
    }
    return found;
}

void FileTree::showRoot(const std::string& line) {
    if (root) root->_expanded = true;
    makeExpandedList();
    print(line);
}

std::shared_ptr<File> FileTree::showFolder(const std::string& identifier) {
    auto entry = findFileWithUID(identifier);
    if (!entry) {
        print("Warning: The file was not found.");
    } else if (entry->isDirectory) {
        entry->_expanded = true;
        entry->makeExpandedList(filelist_);
        indexed_ = false;
        return entry;
    } else {
        entry->_expanded = false;
        print("Warning: The file cannot become expanded.");
    }
    return nullptr;
}

void FileTree::makeExpandedPage(const std::string& identifier) {
    if (!root) return;
    setExpanded(false);
    clearList();
    if (identifier == rootContainerItemIdentifier)
        showRoot("FileTree: Root node was expanded.");
    else
        showFolder(identifier);
}

void FileTree::makeExpandedPath(const std::string& identifier) {
    setExpanded(false);
    clearList();
    if (identifier == rootContainerItemIdentifier ||
        identifier == workingSetContainerItemIdentifier) {
        showRoot("FileTree: (" + identifier + ") Root node was expanded.");
    } else if (const auto folder = showFolder(identifier)) {
        for (auto above = folder->parent(); above; above = above->parent()) above->_expanded = true;
    }
}

void FileTree::dumpoutRoot() const {
    if (root) root->dumpout();
}

std::string FileTree::xml() const {
    if (!root) platform::fatalError("A file tree without a root has no XML form.");
    std::string result;
    root->xml(result, 0);
    return result;
}

std::string FileTree::list() const {
    std::string result = "\n<!-- file list -->\n<files basepath='" + basePath + "'>";
    for (const auto& entry : filelist_) {
        result += "\n\t";
        entry->list(result);
    }
    return result + "\n</files>";
}

}  // namespace qov
