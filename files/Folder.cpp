#include "files/Folder.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "files/listingText.h"

namespace qov {

Folder::~Folder() {
    // A folder without another owner moves its children out before it is destroyed.
    FileList leaving = std::move(children);
    while (!leaving.empty()) {
        const auto entry = std::move(leaving.back());
        leaving.pop_back();
        auto* folder = entry.use_count() == 1 ? dynamic_cast<Folder*>(entry.get()) : nullptr;
        if (!folder) continue;
        std::ranges::move(folder->children, std::back_inserter(leaving));
        folder->children.clear();
    }
}

void Folder::setExpanded(bool value) {
    File::setExpanded(value);
    for (const auto& child : children) child->setExpanded(value);
}

void Folder::makeExpandedList(FileList& list) {
    File::makeExpandedList(list);
    if (!_expanded) return;
    for (const auto& child : children) child->makeExpandedList(list);
}

void Folder::findFileWithUID(const std::string& uidText, std::shared_ptr<File>& found) {
    File::findFileWithUID(uidText, found);
    for (auto child = children.begin(); !found && child != children.end(); ++child)
        (*child)->findFileWithUID(uidText, found);
}

void Folder::xml(std::string& result, std::int64_t indent) const {
    result += '\n';
    result += tabs(indent) + "<folder ";
    result += indent == 0 ? "path='" + rootpath() : "subpath='" + subpath();
    result += std::string("' expanded='") + booleanText(_expanded) + "' ";
    appendTimes(result);
    result += ">";
    for (const auto& child : children) child->xml(result, indent + 1);
    result += '\n';
    result += tabs(indent) + "</folder>";
}

void Folder::dumpout() const {
    File::dumpout();
    for (const auto& child : children) child->dumpout();
}

}  // namespace qov
