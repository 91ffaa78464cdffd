#include "hosts/cli/SnapshotCommand.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include <fmt/format.h>
#include <CLI/App.hpp>
#include <CLI/Config.hpp>
#include <CLI/Formatter.hpp>

#include "audiounit/QOV_Kelvane_PluginAudioUnit.h"
#include "editor/AudioUnitViewController.h"
#include "editor/CorrelographViewAU.h"
#include "editor/PluginFrameEx.h"
#include "editor/StereoControls.h"
#include "hosts/cli/Automation.h"
#include "hosts/cli/Parameters.h"
#include "hosts/cli/SoundReader.h"
#include "hosts/cli/parseOptions.h"
#include "hosts/instance/Instance.h"
#include "hosts/output/OutputPlace.h"
#include "hosts/window/fitPanel.h"
#include "platform/audiotoolbox/AUParameterTree.h"
#include "platform/coregraphics/CGBitmapContext.h"
#include "platform/dispatch/RunLoop.h"
#include "platform/uikit/UIGraphics.h"
#include "platform/uikit/UISlider.h"
#include "platform/uikit/UITouch.h"
#include "platform/uikit/UIWindow.h"

namespace qov::cli {
namespace {

constexpr auto help = R"(
What the editor shows for FILE played up to TIME: the effect has processed that much of it, with the
settings below in force from the start. Without --signal it shows silence, without --at the file's end.
TIME is written in frames (4410), seconds (0.1s) or minutes and seconds (1:02.5). The same arguments give
the same bytes. --bypass presses the panel's suspend switch. The views alone have a transparent ground.
)";

constexpr int maximumSide = 16384;  // pixels
constexpr std::uint32_t blockFrames = 512;
/// Middles of the panel's switches, on its own canvas.
constexpr platform::CGPoint suspendSwitch{575, 297}, lineSwitch{103, 266};

struct Options {
    std::string output, view = "editor", size, scale, signal, at, drawMode = "points", brightness;
    std::array<std::string, 9> values;  ///< of the parameters, in their table's order
};

/// Checked.
struct Snapshot {
    platform::CGSize size;
    double scale = 1;
    float brightness = 0.25f;
    std::span<const std::string> values;  ///< of the parameters
};

void declare(CLI::App& app, Options& options) {
    app.add_option("OUT", options.output, "PNG to write; - for standard output")->required();
    const auto option = [&](const char* name, std::string& value, const char* text,
                            const char* type) {
        app.add_option(name, value, text)->type_name(type)->take_last();
    };
    option("--view", options.view, "the whole editor (default) or one view of it",
           "editor|correlograph|controls|frame");
    option("--size", options.size, "in points (680x440, the correlograph 260x260)", "WxH");
    option("--scale", options.scale, "pixels a point (1)", "0.25..8");
    option("--signal", options.signal, "sound file that is played", "FILE");
    option("--at", options.at, "how much of it has been played", "TIME");
    option("--draw-mode", options.drawMode, "of the correlograph", "points|ovals|bezier");
    option("--brightness", options.brightness, "of the background (0.25)", "0..1");
    declareParameters(app, options.values, true);
    app.footer(help);
}

template <typename Number>
bool parseWhole(std::string_view text, Number& number) {
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    return error == std::errc{} && end == text.data() + text.size();
}

void require(bool isRight, const std::string& line) {
    if (!isRight) throw Failure(line, 2);
}

void requireOneOf(const char* option, const std::string& word,
                  std::initializer_list<std::string_view> words) {
    require(std::find(words.begin(), words.end(), word) != words.end(),
            fmt::format("{} {}: takes one of {}", option, word, fmt::join(words, ", ")));
}

Snapshot check(const Options& options) {
    Snapshot snapshot;
    require(options.output == "-" || options.output.ends_with(".png"),
            fmt::format("{}: a snapshot is a PNG; end its name in .png", options.output));
    requireOneOf("--view", options.view, {"editor", "correlograph", "controls", "frame"});
    requireOneOf("--draw-mode", options.drawMode, {"points", "ovals", "bezier"});
    require(options.at.empty() || !options.signal.empty(),
            "--at: needs the file that is played; name it with --signal");
    if (!options.scale.empty())
        require(parseWhole(options.scale, snapshot.scale) && snapshot.scale >= 0.25 &&
                    snapshot.scale <= 8,
                fmt::format("--scale {}: takes a number from 0.25 to 8", options.scale));
    if (!options.brightness.empty())
        require(parseWhole(options.brightness, snapshot.brightness) && snapshot.brightness >= 0 &&
                    snapshot.brightness <= 1,
                fmt::format("--brightness {}: takes a number from 0 to 1", options.brightness));
    snapshot.size =
        options.view == "correlograph" ? platform::CGSize{260, 260} : platform::CGSize{680, 440};
    if (!options.size.empty()) {
        const auto by = options.size.find('x');
        int width = 0, height = 0;
        const bool isRead = by != std::string::npos &&
                            parseWhole(std::string_view(options.size).substr(0, by), width) &&
                            parseWhole(std::string_view(options.size).substr(by + 1), height) &&
                            width > 0 && height > 0;
        require(isRead,
                fmt::format("--size {}: takes a width and a height in points, as in 680x440",
                            options.size));
        snapshot.size = {static_cast<double>(width), static_cast<double>(height)};
    }
    const double side = std::max(snapshot.size.width, snapshot.size.height) * snapshot.scale;
    require(side <= maximumSide &&
                std::min(snapshot.size.width, snapshot.size.height) * snapshot.scale >= 1,
            fmt::format("the picture would have {} pixels a side; 1 to {} can be drawn", side,
                        maximumSide));
    static_cast<void>(parseSettings(options.values, highestRate));  // before any file is opened
    snapshot.values = options.values;
    return snapshot;
}

/// The editor on a loop of its own, whose clock stands still.
class Scene {
 public:
    explicit Scene(const Snapshot& snapshot) {
        const auto fit = hosts::fitPanel(snapshot.size);
        controller_->fitToHeight = fit.fitToHeight;
        window_ = std::make_shared<platform::UIWindow>(
            platform::CGSize{snapshot.size.width / fit.scale, snapshot.size.height / fit.scale},
            snapshot.scale * fit.scale);
        instance_ = hosts::Instance::create(nullptr, loop_, controller_);
        if (!instance_) throw Failure("the effect cannot be made");
        window_->setRootViewController(controller_);
        loop_->pump();
        window_->update();
    }

