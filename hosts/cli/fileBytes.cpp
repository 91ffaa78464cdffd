#include "hosts/cli/fileBytes.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

namespace qov::cli {

std::string bytesOf(std::uint64_t value, int count, std::endian order) {
    std::string text;
    for (int i = 0; i < count; ++i) text += static_cast<char>(value >> (8 * i));
    if (order == std::endian::big) std::ranges::reverse(text);
    return text;
}

std::uint64_t numberAt(std::string_view text, std::size_t at, int count, std::endian order) {
    std::uint64_t value = 0;
    for (int i = 0; i < count; ++i) {
        const auto index =
            at + static_cast<std::size_t>(order == std::endian::big ? i : count - 1 - i);
        value = value << 8 | (index < text.size() ? static_cast<unsigned char>(text[index]) : 0U);
    }
    return value;
}

std::string readAt(int descriptor, std::int64_t at, std::int64_t count) {
    std::string bytes(static_cast<std::size_t>(count), '\0');
    const auto got = pread(descriptor, bytes.data(), bytes.size(), at);
    bytes.resize(static_cast<std::size_t>(std::max<ssize_t>(got, 0)));
    return bytes;
}

std::size_t readFully(int descriptor, void* bytes, std::size_t count) {
    std::size_t done = 0;
    while (done < count) {
        const auto got = read(descriptor, static_cast<char*>(bytes) + done, count - done);
        if (got < 0 && errno == EINTR) continue;
        if (got == 0) errno = 0;
        if (got <= 0) break;
        done += static_cast<std::size_t>(got);
    }
    return done;
}

std::int64_t fileLength(int descriptor) {
    struct stat status {};
    return fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode) ? status.st_size : -1;
}

}  // namespace qov::cli
