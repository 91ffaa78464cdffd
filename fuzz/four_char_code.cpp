#include <iconv.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>

#include "util/stringValue.h"

namespace {

/// The C library's reading of Mac OS Roman, which differs in two characters.
std::string byIconv(const char* bytes) {
    static const iconv_t converter = iconv_open("UTF-8", "MACINTOSH");
    std::string text;
    for (int i = 0; i < 4; ++i) {
        if (bytes[i] == '\xC6') {
            text += "∆";
        } else if (bytes[i] == '\xF0') {
            text += "\uF8FF";
        } else {
            char in = bytes[i];
            char out[8];
            char* from = &in;
            char* to = out;
            std::size_t inLeft = 1;
            std::size_t outLeft = sizeof out;
            if (iconv(converter, &from, &inLeft, &to, &outLeft) != 0) std::abort();
            text.append(out, to);
        }
    }
    return text;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    char bytes[4] = {};
    std::memcpy(bytes, data, size < 4 ? size : 4);
    std::uint32_t code = 0;
    for (const char byte : bytes) code = code << 8 | static_cast<std::uint8_t>(byte);
    if (qov::stringValue(code) != byIconv(bytes)) std::abort();
    return 0;
}
