#include "files/File.h"

#include <array>
#include <cstdio>
#include <utility>

#include "files/listingText.h"
#include "platform/foundation/ByteCountFormatter.h"
#include "platform/foundation/Console.h"
#include "platform/foundation/DateFormatter.h"
#include "platform/foundation/URL.h"
#include "platform/foundation/fatalError.h"
#include "platform/foundation/path.h"

namespace qov {
namespace {

using platform::Date;
using platform::FileAttributeKey;
using platform::Number;

constexpr auto invalidAttribute = "(invalid attribute)";

template <class Value>
const Value& required(const platform::FileAttributes& attributes, FileAttributeKey key) {
    const auto* value = attributes.find(key);
    const auto* typed = value ? std::get_if<Value>(value) : nullptr;
    if (!typed)
        platform::fatalError(std::string("The attribute ") + key.rawValue() +
                             " of an entry is missing or of another type.");
    return *typed;
}

std::string parentText(const std::shared_ptr<File>& parent) {
    if (!parent) return "nil";
    char text[80];
    std::snprintf(text, sizeof text, "Optional(<QOV_Kelvane_Plugin.%s: %p>)",
                  parent->isDirectory ? "Folder" : "File", static_cast<void*>(parent.get()));
    return text;
}

}  // namespace

File::File() {
    static const auto none = std::make_shared<const std::string>();
    rootpath_ = none;
}

void File::setRootpath(std::string rootpath) {
    rootpath_ = std::make_shared<const std::string>(std::move(rootpath));
}

void File::setSubpath(std::string subpath) {
    subpath_ = std::move(subpath);
    subpath_.shrink_to_fit();
    _indent = platform::path::pathComponentCount(subpath_) - 1;
}

std::string File::getFilePath() const {
    return rootpath() + "/" + subpath_;
}

std::string File::getFileName() const {
    if (subpath_.empty())
        return platform::URL::fileURLWithPath(rootpath(), false).lastPathComponent();
    return platform::path::lastPathComponent(subpath_);
}

std::string File::getFileExtension() const {
    return platform::path::pathExtension(subpath_);
}

std::string File::getParentPath() const {
    return platform::path::deletingLastPathComponent(subpath_);
}

Number File::getSystemFileNumber() const {
    if (attributes.isEmpty()) return Number(-1);
    return required<Number>(attributes, platform::NSFileSystemFileNumber);
}

std::string File::getSystemFileNumberFormatted() const {
    return attributes.isEmpty() ? invalidAttribute : getSystemFileNumber().stringValue();
}

Number File::getFileSize() const {
    if (attributes.isEmpty()) return Number(-1);
    return required<Number>(attributes, platform::NSFileSize);
}

std::string File::getFileSizeFormatted() const {
    if (attributes.isEmpty()) return invalidAttribute;
    return platform::ByteCountFormatter::stringFromByteCount(getFileSize().int64Value());
}

Date File::getCreationDate() const {
    if (attributes.isEmpty()) return Date();
    return required<Date>(attributes, platform::NSFileCreationDate);
}

Date File::getModificationDate() const {
    if (attributes.isEmpty()) return Date();
    return required<Date>(attributes, platform::NSFileModificationDate);
}

std::string File::getCreationDateFormatted() const {
    return attributes.isEmpty() ? invalidAttribute
                                : platform::DateFormatter::localizedString(getCreationDate());
}

std::string File::getModifiedDateFormatted() const {
    return attributes.isEmpty() ? invalidAttribute
                                : platform::DateFormatter::localizedString(getModificationDate());
}

void File::setExpanded(bool value) {
    _expanded = isDirectory && value;
}

void File::makeExpandedList(FileList& list) {
    list.push_back(shared_from_this());
}

void File::findFileWithUID(const std::string& uidText, std::shared_ptr<File>& found) {
    const auto number = getSystemFileNumberFormatted();
    if (number != uidText) return;
    found = shared_from_this();
    platform::console::print(std::string("FileTree: The following ") +
                             (isDirectory ? "folder" : "file") + " was found:  " + number + " " +
                             getFileName());
}

void File::appendTimes(std::string& result) const {
    result += "created='" + getCreationDateFormatted() + "' modified='" +
              getModifiedDateFormatted() + "' depth='" + std::to_string(_indent) + "' ";
}

void File::xml(std::string& result, std::int64_t indent) const {
    result += '\n';
    result +=
        tabs(indent) + "<file name='" + getFileName() + "' size='" + getFileSizeFormatted() + "' ";
    appendTimes(result);
    result += "/>";
}

void File::list(std::string& result) const {
    result += tabs(_indent);
    if (isDirectory) {
        // The name has no equals sign: readers of this form expect it so.
        result += "<folder id='" + getSystemFileNumber().stringValue() + "' name '" +
                  getFileName() + "' subpath='" + subpath_ + "' ";
    } else {
        result += "<file id='" + getSystemFileNumber().stringValue() + "' name='" + getFileName() +
                  "' size='" + getFileSizeFormatted() + "' ";
    }
    appendTimes(result);
    result += "/>";
}

void File::dumpout() const {
    const auto item = tabs(_indent) + "<item id=" + getIDFormatted();
    const auto parentDescription = parentText(parent());
    const auto attributesDescription = attributes.description();
    platform::console::print(item + " filename='" + getFileName() + "' />");
    platform::console::print(
        item + " uid=" + uid.stringValue() + " parent='" + parentDescription + "' rootpath='" +
        rootpath() + "' subpath='" + subpath_ + "' exists=" + booleanText(exists) +
        " isDirectory=" + booleanText(isDirectory) + " isWritable=" + booleanText(isWritable) +
        " isReadeble=" + booleanText(isReadeble) + " isExecutable=" + booleanText(isExecutable) +
        " isDeleteble=" + booleanText(isDeleteble) + " attributes='" + attributesDescription +
        "' />");

    struct Field {
        const char* label;
        const char* type;
        std::string value;
    };
    const std::array fields{
        Field{"uid", "NSNumber", uid.stringValue()},
        Field{"parent", "Optional<File>", parentDescription},
        Field{"rootpath", "String", rootpath()},
        Field{"subpath", "String", subpath_},
        Field{"exists", "Bool", booleanText(exists)},
        Field{"isDirectory", "Bool", booleanText(isDirectory)},
        Field{"isWritable", "Bool", booleanText(isWritable)},
        Field{"isReadeble", "Bool", booleanText(isReadeble)},
        Field{"isExecutable", "Bool", booleanText(isExecutable)},
        Field{"isDeleteble", "Bool", booleanText(isDeleteble)},
        Field{"attributes", "Dictionary<NSFileAttributeKey, Any>", attributesDescription},
    };
    // The value is closed by an apostrophe that nothing opens: readers of the dump expect it so.
    for (const auto& field : fields)
        platform::console::print(item + " label='" + field.label + "' type='" + field.type +
                                 "' value=" + field.value + "' />");
}

}  // namespace qov
