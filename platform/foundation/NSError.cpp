#include "platform/foundation/NSError.h"

#include <utility>

namespace platform {

NSError::NSError(std::string_view domain, long code, std::string localizedDescription)
    : domain_(domain), code_(code), description_(std::move(localizedDescription)) {}

std::string NSError::localizedDescription() const {
    if (!description_.empty()) return description_;
    const std::string domain = domain_ == NSOSStatusErrorDomain ? "OSStatus" : domain_;
    return "The operation couldn’t be completed. (" + domain + " error " + std::to_string(code_) +
           ".)";
}

std::string NSError::description() const {
    const std::string text = description_.empty() ? "(null)" : description_;
    return "Error Domain=" + domain_ + " Code=" + std::to_string(code_) + " \"" + text + '"';
}

}  // namespace platform
