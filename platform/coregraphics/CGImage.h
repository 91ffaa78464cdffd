#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <vector>

namespace platform {

/// Immutable pixels: premultiplied alpha, one 32-bit word a pixel, 0xAARRGGBB, rows top
/// down without padding. May be shared between threads.
class CGImage {
 public:
    /// width * height words; both at least 1.
    CGImage(int width, int height, std::vector<std::uint32_t> pixels)
        : width_(width), height_(height), pixels_(std::move(pixels)) {}

    int width() const { return width_; }
    int height() const { return height_; }
    std::span<const std::uint32_t> pixels() const { return pixels_; }

    /// Decodes the bytes of a PNG or JPEG file. Null, with a reason in error if given, for other or
    /// damaged data and for more than 16384 pixels a side or 64 * 2^20 in all.
    static std::shared_ptr<const CGImage> decode(std::span<const std::byte> file,
                                                 std::string* error = nullptr);
    /// Encodes as a PNG file with straight alpha; the same pixels give the same bytes.
    std::vector<std::byte> png() const;

 private:
    int width_, height_;
    std::vector<std::uint32_t> pixels_;
};

}  // namespace platform
