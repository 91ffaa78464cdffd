#include <poll.h>
#include <travesty/component.h>
#include <travesty/edit_controller.h>

#include <array>
#include <cmath>
#include <cstdint>
#include <functional>
#include <limits>
#include <string>
#include <tuple>
#include <utility>

#include <gtest/gtest.h>

#include "hosts/instance/Instance.h"
#include "hosts/instance/presetBank.h"
#include "hosts/vst3/Interface.h"
#include "hosts/vst3/createPlugin.h"
#include "hosts/vst3/identity.h"
#include "tests/hosts/vst3/Host.h"
#include "tests/hosts/window/Screen.h"

namespace qov::hosts::vst3 {
namespace {

namespace host = test::vst3;

/// A plug-in and the interfaces by which a host holds it.
struct Loaded {
    explicit Loaded(v3_funknown** host = nullptr)
        : unknown(host::adopted(kelvane_vst3_create(host))) {}

    template <class Interface>
    Held<Interface> ask(const v3_tuid id) const {
        return Held<Interface>::of(unknown.get(), id);
    }
    double value(v3_param_id id) const {
        return controller(&v3_edit_controller::get_parameter_normalised, id);
    }
    void set(v3_param_id id, double value) const {
        controller(&v3_edit_controller::set_parameter_normalised, id, value);
    }
    std::uint32_t latency() const { return processor(&v3_audio_processor::get_latency_samples); }
    void setActive(bool isActive) const { component(&v3_component::set_active, v3_bool{isActive}); }

    Held<v3_funknown> unknown;
    Held<v3_component> component = ask<v3_component>(v3_component_iid);
    Held<v3_audio_processor> processor = ask<v3_audio_processor>(v3_audio_processor_iid);
    Held<v3_edit_controller> controller = ask<v3_edit_controller>(v3_edit_controller_iid);
};

TEST(Vst3, TakesStereoOfFloatsAlone) {
    const Loaded effect;
    v3_speaker_arrangement stereo = V3_SPEAKER_L | V3_SPEAKER_R, mono = V3_SPEAKER_M;
    for (auto* in : {&stereo, &mono, static_cast<v3_speaker_arrangement*>(nullptr)})
        for (auto* out : {&stereo, &mono})
            EXPECT_EQ(effect.processor(&v3_audio_processor::set_bus_arrangements, in,
                                       std::int32_t{in != nullptr}, out, 1) == V3_OK,
                      in == &stereo && out == &stereo);
    const auto setUp = [&](double rate, std::int32_t sampleSize) {
        v3_process_setup setup{V3_REALTIME, sampleSize, 512, rate};
        return effect.processor(&v3_audio_processor::setup_processing, &setup);
    };
    EXPECT_EQ(setUp(48000, V3_SAMPLE_32), V3_OK);
    EXPECT_NE(setUp(48000, V3_SAMPLE_64), V3_OK);
    for (const double rate : {0.0, -1.0, std::numeric_limits<double>::quiet_NaN()})
        EXPECT_NE(setUp(rate, V3_SAMPLE_32), V3_OK);
    v3_process_data data{};
    data.symbolic_sample_size = V3_SAMPLE_64;
    EXPECT_NE(effect.processor(&v3_audio_processor::process, &data), V3_OK);
}

TEST(Vst3, ReportsTheHostsValuesBeforeABlockHasThem) {
    const Loaded effect;
    effect.setActive(true);
    v3_process_data flush{};
    EXPECT_EQ(effect.processor(&v3_audio_processor::process, &flush), V3_OK);
    effect.set(kPanorama, 0.25);
    effect.set(kBypass, 1);
    EXPECT_EQ(effect.value(kPanorama), 0.25);
    EXPECT_EQ(effect.latency(), 0U);
    // A program sets all values, also when it is chosen again.
    for (const double edited : {0.25, 0.75}) {
        effect.set(kPanorama, edited);
        effect.set(programId, 1);
        EXPECT_EQ(effect.value(kPanorama), double{presetBank.back().values[kPanorama]});
    }
    EXPECT_EQ(effect.value(programId), 1);
    EXPECT_EQ(effect.latency(), 2048U);
    effect.setActive(false);
    // It is part of a project's state.
    host::Stream state;
    EXPECT_EQ(effect.component(&v3_component::get_state, state.face()), V3_OK);
    const Loaded again;
    EXPECT_EQ(again.controller(&v3_edit_controller::set_component_state, state.face()), V3_OK);
    EXPECT_EQ(again.value(programId), 1);
    // A user's preset has no program; the one before, sent back, changes nothing.
    host::Stream users("QOV Kelvane state 1\npreset=-99\nname=Mine\nvalue.1=0.25\nend\n");
    EXPECT_EQ(again.component(&v3_component::set_state, users.face()), V3_OK);
    again.set(programId, 1);
    EXPECT_EQ(again.value(kPanorama), 0.25);
}

/// Frames of one level, processed in place.
struct Block {
    explicit Block(float level) { samples.fill(level); }
    void process(const Loaded& effect, host::Changes& changes) {
        float* channels[2] = {samples.data(), samples.data() + 64};
        v3_audio_bus_buffers bus{2, 3, {channels}};
        v3_process_data data{};
        data.nframes = 64;
        data.num_input_buses = data.num_output_buses = 1;
        data.inputs = data.outputs = &bus;
        data.input_params = changes.face();
        EXPECT_EQ(effect.processor(&v3_audio_processor::process, &data), V3_OK);
    }
    bool operator==(const Block&) const = default;

