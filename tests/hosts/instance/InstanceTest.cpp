#include "hosts/instance/Instance.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cmath>
#include <string>
#include <thread>
#include <vector>

#if defined(__SSE__)
#include <xmmintrin.h>
#endif

#include <fmt/core.h>
#include <gmock/gmock.h>

#include "editor/AudioUnitViewController.h"
#include "platform/dispatch/RunLoop.h"
#include "platform/foundation/NSError.h"
#include "tests/audiounit/RenderingUnit.h"
#include "tests/hosts/instance/playBlock.h"

namespace qov::hosts {
namespace {

using platform::AURenderEvent;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr double rate = 48000;
constexpr std::uint32_t longestBlock = 2048;
constexpr std::uint32_t late = 2048;

class InstanceTest : public testing::Test {
 protected:
    static std::unique_ptr<Instance> fresh() {
        auto instance = Instance::create(nullptr, platform::RunLoop::createForTest(),
                                         std::make_shared<AudioUnitViewController>());
        EXPECT_TRUE(instance->activate(rate, longestBlock, nullptr));
        return instance;
    }

    static Stereo render(Instance& instance, const Stereo& input, std::uint32_t block,
                         const std::vector<AURenderEvent>& events = {}) {
        return test::inBlocks(input, block, events, [&](const auto&... arguments) {
            test::playBlock(instance, arguments...);
        });
    }

    std::vector<std::string> edits() {
        constexpr const char* forms[] = {"begin {}", "{}={:.2f}", "end {}"};
        std::vector<std::string> texts;
        instance_->edits().take([&](const EditExchange::Edit& edit) {
            const auto* form = forms[static_cast<std::size_t>(edit.kind)];
            texts.push_back(fmt::format(fmt::runtime(form), edit.address, edit.value));
        });
        return texts;
    }
    void edit(std::uint64_t address, float value) {
        instance_->audioUnit().parameterTree()->parameterWithAddress(address)->setValue(value);
    }

