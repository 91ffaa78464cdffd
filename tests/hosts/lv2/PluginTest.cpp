// LV2's own parts: control ports against messages and saved states, questions, malformed atoms.

#include <cmath>
#include <cstring>
#include <limits>
#include <random>
#include <sstream>

#include <gmock/gmock.h>

#include "dsp/ParameterAddress.h"
#include "hosts/lv2/Plugin.h"
#include "hosts/lv2/bodyFunctions.h"
#include "tests/audiounit/RenderingUnit.h"
#include "tests/hosts/lv2/Lv2Host.h"

namespace qov::test {
namespace {

using platform::AURenderEvent;
using testing::FieldsAre;

constexpr std::uint32_t frames = 100;

/// A host with active blocks of a constant signal.
struct Host : Lv2Host {
    explicit Host(const Options& options = {}) : Lv2Host(*kelvane_lv2_plugin(), options) {
        if (handle) activate();
    }
    hosts::lv2::Plugin& plugin() const { return *static_cast<hosts::lv2::Plugin*>(handle); }
    float value(std::uint64_t address) const { return plugin().instance().value(address); }
    void play(const std::vector<AURenderEvent>& events = {}) {
        send(events);
        playSent();
    }
    void playSent() {
        memory.assign(2 * frames, 0.5F);
        auto *left = memory.data(), *right = left + frames;
        connectAudio({left, right}, {left, right});
        run(frames);
    }

