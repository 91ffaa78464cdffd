#include "platform/foundation/Console.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace {

using platform::console::print;
using platform::console::setSink;

TEST(Console, LinesGoToTheSinkThatIsSetAndNowhereWithoutOne) {
    std::vector<std::string> lines;
    const auto before = setSink([&](std::string_view line) { lines.emplace_back(line); });
    print("one");
    setSink({});
    print("lost");
    setSink(before);
    EXPECT_EQ(lines, std::vector<std::string>{"one"});
}

}  // namespace
