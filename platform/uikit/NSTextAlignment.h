#pragma once

namespace platform {

/// The horizontal alignment of a line of text in its box.
enum class NSTextAlignment { left, center, right };

}  // namespace platform
