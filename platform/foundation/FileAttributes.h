#pragma once

#include <cstring>
#include <initializer_list>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#include "platform/foundation/Date.h"
#include "platform/foundation/Number.h"

namespace platform {

/// A name of the platform's, compared as text. The text must outlive every copy: a literal.
class FileAttributeKey {
 public:
    constexpr explicit FileAttributeKey(const char* rawValue) : rawValue_(rawValue) {}
    const char* rawValue() const { return rawValue_; }
    bool operator==(const FileAttributeKey& other) const {
        return rawValue_ == other.rawValue_ || std::strcmp(rawValue_, other.rawValue_) == 0;
    }

 private:
    const char* rawValue_;
};

/// What kind of thing an entry is: the value of NSFileType, a name like a key's.
class FileAttributeType : public FileAttributeKey {
    using FileAttributeKey::FileAttributeKey;
};

inline constexpr FileAttributeKey NSFileType{"NSFileType"};
inline constexpr FileAttributeKey NSFileSize{"NSFileSize"};
inline constexpr FileAttributeKey NSFileCreationDate{"NSFileCreationDate"};
inline constexpr FileAttributeKey NSFileModificationDate{"NSFileModificationDate"};
inline constexpr FileAttributeKey NSFilePosixPermissions{"NSFilePosixPermissions"};
inline constexpr FileAttributeKey NSFileOwnerAccountID{"NSFileOwnerAccountID"};
inline constexpr FileAttributeKey NSFileGroupOwnerAccountID{"NSFileGroupOwnerAccountID"};
inline constexpr FileAttributeKey NSFileReferenceCount{"NSFileReferenceCount"};
inline constexpr FileAttributeKey NSFileSystemNumber{"NSFileSystemNumber"};
inline constexpr FileAttributeKey NSFileSystemFileNumber{"NSFileSystemFileNumber"};

inline constexpr FileAttributeType NSFileTypeDirectory{"NSFileTypeDirectory"};
inline constexpr FileAttributeType NSFileTypeRegular{"NSFileTypeRegular"};
inline constexpr FileAttributeType NSFileTypeSymbolicLink{"NSFileTypeSymbolicLink"};
inline constexpr FileAttributeType NSFileTypeSocket{"NSFileTypeSocket"};
inline constexpr FileAttributeType NSFileTypeCharacterSpecial{"NSFileTypeCharacterSpecial"};
inline constexpr FileAttributeType NSFileTypeBlockSpecial{"NSFileTypeBlockSpecial"};
inline constexpr FileAttributeType NSFileTypeUnknown{"NSFileTypeUnknown"};

/// Numbers, dates or a type.
using FileAttributeValue = std::variant<Number, Date, FileAttributeType>;

/// The text of a number or date; the name of a type.
std::string description(const FileAttributeValue& value);

/// A small dictionary from key to value, in the order in which keys were first set.
class FileAttributes {
 public:
    using Entry = std::pair<FileAttributeKey, FileAttributeValue>;

    FileAttributes() = default;
    /// The keys must differ.
    FileAttributes(std::initializer_list<Entry> entries) : entries_(entries) {}

    bool isEmpty() const { return entries_.empty(); }
    /// A key's value. Null if the key is not there.
    const FileAttributeValue* find(FileAttributeKey key) const;
    void set(FileAttributeKey key, FileAttributeValue value);

    auto begin() const { return entries_.begin(); }
    auto end() const { return entries_.end(); }

    /// "[NSFileSize: 12, NSFileType: NSFileTypeRegular]", "[:]" when empty.
    std::string description() const;

 private:
    std::vector<Entry> entries_;
};

}  // namespace platform
