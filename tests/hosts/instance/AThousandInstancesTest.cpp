// A thousand effects in one process, some with their editors: the memory of each, and that all of
// it is freed.
#include <malloc.h>

#include <iostream>
#include <memory>
#include <vector>

#include <gtest/gtest.h>

#include "editor/AudioUnitViewController.h"
#include "hosts/instance/Instance.h"
#include "platform/dispatch/RunLoop.h"
#include "platform/foundation/Console.h"
#include "platform/uikit/UIWindow.h"

namespace qov::hosts {
namespace {

std::size_t bytesInUse() {
    const auto heap = mallinfo2();
    return heap.uordblks + heap.hblkhd;
}

/// Bytes for each of them while all are alive.
std::size_t bytesOfEach(std::size_t count) {
    const auto before = bytesInUse();
    std::vector<std::unique_ptr<Instance>> all;
    std::vector<float> left(512, 0.25F), right(512, 0.5F);
    for (std::size_t i = 0; i < count; ++i) {
        auto controller = std::make_shared<AudioUnitViewController>();
        auto instance = Instance::create(nullptr, platform::RunLoop::createForTest(), controller);
        EXPECT_TRUE(instance->activate(48000, 512, nullptr));
        instance->process({left.data(), right.data()}, {left.data(), right.data()}, 512);
        if (i % 50 == 0) {
            const platform::RunLoop::MakeCurrent current(instance->runLoop());
            const auto window = std::make_shared<platform::UIWindow>(platform::CGSize{340, 220});
            window->setRootViewController(controller);
            instance->pump();
            window->update();
            window->setRootViewController(nullptr);
        }
        all.push_back(std::move(instance));
    }
    return (bytesInUse() - before) / count;
}

TEST(AThousandInstances, NeedLittleMemoryAndFreeIt) {
    if (bytesInUse() == 0) GTEST_SKIP() << "a sanitizer has the allocator to itself";
    const auto sink = platform::console::setSink({});
    bytesOfEach(1000);  // fonts and the allocator's reserve stay
    const auto before = bytesInUse();
    const auto each = bytesOfEach(1000);
    const auto left = static_cast<std::ptrdiff_t>(bytesInUse() - before);
    std::cout << each / 1024 << " KiB for each, " << left << " bytes left behind\n";
    platform::console::setSink(sink);
    EXPECT_LT(each, 128 * 1024U);
    EXPECT_LT(left, 64 * 1024) << "64 bytes for each";
}

}  // namespace
}  // namespace qov::hosts
