#include "platform/foundation/Data.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <string>
#include <utility>

#include "platform/foundation/NSError.h"
#include "platform/foundation/URL.h"
#include "platform/foundation/URLSession.h"
#include "platform/foundation/itemError.h"

namespace platform {
namespace {

using Result = std::pair<std::optional<Data>, NSError>;

NSError readError(const URL& url, int number) {
    return itemError(ItemOperation::read, url.path(), number);
}

NSError readError(const URL& url, NSFileError code, const std::string& because) {
    return {NSCocoaErrorDomain, code,
            "The file “" + url.lastPathComponent() + "” couldn’t be opened" + because + "."};
}

struct OpenFile {
    int descriptor;
    ~OpenFile() {
        if (descriptor >= 0) close(descriptor);
    }
};

Result contentsOfFile(const URL& url) {
    // Non-blocking, so that opening a pipe without a writer returns; it is refused below.
    const OpenFile file{open(url.path().c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC)};
    struct stat status {};
    if (file.descriptor < 0 || fstat(file.descriptor, &status) != 0) {
        return {{}, readError(url, errno)};
    }
    if (!S_ISREG(status.st_mode)) {
        return {{}, readError(url, NSFileReadUnknownError, " because it is not a regular file")};
    }
    if (static_cast<std::uintmax_t>(status.st_size) > kLargestFetch) {
        return {{}, readError(url, NSFileReadTooLargeError, " because it is too large")};
    }
    // One byte more than the size, so that the read that meets the end needs no second buffer; a
    // file that grows meanwhile (or has no size, as in /proc) is followed up to the limit.
    Data data(static_cast<std::size_t>(status.st_size) + 1);
    std::size_t filled = 0;
    for (;;) {
        const auto count = read(file.descriptor, data.data() + filled, data.size() - filled);
        if (count < 0 && errno == EINTR) continue;
        if (count < 0) return {{}, readError(url, errno)};
        if (count == 0) break;
        filled += static_cast<std::size_t>(count);
        if (filled > kLargestFetch) {
            return {{}, readError(url, NSFileReadTooLargeError, " because it is too large")};
        }
        if (filled == data.size()) data.resize(std::min(filled * 2, kLargestFetch + 1));
    }
    data.resize(filled);
    return {std::move(data), {}};
}

Result contentsOverNetwork(const URL& url) {
    auto fetch = URLSession::fetch(url, {});
    const int status = fetch.response ? fetch.response->statusCode.value_or(0) : 0;
    if (!fetch.data || status < 400) return {std::move(fetch.data), std::move(fetch.error)};
    return {{},
            readError(url, status == 404 ? NSFileReadNoSuchFileError : NSFileReadUnknownError, "")};
}

}  // namespace

std::optional<Data> contentsOf(const URL& url, NSError* error) {
    auto [data, reason] = url.isFileURL() ? contentsOfFile(url) : contentsOverNetwork(url);
    if (!data && error) *error = std::move(reason);
    return std::move(data);
}

}  // namespace platform
