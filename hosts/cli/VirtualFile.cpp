#include "hosts/cli/VirtualFile.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include <sndfile.h>

#include "hosts/cli/fileBytes.h"

namespace qov::cli {
namespace {

constexpr std::int64_t pieceBytes = 64 << 10;
/// From this size on a request goes to the system as it is: a copy would cost more than the call.
constexpr std::int64_t largeRequest = 32 << 10;

/// Bytes that pread or pwrite took before the end or an error.
template <class Call, class Byte>
std::int64_t transfer(Call call, int descriptor, Byte* bytes, std::int64_t count, std::int64_t at,
                      int& error) {
    std::int64_t done = 0;
    while (done < count) {
        const auto got =
            call(descriptor, bytes + done, static_cast<std::size_t>(count - done), at + done);
        if (got < 0 && errno == EINTR) continue;
        if (got < 0) error = errno;
        if (got <= 0) break;
        done += got;
    }
    return done;
}

}  // namespace

VirtualFile::VirtualFile(int descriptor)
    : descriptor_(descriptor),
      length_(std::max<std::int64_t>(fileLength(descriptor), 0)),
      piece_(new std::byte[pieceBytes]) {}

SNDFILE* VirtualFile::open(int mode, SF_INFO* info) {
    SF_VIRTUAL_IO calls{
        .get_filelen = [](void* self) -> sf_count_t { return of(self).length_; },
        .seek = [](sf_count_t offset, int whence, void* self) -> sf_count_t {
            return of(self).seek(offset, whence);
        },
        .read = [](void* to, sf_count_t count, void* self) -> sf_count_t {
            return of(self).read(static_cast<std::byte*>(to), count);
        },
        .write = [](const void* from, sf_count_t count, void* self) -> sf_count_t {
            return of(self).write(static_cast<const std::byte*>(from), count);
        },
        .tell = [](void* self) -> sf_count_t { return of(self).position_; },
    };
    return sf_open_virtual(&calls, mode, info, this);
}

std::int64_t VirtualFile::seek(std::int64_t offset, int whence) {
    const auto from = whence == SEEK_SET ? 0 : whence == SEEK_CUR ? position_ : length_;
    return position_ = std::max<std::int64_t>(from + offset, 0);
}

std::int64_t VirtualFile::read(std::byte* to, std::int64_t count) {
    std::int64_t done = 0;
    while (done < count) {
        auto got = count - done;
        if (position_ < start_ || position_ >= start_ + size_) {
            // The rest of a large request, too: else all that follow would go through the piece.
            if (count >= largeRequest) {
                got = transfer(pread, descriptor_, to + done, got, position_, error_);
                position_ += got;
                return done + got;
            }
            start_ = position_;
            size_ = transfer(pread, descriptor_, piece_.get(), pieceBytes, start_, error_);
            if (size_ == 0) break;
        }
        got = std::min(got, start_ + size_ - position_);
        std::memcpy(to + done, piece_.get() + (position_ - start_), static_cast<std::size_t>(got));
        done += got;
        position_ += got;
    }
    return done;
}

std::int64_t VirtualFile::write(const std::byte* from, std::int64_t count) {
    const auto offset = position_ - start_;
    if (count >= largeRequest || offset < 0 || offset > size_ || offset + count > pieceBytes) {
        flush();
        start_ = position_;
    }
    if (count >= largeRequest) {
        transfer(pwrite, descriptor_, from, count, position_, error_);
        start_ += count;
    } else {
        std::memcpy(piece_.get() + (position_ - start_), from, static_cast<std::size_t>(count));
        size_ = std::max(size_, position_ - start_ + count);
    }
    if (error_ != 0) return 0;
    position_ += count;
    length_ = std::max(length_, position_);
    return count;
}

void VirtualFile::flush() {
    transfer(pwrite, descriptor_, piece_.get(), size_, start_, error_);
    size_ = 0;
}

}  // namespace qov::cli
