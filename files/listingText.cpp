#include "files/listingText.h"

#include "platform/foundation/fatalError.h"

namespace qov {

std::string tabs(std::int64_t n) {
    if (n < 0) platform::fatalError("An entry cannot be indented by a negative number of tabs.");
    return std::string(static_cast<std::size_t>(n), '\t');
}

const char* booleanText(bool value) {
    return value ? "true" : "false";
}

}  // namespace qov
