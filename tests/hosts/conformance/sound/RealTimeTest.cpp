// On the audio thread no format allocates, locks or calls the system.

#include "tests/hosts/conformance/FormatTest.h"
#include "tests/hosts/conformance/guardBodies.h"

namespace qov::test {
namespace {

using platform::AURenderEvent;

class RealTime : public FormatTest {
 protected:
    static constexpr std::uint32_t longest = 8192;

    void SetUp() override {
#ifdef QOV_SANITIZED
        GTEST_SKIP() << "the sanitizer has the allocator to itself";
#endif
        std::vector<AURenderEvent> events;
        for (std::uint32_t i = 0; i < 400; ++i)
            events.push_back(
                parameterEvent(i * 7919 % 5000, i % 8, static_cast<float>(i % 101) / 90));
        events.push_back(midiEvent(17, 0xb0, 10, 100));
        auto* const a = memory_.data();
        auto* const b = a + longest;
        const std::pair<float*, float*> outputs[] = {
            {b + longest, b + 2 * longest}, {a, b}, {b, a}};
        for (const std::uint32_t frames : {0U, 1U, 64U, longest})
            for (const auto& [left, right] : outputs) {
                plugins_.push_back(createActive(192000, longest));
                // All that is done once, at the first block, is part of it.
                plugins_.back()->setValue(0, 0.3F);
                plugins_.back()->prepare({a, b}, {left, right}, frames, events);
            }
    }

    void runAll() {
        for (int round = 0; round < 3; ++round)
            for (const auto& plugin : plugins_) plugin->run();
    }

    std::vector<float> memory_ = std::vector<float>(4 * longest, 0.5F);
    std::vector<std::unique_ptr<Plugin>> plugins_;
};

TEST_P(RealTime, NeitherAllocatesNorLocks) {
    EXPECT_EQ(countedCalls([this] { runAll(); }), 0)
        << "by " << testing::PrintToString(countedObjects());
}

TEST_P(RealTime, CallsNoSystem) {
    const int status = statusWithoutSystem([this] { runAll(); });
    if (status == 77) GTEST_SKIP() << "no filter of system calls here";
    EXPECT_EQ(status, 0);
    EXPECT_TRUE(WIFSIGNALED(statusWithoutSystem([] { getppid(); }))) << "the filter is in force";
}

TEST_P(RealTime, IsWatchedInsideThePluginsOwnBody) {
    // A state is a string, which the body has to allocate.
    countedCalls([this] { plugins_[0]->saveState(); });
    const auto objects = countedObjects();
    const bool isSeen = std::ranges::any_of(
        objects, [](const auto& name) { return name.ends_with("/kelvane-body.so"); });
    EXPECT_EQ(isSeen, GetParam() != "Instance") << testing::PrintToString(objects);
}

QOV_EVERY_FORMAT(RealTime);

}  // namespace
}  // namespace qov::test
