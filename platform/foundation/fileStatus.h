#pragma once

#include <optional>
#include <string>
#include <vector>

#include "platform/foundation/FileAttributes.h"

namespace platform {

/// The attributes of one item (of a link itself) from the file system; errno on failure.
std::optional<FileAttributes> attributesOfPath(const std::string& path);

/// The same of an open file.
std::optional<FileAttributes> attributesOfDescriptor(int descriptor);

/// A name in a folder.
struct FolderEntry {
    std::string name;
    bool mayBeDirectory;
};

/// All names but "." and "..", in any order, of the folder behind a descriptor, which is closed.
/// errno is 0 if they are complete, and else says what was in the way.
std::vector<FolderEntry> readFolder(int descriptor);

}  // namespace platform
