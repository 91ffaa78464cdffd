#pragma once

#include <optional>
#include <string>

#include "platform/foundation/FileAttributes.h"

namespace platform {

/// What the file system knows of one item, a link itself, as attributes; errno on failure.
std::optional<FileAttributes> attributesOfPath(const std::string& path);

/// The same of an open file.
std::optional<FileAttributes> attributesOfDescriptor(int descriptor);

}  // namespace platform
