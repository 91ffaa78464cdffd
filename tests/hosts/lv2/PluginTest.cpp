// What is LV2's own: control ports against messages and saved states, questions, wrong atoms.

#include <cmath>
#include <cstring>
#include <limits>
#include <random>
#include <utility>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "dsp/ParameterAddress.h"
#include "hosts/instance/product.h"
#include "hosts/lv2/Plugin.h"
#include "hosts/lv2/bodyFunctions.h"
#include "tests/audiounit/RenderingUnit.h"
#include "tests/hosts/lv2/Lv2Host.h"

namespace qov::test {
namespace {

using platform::AURenderEvent;
using testing::ElementsAre;
using testing::FieldsAre;

class Lv2Plugin : public testing::Test {
 protected:
    static constexpr std::uint32_t frames = 100;

    Lv2Plugin() { host.activate(); }

    static float value(Lv2Host& of, std::uint64_t address) {
        return static_cast<hosts::lv2::Plugin*>(of.handle())->instance().value(address);
    }
    float value(std::uint64_t address) { return value(host, address); }

    void run(Lv2Host& of, const std::vector<AURenderEvent>& events = {}) {
        memory_.assign(2 * frames, 0.5F);
        of.connectAudio({memory_.data(), memory_.data() + frames},
                        {memory_.data(), memory_.data() + frames});
        of.takeAnswers();
        of.send(events);
        of.run(frames);
    }
    void run(const std::vector<AURenderEvent>& events = {}) { run(host, events); }

    static std::string uri(const std::string& name) {
        return std::string(hosts::product::uri) + "#" + name;
    }

