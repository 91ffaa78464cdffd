#pragma once

#include <cstdint>
#include <string>

namespace qov {

/// n tab characters; a negative n is a fatal error.
std::string tabs(std::int64_t n);

/// "true" or "false".
const char* booleanText(bool value);

}  // namespace qov