    std::array<float, 128> samples{};
};

TEST(Vst3, CallsDuringABlockReturnAtOnceAndCountInTheNext) {
    const Loaded effect;
    effect.setActive(true);
    host::Changes none, bypass, mute;
    bypass.add(kBypass, 0, 1);
    for (int i = 0; i < 100; ++i) Block(1).process(effect, none);
    const auto during = [&](const std::function<void()>& call) {
        host::Changes changes;
        changes.add(kPanorama, 0, 0.5).whenRead = call;
        Block(1).process(effect, changes);
    };
    Block inside(2), next(3), last(4);
    during([&] { effect.processor(&v3_audio_processor::set_processing, v3_bool{true}); });
    next.process(effect, none);
    EXPECT_EQ(next, Block(0)) << "a reset";

    during([&] { inside.process(effect, bypass); });
    EXPECT_EQ(inside, Block(0));
    last.process(effect, none);
    EXPECT_EQ(last, Block(4)) << "bypassed";

    // The same for changes while nothing is processed.
    effect.setActive(false);
    mute.add(volumeId, 0, 0);
    mute.add(kBypass, 0, 0);
    inside.process(effect, mute);
    effect.setActive(true);
    for (int i = 0; i < 3000; ++i) (last = Block(1)).process(effect, none);
    EXPECT_EQ(last, Block(0)) << "turned down";
}

TEST(Vst3, RunsOnTheLoopOfTheFactorysHostAsOftenAsItIsInitialised) {
    host::Host offered, given;
    const Loaded effect(offered.face());
    for (int round = 0; round < 2; ++round)
        for (auto* context : {static_cast<host::Host*>(nullptr), &given}) {
            v3_cpp_obj_initialize(effect.component.get(), context ? context->face() : nullptr);
            EXPECT_EQ(std::pair(offered.timers(), given.timers()),
                      context ? std::pair(0UL, 1UL) : std::pair(1UL, 0UL));
            v3_cpp_obj_terminate(effect.component.get());
            EXPECT_EQ(offered.timers() + given.timers(), 0);
        }
}

class Vst3View : public testing::Test {
 protected:
    static Held<v3_plugin_view> makeView(const Loaded& effect) {
        return host::adopted(effect.controller(&v3_edit_controller::create_view, "editor"));
    }
    static v3_result attach(const Held<v3_plugin_view>& view, std::uint64_t parent,
                            const char* type = V3_VIEW_PLATFORM_TYPE_X11) {
        return view(&v3_plugin_view::attached, reinterpret_cast<void*>(parent), type);
    }

    test::Screen screen_;
    std::uint64_t parent_ = test::Screen::makeWindow(680, 536);
    host::Host offered_;
};

TEST_F(Vst3View, NeedsARunLoopAndOutlivesThePlugin) {
    Held<v3_edit_controller> controller;
    Held<v3_plugin_view> view, second;
    {
        const Loaded without;
        EXPECT_NE(attach(makeView(without), parent_), V3_OK);
        const Loaded effect(offered_.face());
        view = makeView(effect);
        second = makeView(effect);
        controller = effect.controller;
        EXPECT_EQ(effect.controller(&v3_edit_controller::create_view, "inspector"), nullptr);
    }
    EXPECT_NE(attach(view, parent_, "HWND"), V3_OK);
    ASSERT_EQ(attach(view, parent_), V3_OK);
    EXPECT_NE(attach(view, parent_), V3_OK) << "it is attached";
    EXPECT_NE(attach(second, parent_), V3_OK) << "another is";
    EXPECT_EQ(view(&v3_plugin_view::removed), V3_OK);
    EXPECT_NE(view(&v3_plugin_view::removed), V3_OK);
    EXPECT_EQ(attach(second, parent_), V3_OK);  // and is released while it is open
}

class OpenVst3View : public Vst3View {
 protected:
    OpenVst3View() {
        effect_.controller(&v3_edit_controller::set_component_handler, offered_.handler());
        EXPECT_EQ(attach(view_, parent_), V3_OK);
    }
    void act(const std::string& hands) {
        test::Screen::xdo(hands);
        for (int turn = 0; turn < 30; ++turn) poll(nullptr, 0, 20), offered_.turn();
    }