    ConsoleLines quiet_;
    std::unique_ptr<Instance> instance_ = fresh();
};

TEST_F(InstanceTest, MoreEventsThanTheQueueHoldsSoundAsInTheAudioUnit) {
    std::vector<AURenderEvent> storm{parameterEvent(10, kSwapChannels, 1),
                                     parameterEvent(10, kBypass, 1), midiEvent(10, 0xb0, 7, 99),
                                     parameterEvent(10, kBypass, 0)};
    for (int i = 0; i < 5000; ++i)
        storm.push_back(parameterEvent(10, kPanorama, static_cast<float>(i) / 5000));
    for (std::uint32_t frame = 11; frame < 1024; ++frame)
        for (const auto address : {kStereoWidth, kPhaseShift})
            storm.push_back(parameterEvent(frame, address, static_cast<float>(frame) / 2000));
    RenderingUnit bare;
    const auto format = platform::AVAudioFormat::initStandardFormatWithSampleRate(rate, 2);
    for (auto* busses : {bare.unit->inputBusses().get(), bare.unit->outputBusses().get()})
        (*busses)[0]->setFormat(format, nullptr);
    bare.allocate();
    const auto input = noise(1024);
    render(*instance_, input, 1024);
    bare.render(input);
    EXPECT_EQ(render(*instance_, input, 1024, storm), bare.render(input, storm));
    EXPECT_EQ(instance_->value(kPanorama), 4999.0f / 5000);
    // Out of order: no event is lost, and the later of one parameter stays.
    std::ranges::reverse(storm);
    render(*instance_, input, 1024, storm);
    EXPECT_EQ(instance_->value(kPanorama), 0);
    EXPECT_EQ(instance_->value(kSwapChannels), 1);
}

TEST_F(InstanceTest, EmptyBlockAppliesItsEvents) {
    const auto input = noise(5000);
    const auto expected = render(*fresh(), input, 500, {parameterEvent(0, kPanorama, 0.1f)});
    test::playBlock(*instance_, {}, {}, 0, std::vector{parameterEvent(3, kPanorama, 0.1f)});
    EXPECT_EQ(render(*instance_, input, 500), expected);
}

// Nor a block with crossed channels that is longer than the longest of the activation.
TEST_F(InstanceTest, FlushToZeroOfTheHostChangesNoBit) {
#if defined(__SSE__)
    Stereo tiny = noise(3 * late);
    for (auto* channel : {&tiny.left, &tiny.right})
        for (auto& sample : *channel) sample *= 1e-38f;
    const std::vector<AURenderEvent> wide{parameterEvent(0, kStereoWidth, 0.9f)};
    const auto expected = render(*fresh(), tiny, 1024, wide);
    const unsigned host = _mm_getcsr() | 0x8040;  // flush results and operands to zero
    const unsigned before = _mm_getcsr();
    _mm_setcsr(host);
    Stereo output{tiny.right, tiny.left};
    test::playBlock(*instance_, {output.right.data(), output.left.data()},
                    {output.left.data(), output.right.data()}, 3 * late, wide);
    const unsigned after = _mm_getcsr();
    _mm_setcsr(before);
    EXPECT_EQ(after & 0x8040, 0x8040u);
    EXPECT_EQ(output, expected);
    EXPECT_TRUE(std::ranges::any_of(
        output.left, [](float sample) { return std::fpclassify(sample) == FP_SUBNORMAL; }));
#else
    GTEST_SKIP() << "no such mode here";
#endif
}

TEST_F(InstanceTest, AResetNeverChangesTheBypass) {
    const std::jthread audio([&](const std::stop_token& stop) {
        while (!stop.stop_requested()) instance_->reset();
    });
    int wrong = 0;
    for (int i = 0; i < 20000; ++i) {
        const auto bypass = static_cast<float>(i / 10 % 2);  // also several times the same
        instance_->setValue(kBypass, bypass);
        wrong += instance_->value(kBypass) != bypass || instance_->latency() != (bypass ? 0 : late);
    }
    EXPECT_EQ(wrong, 0);
}

TEST_F(InstanceTest, IsSilentAfterAResetAndWhileInactive) {
    render(*instance_, noise(late), late);
    instance_->reset();
    EXPECT_EQ(render(*instance_, noise(late), late).left, std::vector<float>(late));
    instance_->deactivate();
    EXPECT_EQ(render(*instance_, ramp(3), 3), (Stereo{{0, 0, 0}, {0, 0, 0}}));
    platform::NSError error;
    EXPECT_FALSE(instance_->activate(0, 512, &error));
    EXPECT_TRUE(error);
    EXPECT_FALSE(instance_->activate(std::nan(""), 512, nullptr));
    EXPECT_TRUE(instance_->activate(384000, 0, nullptr));
}

TEST_F(InstanceTest, ChangesOnTheAudioThreadReachObserversOnceAndNotTheHost) {
    std::vector<std::string> observed;
    instance_->audioUnit().parameterTree()->tokenByAddingParameterObserver(
        [&](std::uint64_t address, float value) {
            observed.push_back(fmt::format("{}={:.2f}", address, value));
        });
    std::thread([&] {
        render(*instance_, ramp(64), 64,
               {parameterEvent(0, kPanorama, 0.1f), parameterEvent(9, kPanorama, 0.2f),
                midiEvent(9, 0xb0, 11, 127)});
    }).join();
    EXPECT_THAT(observed, IsEmpty());
    instance_->pump();
    // The activation reports the phase shift, whose text names samples of the new rate.
    EXPECT_THAT(observed, ElementsAre("0=1.00", "1=0.20", "2=0.00"));
    instance_->pump();
    EXPECT_EQ(observed.size(), 3u);
    EXPECT_THAT(edits(), IsEmpty());
}

TEST_F(InstanceTest, EditsReachTheHostWithTheirGesture) {
    edit(kPanorama, 0.25f);
    EXPECT_THAT(edits(), ElementsAre("begin 1", "1=0.25", "end 1"));

    instance_->touchBegan();
    edit(kStereoWidth, 0.1f);
    EXPECT_THAT(edits(), ElementsAre("begin 0", "0=0.10"));
    edit(kStereoWidth, 0.2f);
    edit(kStereoWidth, 0.3f);
    EXPECT_THAT(edits(), ElementsAre("0=0.30"));
    EXPECT_FALSE(instance_->edits().isPending());
    instance_->touchEnded();
    EXPECT_TRUE(instance_->edits().isPending());
    EXPECT_THAT(edits(), ElementsAre("end 0"));
    EXPECT_FALSE(instance_->edits().isPending());
    EXPECT_THAT(edits(), IsEmpty());
}

TEST_F(InstanceTest, ManyEditsStayBoundedAndInOrderWhileTheHostTakesThem) {
    std::atomic<bool> stop{false};
    std::thread editor([&] {
        for (int i = 0; i <= 20000; ++i) edit(kPanorama, static_cast<float>(i) / 20000);
        stop = true;
    });
    float last = -1;
    const auto takeEdits = [&] {
        instance_->edits().take([&](const EditExchange::Edit& edit) {
            ASSERT_GE(edit.value, last) << "an older value after a newer one";
            last = edit.value;
        });
    };
    while (!stop) takeEdits();
    editor.join();
    takeEdits();
    EXPECT_EQ(last, 1);
}

TEST_F(InstanceTest, StateKeepsThePresetAndRepairsInvalidValues) {
    instance_->setValue(kPanorama, 0.9f);
    instance_->audioUnit().setCurrentPreset(std::make_shared<platform::AUAudioUnitPreset>(
        platform::AUAudioUnitPreset{-3, "Mine\nend=1"}));
    const auto saved = instance_->saveState();
    const auto other = fresh();
    for (std::size_t length = 0; length < saved.size(); ++length)
        EXPECT_FALSE(other->restoreState(saved.substr(0, length))) << length;
    other->editMemory().history.add({other->settings(), instance_->settings()});
    ASSERT_TRUE(other->restoreState(saved));
    EXPECT_FALSE(other->editMemory().history.canUndo());
    EXPECT_EQ(other->value(kPanorama), 0.9f);
    EXPECT_EQ(other->audioUnit().currentPreset()->number, -3);
    EXPECT_EQ(other->audioUnit().currentPreset()->name, "Mine end=1");

    other->setValue(kStereoWidth, 0.1f);  // becomes the default
    EXPECT_FALSE(other->restoreState("QOV Kelvane state 2\nvalue.0=1\nend\n"));
    EXPECT_TRUE(other->restoreState(
        "QOV Kelvane state 1\n=\nvalue.0=nan\nvalue.1=1e-400\nvalue.3=7\nvalue.4=1e999\nvalue.2=x\n"
        "value.99=1\nvalue.=1\npreset=many\nlater=1\nend\nvalue.2=1\n"));
    EXPECT_EQ(other->value(kStereoWidth), 0.5f);
    EXPECT_EQ(other->value(kPanorama), 0) << "a subnormal value";
    EXPECT_EQ(other->value(kPhaseShift), 0);
    EXPECT_EQ(other->value(kSwapChannels) + other->value(kInvertChannel), 2);
}

TEST_F(InstanceTest, RestoringAStateIsOneStepForTheSoundAndForListeners) {
    const auto donor = fresh();
    // Bypassed throughout, so that no block may come out late; the factory preset is not.
    for (std::uint64_t address = 0; address < parameterCount; ++address)
        donor->setValue(address, 1);
    const auto on = donor->saveState();
    for (std::uint64_t address = 0; address < kBypass; ++address) donor->setValue(address, 0.25f);
    const auto other = donor->saveState();
    ASSERT_TRUE(instance_->restoreState(on));

    const auto tree = instance_->audioUnit().parameterTree();
    const auto token = tree->tokenByAddingParameterObserver([&](std::uint64_t, float) {
        // All have their new values already, whichever is reported.
        EXPECT_EQ(instance_->value(kPanorama), instance_->value(kStereoWidth));
        EXPECT_EQ(instance_->value(kTestMono) == 1, instance_->value(kStereoWidth) == 1);
        EXPECT_EQ(instance_->value(kBypass), 1);
    });
    const auto in = noise(64);
    std::atomic<int> blocks{0}, wrong{0};
    std::jthread audio([&](const std::stop_token& stop) {
        auto out = in;
        while (!stop.stop_requested()) {
            instance_->process({in.left.data(), in.right.data()},
                               {out.left.data(), out.right.data()}, 64);
            wrong += out.left != in.left || out.right != in.right;
            ++blocks;
        }
    });
    for (int i = 0; i < 2000 || blocks < 2000; ++i)
        ASSERT_TRUE(instance_->restoreState(i % 2 ? on : other));
    audio.request_stop();
    audio.join();
    tree->removeParameterObserver(token);
    EXPECT_EQ(wrong, 0) << "of " << blocks << " blocks";
    EXPECT_THAT(edits(), IsEmpty());
}

TEST_F(InstanceTest, RestoringAStateUndoesNoEventOfALaterBlock) {
    const auto donor = fresh();
    std::vector<AURenderEvent> events;
    for (std::uint64_t address = 0; address < kBypass; ++address) {
        donor->setValue(address, 0);
        events.push_back(parameterEvent(0, address, 1));
    }
    const auto zeros = donor->saveState();
    std::atomic<int> phase{0}, seen{0};  // odd while blocks are rendered
    const std::jthread audio([&](const std::stop_token& stop) {
        float left = 0, right = 0;
        while (!stop.stop_requested()) {
            const int current = phase;
            if (current % 2)
                test::playBlock(*instance_, {&left, &right}, {&left, &right}, 1, events);
            if (seen.exchange(current) == current) std::this_thread::yield();
        }
    });
    const auto enter = [&](int next) {
        phase = next;
        while (seen != next) std::this_thread::yield();
    };
    // A state and the events of a block each set all values: between blocks the values are equal.
    // A machine with other work to do takes a while for each hand-over.
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(5);
    int undone = 0;
    for (int i = 0; i < 10000 && std::chrono::steady_clock::now() < end; i += 2) {
        enter(i + 1);
        EXPECT_TRUE(instance_->restoreState(zeros));
        enter(i + 2);
        for (std::uint64_t address = 1; address < kBypass; ++address)
            undone += instance_->value(address) != instance_->value(0);
    }
    EXPECT_EQ(undone, 0);
}

}  // namespace
}  // namespace qov::hosts
