#include <optional>
#include <set>

#include <gtest/gtest.h>

#include "tests/hosts/app/Jack.h"
#include "tests/hosts/window/Child.h"
#include "tests/hosts/window/Screen.h"
#include "tests/support/TemporaryFolder.h"

namespace qov::test {
namespace {

/// Rows above the editor, which fills the window below the menu; nothing while it is not drawn.
std::optional<int> menuHeight() {
    int top = 0;
    while (top < 100 && (Screen::pixel(400, top) & 0xff) > 0x80) ++top;
    std::set<std::uint32_t> colours;
    for (int x = 20; x < 660; x += 3) colours.insert(Screen::pixel(x, top + 75));
    return top > 0 && colours.size() > 8 ? std::optional(top) : std::nullopt;
}

TEST(Jalv, TakesASavedSessionUpShowsTheEditorAndHearsADrag) {
    const Screen screen;
    const Jack jack;
    const TemporaryFolder folder;
    const Child host({"env", "HOME=" + (folder / ""), "LV2_PATH=" PLUGINS "/lv2",
                      "JACK_DEFAULT_SERVER=" + jack.name, "jalv.gtk3",
                      "--load=" SCRIPTS "/session.ttl", "urn:qov:kelvane"});
    EXPECT_TRUE(jack.playInto("QOV Kelvane:in_left", "QOV Kelvane:in_right"));
    EXPECT_TRUE(jack.listenTo("QOV Kelvane:out_left", "QOV Kelvane:out_right"));
    // Width at its end doubles the side: (3L - R) / 2 and (3R - L) / 2.
    EXPECT_TRUE(jack.hears(0.25F, 0.75F)) << "wide, and swapped";
    std::optional<int> menu;
    ASSERT_TRUE(until([&] { return (menu = menuHeight()).has_value(); }));
    const auto row = [&](int y) { return "mousemove 350 " + std::to_string(*menu + y) + ' '; };
    Screen::xdo(row(375) + "mousedown 1 " + row(385) + row(675) + "mouseup 1");
    EXPECT_TRUE(jack.hears(0, 0.5F)) << "half the range less";
}

}  // namespace
}  // namespace qov::test