    ConsoleLines quiet_;
    std::vector<float> memory_;  // of the audio ports, which stay connected
    Lv2Host host{*kelvane_lv2_plugin(), {}};
};

TEST_F(Lv2Plugin, APortSpeaksWhenItChangesAndAMessageHoldsMeanwhile) {
    host.controls[kStereoWidth] = 0.8F;
    run();
    EXPECT_EQ(value(kStereoWidth), 0.8F) << "heard by the first block";
    run({parameterEvent(99, kStereoWidth, 0.1F)});
    run();
    EXPECT_EQ(value(kStereoWidth), 0.1F) << "the port stands still";
    host.controls[kStereoWidth] = 0.3F;
    run({parameterEvent(0, kPanorama, 0.9F)});
    EXPECT_EQ(value(kStereoWidth), 0.3F);
    host.controls[kStereoWidth] = std::numeric_limits<float>::quiet_NaN();
    run();
    EXPECT_EQ(value(kStereoWidth), 0.3F);
    host.controls[kStereoWidth] = 4;
    run();
    EXPECT_EQ(value(kStereoWidth), 1);
    EXPECT_EQ(value(kPanorama), 0.9F);
}

TEST_F(Lv2Plugin, ObeysAHostThatTellsTheEditorOfPortsWhileItStandsStill) {
    auto& plugin = *static_cast<hosts::lv2::Plugin*>(host.handle());
    const auto hear = [&](int idleCalls, float port) {
        for (int i = 0; i < idleCalls; ++i) plugin.watch();
        plugin.portChanged(kStereoWidth, port);
        return value(kStereoWidth);
    };
    run();
    EXPECT_EQ(hear(10, 0.3F), 0.5F) << "a block has run within the first of these calls";
    EXPECT_EQ(hear(1, 0.3F), 0.3F);
    plugin.controls().hold(kStereoWidth);
    EXPECT_EQ(hear(1, 0.2F), 0.3F) << "a hand is on it";
    plugin.controls().release(kStereoWidth);
    plugin.portChanged(kBypass, 0);
    EXPECT_EQ(value(kBypass), 1) << "by its port's sense";
}

TEST_F(Lv2Plugin, EnabledIsTheOppositeOfBypassAndDecidesTheLatency) {
    run();
    EXPECT_EQ(host.latency, 2048);
    host.controls[kBypass] = 0;
    run();
    EXPECT_EQ(value(kBypass), 1);
    EXPECT_EQ(host.latency, 0);
    host.controls[kBypass] = 0.1F;  // on is what lies above 0
    run();
    EXPECT_EQ(value(kBypass), 0);
    run({parameterEvent(3, kBypass, 1)});
    EXPECT_EQ(host.latency, 0) << "a message means the parameter";
}

TEST_F(Lv2Plugin, AStateAndThePortsThatAHostSavesBesideItAreOneSetting) {
    host.controls[kStereoWidth] = 0.7F;
    host.controls[kPhaseShift] = 0.2F;
    run({parameterEvent(5, kStereoWidth, 0.1F)});
    const auto saved = host.save();
    const auto restored = [&](std::array<float, 8> controls, const Lv2Host::State& state) {
        Lv2Host other(*kelvane_lv2_plugin(), {});
        EXPECT_TRUE(other.restore(state));
        other.controls = controls;
        other.activate();
        run(other);
        return std::pair(value(other, kStereoWidth), value(other, kPhaseShift));
    };
    EXPECT_THAT(restored(host.controls, saved), FieldsAre(0.1F, 0.2F)) << "as it was";
    auto edited = host.controls;
    edited[kStereoWidth] = 0.9F;
    EXPECT_THAT(restored(edited, saved), FieldsAre(0.9F, 0.2F)) << "what the host changed since";
    auto writtenDown = host.controls;
    writtenDown[kStereoWidth] = 0.700001F;
    EXPECT_THAT(restored(writtenDown, saved), FieldsAre(0.1F, 0.2F)) << "in six digits";
    EXPECT_THAT(restored(edited, {}), FieldsAre(0.9F, 0.2F)) << "a preset of ports alone";
    auto withoutPorts = saved;
    withoutPorts.erase(uri("heard_ports"));
    EXPECT_THAT(restored(edited, withoutPorts), FieldsAre(0.9F, 0.2F));

    // A preset of ports alone speaks, too, where a message went past a port that has its value.
    EXPECT_TRUE(host.restore({}));
    run();
    EXPECT_EQ(value(kStereoWidth), 0.7F);
    EXPECT_FALSE(host.restore({{uri("state"), "QOV Kelvane state 9\nend\n"}}));
}

TEST_F(Lv2Plugin, AnswersQuestionsAboutOneParameterOrAll) {
    host.controls[kStereoWidth] = 0.25F;
    run({parameterEvent(9, kTestMono, 1)});
    run();
    host.takeAnswers();
    host.send({.kind = "Get", .property = uri("stereo_width"), .sequenceNumber = 7}, 3);
    host.send({.kind = "Get"}, 4);
    host.run(frames);
    const auto answers = host.takeAnswers();
    ASSERT_EQ(answers.size(), 2U);
    EXPECT_EQ(answers[0].kind, "Set");
    EXPECT_EQ(answers[0].sequenceNumber, 7);
    EXPECT_THAT(answers[0].values, ElementsAre(std::pair(uri("stereo_width"), 0.25F)));
    EXPECT_EQ(answers[1].kind, "Put");
    EXPECT_EQ(answers[1].values.size(), 8U);
    EXPECT_EQ(answers[1].values.at(uri("test_mono")), 1);

    // What is put is taken up again.
    Lv2Host other(*kelvane_lv2_plugin(), {});
    other.activate();
    run(other);
    other.send(answers[1], 0);
    other.run(frames);
    EXPECT_EQ(value(other, kStereoWidth), 0.25F);
    EXPECT_EQ(value(other, kTestMono), 1);
}

TEST_F(Lv2Plugin, AtomsThatLieAboutTheirSizesAreNotReadBeyondTheirEnd) {
    std::minstd_rand random(1);
    std::vector<AURenderEvent> events;
    for (std::uint32_t i = 0; i < 20; ++i)
        events.push_back(i % 3 ? parameterEvent(i, i % 9, 0.5F) : midiEvent(i, 0xb0, 10, 3));
    host.send(events);
    const auto whole = host.messageBytes();
    for (int round = 0; round < 3000; ++round) {
        auto bytes = whole;
        for (int change = 0; change < 4; ++change)
            bytes[8 + random() % (bytes.size() - 8)] = static_cast<std::uint8_t>(random());
        // On the heap, cut to the length that it says, so that a sanitizer sees the end.
        const auto size = static_cast<std::uint32_t>(random() % (bytes.size() - 8));
        std::memcpy(bytes.data(), &size, sizeof size);
        std::vector<std::uint64_t> exact((8 + size + 7) / 8);
        std::memcpy(exact.data(), bytes.data(), 8 + size);
        host.connectMessages(exact.data());
        host.run(frames);
        for (std::uint64_t address = 0; address < 8; ++address) {
            const float now = value(address);
            ASSERT_TRUE(now >= 0 && now <= 1);
        }
    }
}

TEST_F(Lv2Plugin, RunsWithoutUridMapAndRefusesARateThatIsNone) {
    Lv2Host plain(*kelvane_lv2_plugin(), {.hasMap = false});
    ASSERT_TRUE(plain.handle());
    plain.controls[kPanorama] = 0.2F;
    plain.activate();
    run(plain, {parameterEvent(0, kPanorama, 1)});
    EXPECT_EQ(value(plain, kPanorama), 0.2F);
    EXPECT_TRUE(plain.save().empty());
    testing::internal::CaptureStderr();
    for (const double rate : {0., -1., std::nan(""), HUGE_VAL})
        EXPECT_FALSE(Lv2Host(*kelvane_lv2_plugin(), {.rate = rate}).handle());
    EXPECT_THAT(testing::internal::GetCapturedStderr(), testing::HasSubstr("sample rate"));
}

/// A hand on a control, and a host that echoes what it was told block by block, or does not.
TEST(ControlPorts, AHandHoldsAParameterUntilTheHostHasEchoedItsLastValue) {
    hosts::lv2::ControlPorts ports(1000);
    float port = 0.5F;
    ports.connect(0, &port);
    std::vector<float> heard;
    const auto block = [&](float value) {
        port = value;
        ports.take(100, [&](std::uint64_t, float said) { heard.push_back(said); });
    };
    const auto hear = [&] { return std::exchange(heard, {}); };
    block(0.5F);
    EXPECT_THAT(hear(), ElementsAre(0.5F));
    ports.hold(0);
    ports.wrote(0, 0.6F);
    block(0.6F);
    ports.wrote(0, 0.7F);
    ports.wrote(0, 0.8F);
    ports.release(0);
    block(0.7F);
    block(0.8F);
    EXPECT_THAT(hear(), ElementsAre()) << "late echoes";
    block(0.7F);
    EXPECT_THAT(hear(), ElementsAre(0.7F)) << "the host's own, from then on";

    for (const float turned : {0.1F, 0.2F, 0.3F, 0.4F}) {  // a wheel, whose hand no block sees
        const float before = port;
        ports.hold(0);
        ports.wrote(0, turned);
        ports.release(0);
        block(before);
        block(turned);
    }
    EXPECT_THAT(hear(), ElementsAre()) << "each echo has its own patience";

    ports.hold(0);
    ports.wrote(0, 0.9F);
    ports.release(0);
    for (int i = 0; i < 4; ++i) block(0.1F);
    EXPECT_THAT(hear(), ElementsAre(0.1F)) << "a host that insists, after a quarter of a second";
    ports.hold(0);
    ports.wrote(0, 0.6F);
    ports.release(0);
    for (int i = 0; i < 4; ++i) block(0.1F);
    EXPECT_THAT(hear(), ElementsAre(0.1F)) << "undone by the host before anything was processed";
    ports.hold(0);
    block(0.2F);
    ports.release(0);
    block(0.2F);
    EXPECT_THAT(hear(), ElementsAre(0.2F)) << "held, but not moved";
}

}  // namespace
}  // namespace qov::test
