#include "files/FileBase.h"

#include <atomic>
#include <limits>

#include "files/listingText.h"
#include "platform/foundation/Console.h"
#include "platform/foundation/fatalError.h"

namespace qov {
namespace {

std::int64_t nextID() {
    static std::atomic<std::int64_t> last{0};
    auto current = last.load();
    do {
        if (current == std::numeric_limits<std::int64_t>::max())
            platform::fatalError("The numbers of entries are exhausted.");
    } while (!last.compare_exchange_weak(current, current + 1));
    return current + 1;
}

}  // namespace

FileBase::FileBase() {
    _id = nextID();
}

std::string FileBase::getIDFormatted() const {
    return std::to_string(_id);
}

void FileBase::dumpout() const {
    platform::console::print(tabs(_indent) + "<item id=" + getIDFormatted() + " _remote='" +
                             booleanText(_remote) + "' _expanded='" + booleanText(_expanded) +
                             "' _selected='" + booleanText(_selected) + "' _indent='" +
                             std::to_string(_indent) + "' />");
}

}  // namespace qov