    const Loaded effect_{offered_.face()};
    const Held<v3_plugin_view> view_ = makeView(effect_);
};

TEST_F(OpenVst3View, TakesTheKeysOfTheControlUnderTheMouse) {
    constexpr std::int16_t enter = 4, up = 12, shift = 1;
    const auto isTaken = [&](std::int16_t character, std::int16_t code, std::int16_t modifiers) {
        return view_(&v3_plugin_view::on_key_down, character, code, modifiers) == V3_OK;
    };
    const auto width = [&] {
        offered_.turn();
        return static_cast<float>(effect_.value(kStereoWidth));
    };
    act("mousemove 20 20");
    EXPECT_FALSE(isTaken(0, up, 0)) << "there is no control";
    act("mousemove 300 380");
    EXPECT_TRUE(isTaken(0, up, 0) && isTaken(0, up, shift));
    EXPECT_FALSE(isTaken('z', 0, 0));
    EXPECT_FLOAT_EQ(width(), 0.511F);
    EXPECT_TRUE(isTaken(0, enter, 0) && isTaken('-', 0, 0) && isTaken('5', 0, 0) &&
                isTaken(0, enter, 0));
    EXPECT_FLOAT_EQ(width(), 0.475F);
}

TEST_F(OpenVst3View, ReportsWhatTheStripChangesTogetherAsAGroup) {
    // B with a width and a panorama of its own, then A, then "Wider pad" and back.
    for (const auto& [hands, groups, program] :
         {std::tuple{"mousemove 20 20", 0, 0},
          {"mousemove 66 510 click 1 mousemove 350 375 click 4", 0, 0},
          {"mousemove 300 60 click 4", 0, 0},
          {"mousemove 30 510 click 1", 1, 0},
          {"mousemove 400 510 click 1 mousemove 300 156 click 1", 1, 4},
          {"mousemove 181 510 click 1", 1, 0}}) {
        act(hands);
        EXPECT_EQ(offered_.groups, groups) << hands;
        EXPECT_EQ(std::lround(effect_.value(programId) * (presetBank.size() - 1)), program);
    }
    EXPECT_EQ(effect_.value(kStereoWidth) + effect_.value(kPanorama), 1);
}

TEST_F(Vst3View, KeepsThePanelsProportionsAndTheHostsScale) {
    const Loaded effect;
    const auto view = makeView(effect);
    const auto fitting = [&](std::int32_t width, std::int32_t height) {
        v3_view_rect rect{0, 0, width, height};
        view(&v3_plugin_view::check_size_constraint, &rect);
        return std::pair(rect.right, rect.bottom);
    };
    EXPECT_EQ(fitting(1360, 550), std::pair(1360, 1072));
    EXPECT_EQ(fitting(690, 1072), std::pair(1360, 1072));
    EXPECT_EQ(fitting(1, 1), std::pair(170, 134));
    for (std::int32_t side = 300; side < 1300; ++side) {
        const auto size = fitting(side, 900 - side / 2);
        ASSERT_EQ(fitting(size.first, size.second), size);
    }
    v3_view_rect size{};
    EXPECT_NE(view(&v3_plugin_view::on_size, &size), V3_OK);
    const auto scale =
        Held<v3_plugin_view_content_scale>::of(view.get(), v3_plugin_view_content_scale_iid);
    scale(&v3_plugin_view_content_scale::set_content_scale_factor, 1.5F);
    view(&v3_plugin_view::get_size, &size);
    EXPECT_EQ(std::pair(size.right, size.bottom), std::pair(1020, 804));
    EXPECT_NE(scale(&v3_plugin_view_content_scale::set_content_scale_factor, 0.0F), V3_OK);
}

}  // namespace
}  // namespace qov::hosts::vst3
