#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <fmt/format.h>

#include "audiounit/QOV_Kelvane_PluginAudioUnit.h"
#include "editor/AudioUnitViewController.h"
#include "editor/CorrelographViewAU.h"
#include "editor/PluginFrameEx.h"
#include "editor/StereoControls.h"
#include "editor/panelCanvas.h"
#include "hosts/cli/Automation.h"
#include "hosts/cli/Command.h"
#include "hosts/cli/OptionParser.h"
#include "hosts/cli/Parameters.h"
#include "hosts/cli/SoundReader.h"
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

constexpr auto snapshotHelp = R"(
What the editor shows for FILE played up to TIME: the effect has processed that much of it, with the
settings below in force from the start. Without --signal it shows silence, without --at the file's end.
TIME is written in frames (4410), seconds (0.1s) or minutes and seconds (1:02.5). The same arguments give
the same bytes. --bypass presses the panel's suspend switch. The views alone have a transparent ground.
)";

constexpr int largestPicture = 16384;  // pixels
constexpr std::uint32_t blockFrames = 512;
/// Middles of the panel's switches, on its own canvas.
constexpr platform::CGPoint suspendSwitch{575, 297}, lineSwitch{103, 266};

/// What the command line asks for.
struct Snapshot {
    std::string output, view = "editor", signal, at, drawMode = "points";
    platform::CGSize size = panelCanvas;
    double scale = 1;
    float brightness = 0.25f;
    std::array<std::string, allParameters.size()> values;  ///< see parseSettings()
};

void require(bool isRight, const std::string& line) {
    if (!isRight) throw Failure(line, 2);
}

void requireOneOf(const char* option, const std::string& word,
                  std::initializer_list<std::string_view> words) {
    require(std::find(words.begin(), words.end(), word) != words.end(),
            fmt::format("{} {}: takes one of {}", option, word, fmt::join(words, ", ")));
}

/// Returns the exit code if the command ends here. Throws Failure (2) for what is wrong.
std::optional<int> parse(const Arguments& arguments, Snapshot& snapshot) {
    OptionParser parser("kelvane snapshot", "Shows the editor, or one view of it, as a picture.",
                        snapshotHelp);
    std::string size, scale, brightness;
    parser.addArgument("OUT", snapshot.output, "PNG to write; - for standard output");
    parser.addOption("--view", snapshot.view, "the whole editor (default) or one view of it",
                     "editor|correlograph|controls|frame");
    parser.addOption("--size", size, "in points (680x440, the correlograph 260x260)", "WxH");
    parser.addOption("--scale", scale, "pixels a point (1)", "0.25..8");
    parser.addOption("--signal", snapshot.signal, "sound file that is played", "FILE");
    parser.addOption("--at", snapshot.at, "how much of it has been played", "TIME");
    parser.addOption("--draw-mode", snapshot.drawMode, "of the correlograph",
                     "points|ovals|bezier");
    parser.addOption("--brightness", brightness, "of the background (0.25)", "0..1");
    parser.addParameters(snapshot.values, true);
    if (const auto code = parser.parse(arguments)) return code;

    require(snapshot.output == "-" || snapshot.output.ends_with(".png"),
            fmt::format("{}: a snapshot is a PNG; end its name in .png", snapshot.output));
    requireOneOf("--view", snapshot.view, {"editor", "correlograph", "controls", "frame"});
    requireOneOf("--draw-mode", snapshot.drawMode, {"points", "ovals", "bezier"});
    require(snapshot.at.empty() || !snapshot.signal.empty(),
            "--at: needs the file that is played; name it with --signal");
    if (!scale.empty()) snapshot.scale = parseNumber("--scale", scale, 0.25, 8.0);
    if (!brightness.empty())
        snapshot.brightness = static_cast<float>(parseNumber("--brightness", brightness, 0.0, 1.0));
    if (snapshot.view == "correlograph") snapshot.size = {260, 260};
    if (!size.empty()) snapshot.size = parseSize(size, largestPicture);
    const auto [width, height] = snapshot.size;
    const double largest = std::max(width, height) * snapshot.scale;
    require(largest <= largestPicture && std::min(width, height) * snapshot.scale >= 1,
            fmt::format("the picture would have {} pixels a side; 1 to {} can be drawn", largest,
                        largestPicture));
    static_cast<void>(parseSettings(snapshot.values, highestRate));  // before any file is opened
    return std::nullopt;
}

