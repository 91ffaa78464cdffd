#pragma once

namespace platform {

/// Where a line of text stands across its box.
enum class NSTextAlignment { left, center, right };

}  // namespace platform
