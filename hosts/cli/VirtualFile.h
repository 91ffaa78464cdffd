#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

// Of libsndfile.
struct SF_INFO;
struct sf_private_tag;

namespace qov::cli {

/// A regular file for libsndfile, which by itself calls the system for every field of a header and
/// for each 8 KiB of samples: here both go through a piece of the file in memory. Either read or
/// written.
class VirtualFile {
 public:
    /// From the file's first byte on. The descriptor stays the caller's, with its position.
    explicit VirtualFile(int descriptor);

    /// As sf_open() does; the sound file has to be closed before this one ends.
    sf_private_tag* open(int mode, SF_INFO* info);
    /// Writes what is left; an error shows in error().
    void flush();
    /// errno of the last call that failed, 0 where none did.
    int error() const { return error_; }

 private:
    static VirtualFile& of(void* self) { return *static_cast<VirtualFile*>(self); }
    std::int64_t seek(std::int64_t offset, int whence);
    std::int64_t read(std::byte* to, std::int64_t count);
    std::int64_t write(const std::byte* from, std::int64_t count);

    const int descriptor_;
    std::int64_t length_;
    std::int64_t position_ = 0;
    int error_ = 0;
    const std::unique_ptr<std::byte[]> piece_;
    std::int64_t start_ = 0;  ///< of the piece in the file
    std::int64_t size_ = 0;   ///< bytes that the piece holds
};

}  // namespace qov::cli
