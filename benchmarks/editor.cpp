// The cost of one tick of the editor (the correlograph redrawn, the window recomposed where it
// changed) against bare Cairo calls for the same shapes and surfaces in the same run, and of the
// line alone against one stroke of it (strokeAlone), whose picture it differs from by so much.
// Ratios are between the best of all repetitions, which alternate.

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <memory>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include <benchmark/benchmark.h>
#include <cairo.h>

#include "audiounit/QOV_Kelvane_PluginAudioUnit.h"
#include "audiounit/componentDescription.h"
#include "editor/AudioUnitViewController.h"
#include "editor/CorrelographViewAU.h"
#include "editor/StereoControls.h"
#include "platform/coregraphics/CGBitmapContext.h"
#include "platform/dispatch/RunLoop.h"
#include "platform/foundation/Console.h"
#include "platform/uikit/UIWindow.h"
#include "platform/uikit/ViewLayer.h"

namespace {

using namespace qov;
using Points = CorrelographBaseAU::Points;

const char* const modes[]{"points", "ovals", "bezier"};

/// Two decorrelated channels of a chord with some noise.
void fill(float* left, float* right, unsigned seed) {
    std::mt19937 random(seed);
    std::uniform_real_distribution<float> noise(-0.15f, 0.15f);
    for (int i = 0; i < 2048; ++i) {
        const float t = static_cast<float>(i) + 100 * static_cast<float>(seed);
        const float mid = 0.5f * std::sin(t * 0.031f) + 0.3f * std::sin(t * 0.073f);
        const float side = 0.4f * std::sin(t * 0.047f + 1);
        left[i] = mid + side + noise(random);
        right[i] = mid - side + noise(random);
    }
}

class Editor {
 public:
    Editor(const char* mode, double scale) {
        platform::console::setSink({});
        controller_->createAudioUnit(componentDescription, nullptr);
        window_ = std::make_shared<platform::UIWindow>(platform::CGSize{680, 440}, scale);
        window_->setRootViewController(controller_);
        loop_->pump();
        graph().drawMode = mode;
        tick(0);
    }
    void tick(unsigned seed) {
        auto& unit = *controller_->audioUnit();
        fill(unit.getBufferLeft(), unit.getBufferRight(), seed);
        draw();
    }
    /// Redraws what is in the capture, and shows it.
    void draw() {
        controller_->correlographView->setNeedsDisplay();
        window_->update();
    }
    void setSignal(unsigned seed) {
        auto& unit = *controller_->audioUnit();
        fill(unit.getBufferLeft(), unit.getBufferRight(), seed);
    }
    const Points& points() {
        auto& unit = *controller_->audioUnit();
        return graph().computePoints(unit.getBufferLeft(), unit.getBufferRight(), 2048);
    }
    CorrelographBaseAU& graph() { return controller_->correlographView->baseClass; }
    /// Bitmaps of the views that a tick does not redraw, all of the window's size.
    std::vector<std::unique_ptr<platform::CGBitmapContext>> otherLayers() const {
        std::vector<std::unique_ptr<platform::CGBitmapContext>> layers;
        const auto* picture = window_->picture();
        for (const auto& view : controller_->view()->subviews()) {
            if (view == controller_->correlographView || view->isHidden()) continue;
            layers.push_back(
                platform::makeBitmapContext(picture->pixelWidth(), picture->pixelHeight(), 1));
            view->layer().compose(*layers.back(), {});
        }
        return layers;
    }

 private:
    std::shared_ptr<platform::RunLoop> loop_ = platform::RunLoop::createForTest();
    platform::RunLoop::MakeCurrent current_{loop_};
    std::shared_ptr<AudioUnitViewController> controller_ =
        std::make_shared<AudioUnitViewController>();
    std::shared_ptr<platform::UIWindow> window_;
};

/// The same surfaces and shapes by hand.
class BareCairo {
 public:
    BareCairo(std::string mode, double scale, const Editor& editor)
        : mode_(std::move(mode)),
          scale_(scale),
          window_(surface(680, 440)),
          graph_(surface(280, 260)) {
        for (const auto& bitmap : editor.otherLayers()) {
            layers_.push_back(surface(680, 440));
            std::memcpy(cairo_image_surface_get_data(layers_.back()), bitmap->pixels().data(),
                        bitmap->pixels().size_bytes());
            cairo_surface_mark_dirty(layers_.back());
        }
    }
    ~BareCairo() {
        for (auto* s : {window_, graph_}) cairo_surface_destroy(s);
        for (auto* s : layers_) cairo_surface_destroy(s);
    }
    BareCairo(const BareCairo&) = delete;
    BareCairo& operator=(const BareCairo&) = delete;

    void tick(const Points& points) {
        cairo_t* c = cairo_create(graph_);
        cairo_set_operator(c, CAIRO_OPERATOR_CLEAR);
        cairo_paint(c);
        cairo_set_operator(c, CAIRO_OPERATOR_OVER);
        cairo_scale(c, scale_, scale_);
        cairo_translate(c, 10, 0);
        cairo_scale(c, 260 / 256.0, 260 / 256.0);
        cairo_set_source_rgb(c, 1, 0.737, 0.155);
        stroke(c, points);
        cairo_destroy(c);

        c = cairo_create(window_);
        cairo_rectangle(c, 200 * scale_, 90 * scale_, 280 * scale_, 260 * scale_);
        cairo_clip(c);
        cairo_set_source_rgb(c, 0, 0, 0);
        cairo_paint(c);
        for (auto* layer : layers_) {
            cairo_set_source_surface(c, layer, 0, 0);
            cairo_paint(c);
        }
        cairo_set_source_surface(c, graph_, 200 * scale_, 90 * scale_);
        cairo_paint(c);
        cairo_destroy(c);
    }

