#include "platform/foundation/FileAttributes.h"

#include <algorithm>

namespace platform {
namespace {

struct Description {
    std::string operator()(const Number& number) const { return number.stringValue(); }
    std::string operator()(const Date& date) const { return date.description(); }
    std::string operator()(const FileAttributeType& type) const { return type.rawValue(); }
};

}  // namespace

std::string description(const FileAttributeValue& value) {
    return std::visit(Description(), value);
}

const FileAttributeValue* FileAttributes::find(FileAttributeKey key) const {
    const auto entry = std::ranges::find(entries_, key, &Entry::first);
    return entry == entries_.end() ? nullptr : &entry->second;
}

void FileAttributes::set(FileAttributeKey key, FileAttributeValue value) {
    const auto entry = std::ranges::find(entries_, key, &Entry::first);
    if (entry == entries_.end())
        entries_.emplace_back(key, value);
    else
        entry->second = value;
}

std::string FileAttributes::description() const {
    if (entries_.empty()) return "[:]";
    std::string text;
    for (const auto& [key, value] : entries_)
        text += (text.empty() ? "[" : ", ") + std::string(key.rawValue()) + ": " +
                platform::description(value);
    return text + "]";
}

}  // namespace platform