/// The editor on a loop of its own, whose clock stands still.
class Scene {
 public:
    explicit Scene(const Snapshot& snapshot) : snapshot_(snapshot) {
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

    /// Applies the settings, then plays the file up to its time, if there is one.
    void play();
    /// Null where there is no memory for it.
    std::shared_ptr<const platform::CGImage> picture();

 private:
    void applySettings();
    void press(platform::CGPoint onCanvas);
    platform::UIView& view() {
        if (snapshot_.view == "correlograph") return *controller_->correlographView;
        if (snapshot_.view == "controls") return *controller_->stereoControls;
        return *controller_->pluginFrame;
    }

    const Snapshot& snapshot_;
    std::shared_ptr<platform::RunLoop> loop_ = platform::RunLoop::createForTest();
    platform::RunLoop::MakeCurrent current_{loop_};
    std::shared_ptr<AudioUnitViewController> controller_ =
        std::make_shared<AudioUnitViewController>();
    std::shared_ptr<platform::UIWindow> window_;
    std::unique_ptr<hosts::Instance> instance_;  // its end ends the loop, which owns the controller
};

/// Touches the panel itself, also where another view covers it.
void Scene::press(platform::CGPoint onCanvas) {
    auto& panel = controller_->stereoControls;
    panel->setNeedsDisplay();  // drawing sets the hot areas
    window_->update();
    const platform::UITouchSet finger{std::make_shared<platform::UITouch>(
        panel, panel->convertToWindow({onCanvas.x * drawScaleX, onCanvas.y * drawScaleY}), 0)};
    panel->touchesBegan(finger, nullptr);
    panel->touchesEnded(finger, nullptr);
    loop_->pump();
}

void Scene::applySettings() {
    const auto tree = controller_->audioUnit()->parameterTree();
    const double rate = double{controller_->audioUnit()->getSamplerate()};
    for (const auto& [address, value] : parseSettings(snapshot_.values, rate)) {
        if (address != kBypass)
            tree->parameterWithAddress(address)->setValue(value);
        else if (value > 0.5f)
            press(suspendSwitch);
    }
    controller_->brightnessSlider->setValue(snapshot_.brightness);
    controller_->onBrightnessSlider(*controller_->brightnessSlider);
    controller_->touchesLocked = false;
    // A parameter's change comes back through the queue, and then through its operations.
    loop_->pump();
    loop_->pump();
}

void Scene::play() {
    if (snapshot_.signal.empty()) return applySettings();
    SoundReader reader(snapshot_.signal, {.rawRate = {}, .upmix = true});
    std::int64_t left = snapshot_.at.empty() ? INT64_MAX : parseTime(snapshot_.at, reader.rate());
    if (!instance_->activate(reader.rate(), blockFrames, nullptr))
        throw Failure(
            fmt::format("{}: the effect does not take {} Hz", snapshot_.signal, reader.rate()));

    applySettings();  // only now: an allocation resets the phase shift's length
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

std::shared_ptr<const platform::CGImage> Scene::picture() {
    if (snapshot_.drawMode == "bezier")
        press(lineSwitch);
    else
        controller_->correlographView->baseClass.drawMode = snapshot_.drawMode;
    if (snapshot_.view == "editor") {
        // The phase shift's text follows the playing, which changes no parameter.
        controller_->stereoControls->setNeedsDisplay();
        controller_->correlographView->setNeedsDisplay();
        window_->update();
        return window_->picture() ? window_->picture()->makeImage() : nullptr;
    }
    const auto pixels = [&](double points) {
        return std::max(1, static_cast<int>(std::ceil(points * snapshot_.scale - 1e-6)));
    };
    auto bitmap = platform::makeBitmapContext(pixels(snapshot_.size.width),
                                              pixels(snapshot_.size.height), snapshot_.scale);
    if (!bitmap) return nullptr;
    const platform::UIGraphicsContextScope scope(*bitmap);
    view().draw({{}, snapshot_.size});
    return bitmap->makeImage();
}

}  // namespace

int runSnapshot(const Arguments& arguments) {
    Snapshot snapshot;
    if (const auto code = parse(arguments, snapshot)) return *code;
    Scene scene(snapshot);
    scene.play();
    const auto image = scene.picture();
    if (!image) throw Failure("there is no memory for a picture of this size");
    hosts::writeOutput(snapshot.output, image->png());
    return 0;
}

}  // namespace qov::cli
