#include "dsp/QOV_Kelvane_PluginDSPKernel.h"

#include <vector>

#include <gtest/gtest.h>

#include "platform/audiotoolbox/AudioBufferList.h"
#include "platform/audiotoolbox/AudioTimeStamp.h"
#include "platform/foundation/Console.h"

namespace {

using namespace qov;

TEST(Kernel, PrintsItsLineWhenItIsBuilt) {
    std::vector<std::string> lines;
    const auto before =
        platform::console::setSink([&](std::string_view line) { lines.emplace_back(line); });
    const QOV_Kelvane_PluginDSPKernel kernel;
    platform::console::setSink(before);
    EXPECT_EQ(lines, std::vector<std::string>{"DIAGNOSTICS: QOW Kelvane DSP Kernel loaded."});
}

// Centre settings: the right channel comes a ring late and untouched, the left one frame later
// still.
TEST(Kernel, DelaysTheOutputByTheRingAndTheLeftChannelByOneFrameMore) {
    QOV_Kelvane_PluginDSPKernel kernel;
    kernel.init(2, 44100);
    kernel.reset();
    kernel.setParameter(kStereoWidth, 0.5f);
    kernel.setParameter(kPanorama, 0.5f);
    std::vector<float> left(5000), right(5000);
    left[100] = 0.25f;
    right[100] = -0.5f;
    for (std::uint32_t done = 0; done < 5000; done += 500) {
        platform::StereoBufferList buffers(left.data() + done, right.data() + done, 500);
        kernel.setBuffers(buffers.list(), buffers.list());
        kernel.processWithEvents({}, 500, nullptr);
    }
    std::vector<float> expectedLeft(5000), expectedRight(5000);
    expectedLeft[100 + 2048 + 1] = 0.25f;
    expectedRight[100 + 2048] = -0.5f;
    EXPECT_EQ(left, expectedLeft);
    EXPECT_EQ(right, expectedRight);
    EXPECT_TRUE(kernel.isNewBufferAvailable);
}

}  // namespace