    std::vector<float> memory;  // of the audio ports, which stay connected
};

class Lv2Plugin : public testing::Test {
 protected:
    ConsoleLines quiet_;
    Host host;
};

TEST_F(Lv2Plugin, APortSetsItsParameterOnlyWhenItChanges) {
    host.controls[kStereoWidth] = 0.8F;
    host.play();
    EXPECT_EQ(host.value(kStereoWidth), 0.8F) << "by the first block";
    host.play({parameterEvent(99, kStereoWidth, 0.1F)});
    host.play();
    EXPECT_EQ(host.value(kStereoWidth), 0.1F) << "the port has not changed";
    const auto playPort = [&](float port) {
        host.controls[kStereoWidth] = port;
        host.play({parameterEvent(0, kPanorama, 0.9F)});
        return host.value(kStereoWidth);
    };
    EXPECT_EQ(playPort(0.3F), 0.3F);
    EXPECT_EQ(playPort(std::numeric_limits<float>::quiet_NaN()), 0.3F);
    EXPECT_EQ(playPort(4), 1);
    EXPECT_EQ(host.value(kPanorama), 0.9F);
}

TEST_F(Lv2Plugin, TakesPortEventsOfTheEditorWhileNoBlocksAreProcessed) {
    const auto change = [&](int idleCalls, float port) {
        for (int i = 0; i < idleCalls; ++i) host.plugin().watch();
        host.plugin().portChanged(kStereoWidth, port);
        return host.value(kStereoWidth);
    };
    host.play();
    EXPECT_EQ(change(10, 0.3F), 0.5F) << "a block has run within the first of these calls";
    EXPECT_EQ(change(1, 0.3F), 0.3F);
    host.plugin().controls().hold(kStereoWidth);
    EXPECT_EQ(change(1, 0.2F), 0.3F) << "a person holds it";
    host.plugin().controls().release(kStereoWidth);
    host.plugin().portChanged(kBypass, 0);
    EXPECT_EQ(host.value(kBypass), 1) << "in the port's sense";
}

TEST_F(Lv2Plugin, EnabledIsTheOppositeOfBypassAndDecidesTheLatency) {
    const auto play = [&](float port, const std::vector<AURenderEvent>& events = {}) {
        host.controls[kBypass] = port;
        host.play(events);
        return std::pair(host.value(kBypass), host.latency);
    };
    EXPECT_THAT(play(1), FieldsAre(0, 2048));
    EXPECT_THAT(play(0), FieldsAre(1, 0));
    EXPECT_THAT(play(0.1F), FieldsAre(0, 2048)) << "on above 0";
    EXPECT_THAT(play(0.1F, {parameterEvent(3, kBypass, 1)}), FieldsAre(1, 0))
        << "a message sets the parameter";
}

TEST_F(Lv2Plugin, AStateAndThePortsThatAHostSavesBesideItAreOneSetting) {
    host.controls[kStereoWidth] = 0.7F;
    host.controls[kPhaseShift] = 0.2F;
    host.play({parameterEvent(5, kStereoWidth, 0.1F)});
    const auto saved = host.save();
    auto withoutPorts = saved;
    withoutPorts.erase(hosts::lv2::seenPortsUri());
    for (const auto& [what, port, width, state] :
         std::vector<std::tuple<const char*, float, float, Lv2Host::State>>{
             {"as it was", 0.7F, 0.1F, saved},
             {"changed by the host since", 0.9F, 0.9F, saved},
             {"saved with six digits", 0.700001F, 0.1F, saved},
             {"a preset of ports alone", 0.9F, 0.9F, {}},
             {"without the ports' values", 0.9F, 0.9F, withoutPorts}}) {
        Host other;
        EXPECT_TRUE(other.restore(state));
        other.controls = host.controls;
        other.controls[kStereoWidth] = port;
        other.play();
        EXPECT_EQ(other.value(kStereoWidth), width) << what;
        EXPECT_EQ(other.value(kPhaseShift), 0.2F) << what;
    }
    // A preset of ports alone sets a parameter that a message has changed since, too.
    EXPECT_TRUE(host.restore({}));
    host.play();
    EXPECT_EQ(host.value(kStereoWidth), 0.7F);
    EXPECT_FALSE(host.restore({{hosts::lv2::stateUri(), "QOV Kelvane state 9\nend\n"}}));
}

TEST_F(Lv2Plugin, AnswersQuestionsAboutOneParameterOrAll) {
    const auto width = hosts::lv2::ownUri("stereo_width");
    host.controls[kStereoWidth] = 0.25F;
    host.play({parameterEvent(9, kTestMono, 1)});
    host.takeAnswers();
    host.send({});
    host.add(LV2_PATCH__Get, 3, width, {}, 7);
    host.add(LV2_PATCH__Get, 4, "");
    host.playSent();

    // A plug-in accepts the answers as messages.
    Host other;
    other.play();
    other.connect(hosts::lv2::eventsPort, host.notify.data());
    other.playSent();
    EXPECT_EQ(other.value(kStereoWidth), 0.25F);
    EXPECT_EQ(other.value(kTestMono), 1);
    EXPECT_EQ(host.takeAnswers(),
              "Set subject urn:qov:kelvane sequenceNumber 7 property stereo_width value 0.250000\n"
              "Put subject urn:qov:kelvane body  stereo_width 0.250000 panorama 0.500000 "
              "phase_shift 0.000000 swap_channels 0.000000 invert_channel 0.000000 "
              "recover_mono 0.000000 test_mono 1.000000 bypass 0.000000\n");
}

TEST_F(Lv2Plugin, AtomsWithWrongSizesAreNotReadBeyondTheirEnd) {
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
        // On the heap, cut to the length in its head, so that a sanitizer sees the end.
        const auto size = static_cast<std::uint32_t>(random() % (bytes.size() - 8));
        std::memcpy(bytes.data(), &size, sizeof size);
        std::vector<std::uint64_t> exact((8 + size + 7) / 8);
        std::memcpy(exact.data(), bytes.data(), 8 + size);
        host.connect(hosts::lv2::eventsPort, exact.data());
        host.playSent();
        for (std::uint64_t address = 0; address < 8; ++address)
            ASSERT_TRUE(host.value(address) >= 0 && host.value(address) <= 1);
    }
}

TEST_F(Lv2Plugin, RunsWithoutUridMapAndRefusesAnInvalidRate) {
    Host plain({.hasMap = false});
    ASSERT_TRUE(plain.handle);
    plain.controls[kPanorama] = 0.2F;
    plain.play({parameterEvent(0, kPanorama, 1)});
    EXPECT_EQ(plain.value(kPanorama), 0.2F);
    EXPECT_TRUE(plain.save().empty());
    testing::internal::CaptureStderr();
    for (const double rate : {0., -1., std::nan(""), HUGE_VAL})
        EXPECT_FALSE(Host({.rate = rate}).handle);
    EXPECT_THAT(testing::internal::GetCapturedStderr(), testing::HasSubstr("sample rate"));
}

// Steps, each with a value: b (a block with the port at it), w (the editor writes it), t (turns the
// control to it: holds, writes, releases), h (holds), r (releases).
TEST(ControlPorts, AHeldParameterKeepsItsValueUntilTheHostHasEchoedTheLastOne) {
    hosts::lv2::ControlPorts ports(1000);
    float port = 0;
    ports.connect(0, &port);
    for (const auto& [what, steps, expected] : std::vector<std::array<std::string, 3>>{
             {"the first block", "b.5", "0.5 "},
             {"late echoes", "h0 w.6 b.6 h0 w.7 w.8 r0 b.7 b.8", ""},
             {"a change of the host's own", "b.7", "0.7 "},
             {"a wheel's turns within no block: each echo has its own time limit",
              "t.1 b.7 b.1 t.2 b.1 b.2 t.3 b.2 b.3 t.4 b.3 b.4", ""},
             {"no echo for a quarter of a second", "t.9 b.1 b.1 b.1 b.1", "0.1 "},
             {"undone by the host before anything was processed", "t.6 b.1 b.1 b.1 b.1", "0.1 "},
             {"held, but not moved", "h0 b.2 r0 b.2", "0.2 "}}) {
        std::istringstream in(steps);
        std::ostringstream reported;
        float value = 0;
        for (char step = 0; in >> step >> value;) {
            if (step == 'h' || step == 't') ports.hold(0);
            if (step == 'w' || step == 't') ports.wrote(0, value);
            if (step == 'r' || step == 't') ports.release(0);
            if (step != 'b') continue;
            port = value;
            ports.take(100, [&](std::uint64_t, float now) { reported << now << ' '; });
        }
        EXPECT_EQ(reported.str(), expected) << what;
    }
}

}  // namespace
}  // namespace qov::test
