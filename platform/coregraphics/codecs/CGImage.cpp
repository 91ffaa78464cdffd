#include "platform/coregraphics/CGImage.h"

#include <png.h>
#include <turbojpeg.h>

namespace platform {

namespace {

constexpr int maxSide = 16384;
constexpr std::int64_t maxPixels = std::int64_t{64} << 20;  // 256 MiB, held twice while decoding

std::shared_ptr<const CGImage> fail(std::string* error, std::string reason) {
    if (error) *error = std::move(reason);
    return nullptr;
}

bool isTooLarge(std::int64_t width, std::int64_t height) {
    return width < 1 || height < 1 || width > maxSide || height > maxSide ||
           width * height > maxPixels;
}

std::string tooLarge(std::int64_t width, std::int64_t height) {
    return "the picture has " + std::to_string(width) + " x " + std::to_string(height) +
           " pixels; up to 16384 a side and 67 million in all can be shown";
}

std::uint32_t byteProduct(std::uint32_t a, std::uint32_t b) {
    return (a * b + 127) / 255;
}

std::shared_ptr<const CGImage> decodePng(std::span<const std::byte> file, std::string* error) {
    png_image png{};
    png.version = PNG_IMAGE_VERSION;
    if (!png_image_begin_read_from_memory(&png, file.data(), file.size()))
        return fail(error, std::string("the PNG is damaged: ") + png.message);
    if (isTooLarge(png.width, png.height)) {
        png_image_free(&png);
        return fail(error, tooLarge(png.width, png.height));
    }
    png.format = PNG_FORMAT_RGBA;
    std::vector<std::uint8_t> straight(PNG_IMAGE_SIZE(png));
    if (!png_image_finish_read(&png, nullptr, straight.data(), 0, nullptr))
        return fail(error, std::string("the PNG is damaged: ") + png.message);
    std::vector<std::uint32_t> pixels(straight.size() / 4);
    for (std::size_t i = 0; i < pixels.size(); ++i) {
        const std::uint8_t* p = &straight[i * 4];
        pixels[i] = static_cast<std::uint32_t>(p[3]) << 24 | byteProduct(p[0], p[3]) << 16 |
                    byteProduct(p[1], p[3]) << 8 | byteProduct(p[2], p[3]);
    }
    return std::make_shared<CGImage>(static_cast<int>(png.width), static_cast<int>(png.height),
                                     std::move(pixels));
}

std::shared_ptr<const CGImage> decodeJpeg(std::span<const std::byte> file, std::string* error) {
    const std::unique_ptr<void, int (*)(void*)> handle(tjInitDecompress(), tjDestroy);
    const auto* bytes = reinterpret_cast<const unsigned char*>(file.data());
    int width = 0, height = 0, subsampling = 0, colors = 0;
    if (tjDecompressHeader3(handle.get(), bytes, file.size(), &width, &height, &subsampling,
                            &colors) != 0 ||
        width < 1 || height < 1)
        return fail(error, std::string("the JPEG is damaged: ") + tjGetErrorStr2(handle.get()));
    if (isTooLarge(width, height)) return fail(error, tooLarge(width, height));
    std::vector<std::uint32_t> pixels(static_cast<std::size_t>(width) * height);
    // BGRA in memory is 0xAARRGGBB in a little-endian word; the decoder sets alpha to opaque.
    if (tjDecompress2(handle.get(), bytes, file.size(),
                      reinterpret_cast<unsigned char*>(pixels.data()), width, 0, height, TJPF_BGRA,
                      0) != 0)
        return fail(error, std::string("the JPEG is damaged: ") + tjGetErrorStr2(handle.get()));
    return std::make_shared<CGImage>(width, height, std::move(pixels));
}

bool startsWith(std::span<const std::byte> file, std::initializer_list<int> magic) {
    return file.size() >= magic.size() &&
           std::equal(magic.begin(), magic.end(), file.begin(),
                      [](int a, std::byte b) { return std::byte(a) == b; });
}

}  // namespace

std::shared_ptr<const CGImage> CGImage::decode(std::span<const std::byte> file,
                                               std::string* error) {
    if (startsWith(file, {0x89, 'P', 'N', 'G'})) return decodePng(file, error);
    if (startsWith(file, {0xff, 0xd8})) return decodeJpeg(file, error);
    return fail(error, "neither a PNG nor a JPEG picture");
}

std::vector<std::byte> CGImage::png() const {
    std::vector<std::uint8_t> straight;
    straight.reserve(pixels_.size() * 4);
    for (const std::uint32_t pixel : pixels_) {
        const std::uint32_t alpha = pixel >> 24;
        const auto component = [&](int shift) {
            const std::uint32_t c = pixel >> shift & 255;
            return static_cast<std::uint8_t>(alpha == 0 ? 0 : (c * 255 + alpha / 2) / alpha);
        };
        straight.insert(straight.end(), {component(16), component(8), component(0),
                                         static_cast<std::uint8_t>(alpha)});
    }
    png_image png{};
    png.version = PNG_IMAGE_VERSION;
    png.width = static_cast<png_uint_32>(width_);
    png.height = static_cast<png_uint_32>(height_);
    png.format = PNG_FORMAT_RGBA;
    png_alloc_size_t size = PNG_IMAGE_PNG_SIZE_MAX(png);
    std::vector<std::byte> file(size);
    if (!png_image_write_to_memory(&png, file.data(), &size, 0, straight.data(), 0, nullptr))
        size = 0;
    file.resize(size);
    return file;
}

}  // namespace platform