 private:
    cairo_surface_t* surface(int width, int height) const {
        return cairo_image_surface_create(CAIRO_FORMAT_ARGB32, static_cast<int>(width * scale_),
                                          static_cast<int>(height * scale_));
    }
    void stroke(cairo_t* c, const Points& points) const {
        cairo_set_line_width(c, mode_ == "points" ? 1 : 0.5);
        cairo_new_path(c);
        for (const auto& p : points) {
            if (mode_ == "points") {
                cairo_move_to(c, p.x, p.y);
                cairo_line_to(c, p.x + 0.5, p.y + 0.5);
                cairo_close_path(c);
                cairo_stroke(c);
            } else if (mode_ == "ovals") {
                cairo_arc(c, p.x + 0.5, p.y + 0.5, 0.5, 0, 2 * M_PI);
                cairo_fill(c);
            } else {
                cairo_line_to(c, p.x, p.y);
            }
        }
        if (mode_ == "points" || mode_ == "ovals") return;
        cairo_close_path(c);
        cairo_stroke(c);
    }

    std::string mode_;
    double scale_;
    cairo_surface_t *window_, *graph_;
    std::vector<cairo_surface_t*> layers_;
};

double seconds() {
    return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch())
        .count();
}

/// The best times of both in turn, in seconds: ours(points), which is measured, and floor(points).
/// Each turn has a signal of its own and begins with prepare().
std::pair<double, double> race(benchmark::State& state, Editor& editor, auto prepare, auto ours,
                               auto floor) {
    std::pair best(1e9, 1e9);
    unsigned seed = 0;
    for (auto _ : state) {
        editor.setSignal(++seed);
        const Points points = editor.points();
        prepare();
        const double start = seconds();
        ours(points);
        const double between = seconds();
        floor(points);
        const double end = seconds();
        best.first = std::min(best.first, between - start);
        best.second = std::min(best.second, end - between);
        state.SetIterationTime(between - start);
    }
    state.counters["ratio"] = best.first / best.second;
    return best;
}

void editorTick(benchmark::State& state, const char* mode, double scale) {
    Editor editor(mode, scale);
    BareCairo bare(mode, scale, editor);
    const auto [tick, floor] = race(
        state, editor, [] {}, [&](const Points&) { editor.draw(); },
        [&](const Points& points) { bare.tick(points); });
    state.counters["tick_us"] = tick * 1e6;
    state.counters["bare_us"] = floor * 1e6;
    state.counters["cpu_at_20Hz_%"] = tick * 20 * 100;
}

/// A bitmap of the correlograph's size, in canvas units and the line's style.
std::unique_ptr<platform::CGBitmapContext> makeCanvas(double scale) {
    const int side = static_cast<int>(260 * scale);
    auto c = platform::makeBitmapContext(side, side, scale);
    c->scaleBy(260 / 256.0, 260 / 256.0);
    c->setStrokeColor({1, 0.737, 0.155, 1});
    c->setLineWidth(0.5);
    return c;
}

void strokeOnce(platform::CGContext& context, const Points& points) {
    for (const auto& p : points) context.addLineTo(p);
    context.closePath();
    context.strokePath();
}

void strokeAlone(benchmark::State& state, double scale) {
    Editor editor("bezier", scale);
    const auto ours = makeCanvas(scale), floor = makeCanvas(scale);
    const auto [lines, stroke] = race(
        state, editor,
        [&] {
            for (auto& c : {&ours, &floor}) (*c)->clearRect({0, 0, 256, 256});
        },
        [&](const Points&) { editor.graph().drawPoints(*ours); },
        [&](const Points& points) { strokeOnce(*floor, points); });
    state.counters["lines_us"] = lines * 1e6;
    state.counters["stroke_us"] = stroke * 1e6;
    int largest = 0;  // of the last picture, in 255ths
    for (std::size_t i = 0; i < ours->pixels().size(); ++i)
        largest = std::max(largest, std::abs(static_cast<int>(ours->pixels()[i] >> 24) -
                                             static_cast<int>(floor->pixels()[i] >> 24)));
    state.counters["largest_difference"] = largest;
}

}  // namespace

int main(int argc, char** argv) {
    for (const double scale : {1.0, 2.0})
        for (const char* mode : modes)
            benchmark::RegisterBenchmark(
                ("editorTick/" + std::string(mode) + (scale == 1 ? "/1x" : "/2x")).c_str(),
                editorTick, mode, scale)
                ->UseManualTime()
                ->Iterations(100)
                ->Unit(benchmark::kMicrosecond);
    for (const double scale : {1.0, 2.0})
        benchmark::RegisterBenchmark(scale == 1 ? "strokeAlone/1x" : "strokeAlone/2x", strokeAlone,
                                     scale)
            ->UseManualTime()
            ->Iterations(100)
            ->Unit(benchmark::kMicrosecond);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
}
