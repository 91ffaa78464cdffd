#pragma once

#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <functional>
#include <iterator>
#include <numeric>
#include <span>
#include <string>

#include "platform/coregraphics/CGImage.h"

namespace qov::test {

/// Whether two colours differ by more than 3 of 255: more than another compiler's rounding.
inline bool differ(std::uint32_t one, std::uint32_t other) {
    for (const int shift : {0, 8, 16, 24})
        if (std::abs(int(one >> shift & 255) - int(other >> shift & 255)) > 3) return true;
    return false;
}

/// The picture is as the one that was approved by eye; KELVANE_TAKE_GOLDEN=1 takes it anew.
inline void expectGolden(const std::string& name, const platform::CGImage& image) {
    const bool isTaken = std::getenv("KELVANE_TAKE_GOLDEN");
    std::ifstream file(GOLDEN_FOLDER "/" + name + ".png", std::ios::binary);
    const std::string bytes{std::istreambuf_iterator<char>(file), {}};
    const auto approved = platform::CGImage::decode(std::as_bytes(std::span(bytes)));
    const auto now = image.pixels(), before = approved ? approved->pixels() : now.first(0);
    if (!isTaken && now.size() == before.size() &&
        std::inner_product(now.begin(), now.end(), before.begin(), 0, std::plus(), differ) < 5)
        return;
    const std::string path = (isTaken ? GOLDEN_FOLDER "/" : DIFFERENCE_FOLDER "/") + name;
    std::ofstream(path + ".png", std::ios::binary)
        .write(reinterpret_cast<const char*>(image.png().data()), std::ssize(image.png()));
    EXPECT_TRUE(isTaken) << "see " << path << ".png";
}

}  // namespace qov::test
