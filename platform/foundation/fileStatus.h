#pragma once

#include <optional>
#include <string>

#include "platform/foundation/FileAttributes.h"

namespace platform {

/// The attributes of one item (of a link itself) from the file system; errno on failure.
std::optional<FileAttributes> attributesOfPath(const std::string& path);

/// The same of an open file.
std::optional<FileAttributes> attributesOfDescriptor(int descriptor);

}  // namespace platform