    /// The settings, then as much of the file as has been played.
    void play(const std::string& path, const std::string& at, const Snapshot& snapshot);
    void set(const Snapshot& snapshot);
    void setDrawMode(const std::string& mode) {
        if (mode == "bezier")
            press(lineSwitch);
        else
            controller_->correlographView->baseClass.drawMode = mode;
    }
    std::shared_ptr<const platform::CGImage> picture(const std::string& view,
                                                     const Snapshot& snapshot);

 private:
    void press(platform::CGPoint onCanvas);
    platform::UIView& viewNamed(const std::string& name) {
        if (name == "correlograph") return *controller_->correlographView;
        if (name == "controls") return *controller_->stereoControls;
        return *controller_->pluginFrame;
    }

    std::shared_ptr<platform::RunLoop> loop_ = platform::RunLoop::createForTest();
    platform::RunLoop::MakeCurrent current_{loop_};
    std::shared_ptr<AudioUnitViewController> controller_ =
        std::make_shared<AudioUnitViewController>();
    std::shared_ptr<platform::UIWindow> window_;
    std::unique_ptr<hosts::Instance> instance_;  // ends the loop, which holds the controller
};

/// A finger straight on the panel, wherever another view covers it.
void Scene::press(platform::CGPoint onCanvas) {
    auto& panel = controller_->stereoControls;
    panel->setNeedsDisplay();  // the hot areas come from a drawing
    window_->update();
    const platform::UITouchSet finger{std::make_shared<platform::UITouch>(
        panel, panel->convertToWindow({onCanvas.x * drawScaleX, onCanvas.y * drawScaleY}), 0)};
    panel->touchesBegan(finger, nullptr);
    panel->touchesEnded(finger, nullptr);
    loop_->pump();
}

void Scene::set(const Snapshot& snapshot) {
    const auto tree = controller_->audioUnit()->parameterTree();
    const double rate = double{controller_->audioUnit()->getSamplerate()};
    for (const auto& [address, value] : parseSettings(snapshot.values, rate)) {
        if (address != kBypass)
            tree->parameterWithAddress(address)->setValue(value);
        else if (value > 0.5f)
            press(suspendSwitch);
    }
    controller_->brightnessSlider->setValue(snapshot.brightness);
    controller_->onBrightnessSlider(*controller_->brightnessSlider);
    controller_->touchesLocked = false;
    // A parameter comes back by the queue and then by the operations behind it.
    loop_->pump();
    loop_->pump();
}

void Scene::play(const std::string& path, const std::string& at, const Snapshot& snapshot) {
    SoundReader reader(path, {.rawRate = {}, .upmix = true});
    std::int64_t left = at.empty() ? INT64_MAX : parseTime(at, reader.rate());
    if (!instance_->activate(reader.rate(), blockFrames, nullptr))
        throw Failure(fmt::format("{}: the effect does not take {} Hz", path, reader.rate()));

    // Only now: an allocation forgets the phase shift's length.
    set(snapshot);
    std::vector<float> leftIn(blockFrames), rightIn(blockFrames);
    auto leftOut = leftIn, rightOut = rightIn;
    while (left > 0) {
        const auto wanted = static_cast<std::uint32_t>(std::min<std::int64_t>(left, blockFrames));
        const std::uint32_t frames = reader.read(leftIn.data(), rightIn.data(), wanted);
        if (frames == 0) break;
        instance_->process({leftIn.data(), rightIn.data()}, {leftOut.data(), rightOut.data()},
                           frames);
        left -= frames;
    }
    instance_->deactivate();
}

std::shared_ptr<const platform::CGImage> Scene::picture(const std::string& view,
                                                        const Snapshot& snapshot) {
    if (view == "editor") {
        // The phase shift's text follows the playing, which changes no parameter.
        controller_->stereoControls->setNeedsDisplay();
        controller_->correlographView->setNeedsDisplay();
        window_->update();
        return window_->picture() ? window_->picture()->makeImage() : nullptr;
    }
    const auto pixels = [&](double points) {
        return std::max(1, static_cast<int>(std::ceil(points * snapshot.scale - 1e-6)));
    };
    auto bitmap = platform::makeBitmapContext(pixels(snapshot.size.width),
                                              pixels(snapshot.size.height), snapshot.scale);
    if (!bitmap) return nullptr;
    const platform::UIGraphicsContextScope scope(*bitmap);
    viewNamed(view).draw({{}, snapshot.size});
    return bitmap->makeImage();
}

}  // namespace

int runSnapshot(const Arguments& arguments) {
    CLI::App app("Shows the editor, or one view of it, as a picture.", "kelvane snapshot");
    Options options;
    declare(app, options);
    if (const auto code = parseOptions(app, arguments)) return *code;
    const Snapshot snapshot = check(options);
    Scene scene(snapshot);
    if (options.signal.empty())
        scene.set(snapshot);
    else
        scene.play(options.signal, options.at, snapshot);
    scene.setDrawMode(options.drawMode);
    const auto image = scene.picture(options.view, snapshot);
    if (!image) throw Failure("there is no memory for a picture of this size");
    hosts::writeOutput(options.output, image->png());
    return 0;
}

}  // namespace qov::cli
