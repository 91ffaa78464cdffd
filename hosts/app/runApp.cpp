#include "hosts/app/runApp.h"

#include <fmt/format.h>
#include <poll.h>
#include <pthread.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <cctype>
#include <cmath>
#include <csignal>
#include <cstdio>
#include <memory>
#include <stdexcept>
#include <utility>

#include "hosts/app/SoundSource.h"
#include "hosts/app/showError.h"
#include "hosts/instance/Instance.h"
#include "hosts/window/CaptionView.h"
#include "hosts/window/EditorWindow.h"
#include "hosts/window/SavedSettings.h"
#include "hosts/window/Strip.h"
#include "hosts/window/fitPanel.h"
#include "hosts/window/makeInstance.h"
#include "platform/dispatch/RunLoop.h"
#include "platform/foundation/Timer.h"
#include "platform/uikit/NativeWindow.h"
#include "platform/uikit/UIWindow.h"

namespace qov::app {
namespace {

using platform::Key;
using platform::RunLoop;

constexpr double kUsualRate = 44100;        // frames a second
constexpr double kExchangeInterval = 0.05;  // seconds: with each of the editor's ticks
constexpr double kSecondEsc = 3;            // seconds within which it has to follow the first
constexpr double kNoticeTime = 6;           // seconds that a message stays in the window
constexpr double kQuietTime = 8;            // seconds after which no timer is due but periodic ones
constexpr double kJackInterval = 2;         // seconds between two looks for a JACK server

/// Signals that ask for the end, as a descriptor. Made before any other thread is.
class EndSignals {
 public:
    EndSignals() {
        sigemptyset(&set_);
        for (const int signal : {SIGINT, SIGTERM, SIGHUP}) sigaddset(&set_, signal);
        pthread_sigmask(SIG_BLOCK, &set_, &before_);
        descriptor_ = signalfd(-1, &set_, SFD_NONBLOCK | SFD_CLOEXEC);
    }
    ~EndSignals() {
        if (descriptor_ >= 0) close(descriptor_);
        pthread_sigmask(SIG_SETMASK, &before_, nullptr);
    }
    EndSignals(const EndSignals&) = delete;
    EndSignals& operator=(const EndSignals&) = delete;

    int descriptor() const { return descriptor_; }
    /// The signal received; 0 for none.
    int take() const {
        signalfd_siginfo info;
        return read(descriptor_, &info, sizeof info) == sizeof info
                   ? static_cast<int>(info.ssi_signo)
                   : 0;
    }

 private:
    sigset_t set_{}, before_{};
    int descriptor_;
};

class App {
 public:
    explicit App(const Options& options) : options_(options) {}
    ~App() {
        // Sound first, then the window, then the instance, which ends the loop.
        source_.reset();
        window_.reset();
        loop_->removeFileDescriptor(signals_.descriptor());
    }
    App(const App&) = delete;
    App& operator=(const App&) = delete;

    int run();

 private:
    void turnUntilTheEnd();
    void openWindow();
    void restoreSettings(double rate);
    void saveSettings();
    void startSound();
    void goOnInSilence();
    void lookForJack();
    bool startOn(std::unique_ptr<SoundSource> source);
    void startInSilence(double rate);
    bool handleKey(const platform::KeyStroke& stroke);
    void handleEscape();
    void notify(const std::string& line, double seconds);
    void report(const std::string& line);
    void end(int exitCode);

    const Options& options_;
    EndSignals signals_;
    std::shared_ptr<RunLoop> loop_ = RunLoop::create();
    std::unique_ptr<hosts::Instance> instance_;
    std::unique_ptr<hosts::EditorWindow> window_;
    const hosts::Strip* strip_ = nullptr;  // the window's
    std::shared_ptr<hosts::CaptionView> notice_ = std::make_shared<hosts::CaptionView>();
    std::optional<RunLoop::TimerID> noticeTimer_;
    std::optional<double> escape_;  // when Esc was pressed first
    const hosts::SavedSettings saved_ = hosts::SavedSettings::read(options_.settingsPath);
    std::unique_ptr<SoundLoop> sound_;
    std::unique_ptr<SoundSource> source_;
    bool isOnJack_ = false;
    bool isRestored_ = false;  // what was kept, before the first sound
    bool isEnding_ = false;
    int exitCode_ = 0;
};

int App::run() {
    const RunLoop::MakeCurrent current(loop_);
    std::string error;
    instance_ = hosts::makeInstance(loop_, &error);
    if (!instance_) throw std::runtime_error(error);
    openWindow();
    startSound();
    loop_->addFileDescriptor(signals_.descriptor(), [this] {
        constexpr int kEndedBySignal = 128;
        if (const int signal = signals_.take()) end(kEndedBySignal + signal);
    });
    platform::Timer::scheduledTimer(kExchangeInterval, true, [this](platform::Timer&) {
        if (isOnJack_ && source_->hasEnded()) goOnInSilence();
        instance_->pump();
        if (instance_->takeLatencyChange()) source_->reportLatency();
    });
    window_->native().show();
    turnUntilTheEnd();
    saveSettings();
    return exitCode_;
}

/// Where no sound comes, the periodic timers show nothing new: without input for some seconds, the
/// loop sleeps until there is some, or until it is time to look for a JACK server.
void App::turnUntilTheEnd() {
    pollfd input{loop_->fileDescriptor(), POLLIN, 0};
    double last = loop_->now();
    while (!isEnding_) {
        const double now = loop_->now();
        const bool isQuiet =
            !isOnJack_ && sound_->isEmpty() && input.fd >= 0 && now - last > kQuietTime;
        double wait = loop_->nextDeadline().value_or(now) - now;
        if (isQuiet) wait = options_.useJack ? kJackInterval : -1;
        if (poll(&input, 1, static_cast<int>(std::ceil(wait * 1000))) > 0) last = loop_->now();
        loop_->pump();
    }
}

void App::end(int exitCode) {
    exitCode_ = exitCode;
    isEnding_ = true;
}

void App::openWindow() {
    hosts::EditorWindow::Options options;
    options.scale = options_.scale;
    options.size = hosts::withFooter(options_.size.value_or(saved_.size.value_or(options.size)),
                                     hosts::Strip::heightIf(saved_.isStripShown));
    options.makeFooter = [this](hosts::EditorWindow& window) {
        auto strip = std::make_shared<hosts::Strip>(
            window, *instance_,
            hosts::Strip::Options{.isShown = saved_.isStripShown, .onFold = [&window](bool) {
                                      window.setSize(window.wantedSize());
                                  }});
        strip_ = strip.get();
        return strip;
    };
    std::string error;
    window_ = hosts::EditorWindow::open(*instance_, options, &error);
    if (!window_) throw std::runtime_error(error);
    auto& native = window_->native();
    native.onClose = [this] { end(0); };
    native.onLost = [this] {
        report("the X server has gone, and the window with it");
        end(1);
    };
    window_->onKey = [this](const platform::KeyStroke& stroke) { return handleKey(stroke); };
    window_->content().addSubview(notice_);
}

// Settings

void App::restoreSettings(double rate) {
    if (saved_.brightness) window_->setBrightness(*saved_.brightness);
    window_->setPicture(saved_.picture);
    if (options_.selectPreset)
        options_.selectPreset(*instance_, rate);
    else
        instance_->restoreState(saved_.state);
    if (options_.values)
        for (const auto& [address, value] : options_.values(rate))
            instance_->setValue(address, value);
    window_->setValue(kBypass, instance_->value(kBypass));  // the panel's switch, too
}

void App::saveSettings() {
    if (options_.settingsPath.empty()) return;
    const hosts::SavedSettings settings{.size = window_->panelPlace(),
                                        .brightness = window_->brightness(),
                                        .picture = window_->picture(),
                                        .isStripShown = strip_->isShown(),
                                        .state = instance_->saveState()};
    if (const auto error = settings.write(options_.settingsPath); !error.empty()) report(error);
}

// Keys and messages

void App::notify(const std::string& line, double seconds) {
    if (!window_) return;
    const auto size = window_->content().bounds().size;
    notice_->show({{line, hosts::CaptionView::Line::Kind::head}},
                  {size.width / 2, size.height, 0, 0});
    if (noticeTimer_) loop_->cancel(*noticeTimer_);
    noticeTimer_ = loop_->schedule(seconds, false, [this] { notice_->hide(); });
}

void App::report(const std::string& line) {
    fmt::print(stderr, "kelvane: {}\n", line);
    if (hasTerminal()) return;
    auto sentence = line;
    sentence[0] = static_cast<char>(std::toupper(static_cast<unsigned char>(sentence[0])));
    notify(sentence, kNoticeTime);
}

void App::handleEscape() {
    const bool isSecond = escape_ && loop_->now() - *escape_ < kSecondEsc;
    if (!isOnJack_ || isSecond) return end(0);
    escape_ = loop_->now();
    notify("Connected to JACK: press Esc again to end", kSecondEsc);
}

bool App::handleKey(const platform::KeyStroke& stroke) {
    switch (stroke.key) {
        case Key::space:
            sound_->setPlaying(!sound_->isPlaying());
            return true;
        case Key::escape:
            handleEscape();
            return true;
        default:
            return false;
    }
}

// Sound

void App::startSound() {
    auto jack = options_.useJack ? openJack(options_.jackServer) : nullptr;
    isOnJack_ = jack && startOn(std::move(jack));
    if (options_.useJack && !isOnJack_)
        report("no JACK server answers; the effect runs in silence");
    if (!isOnJack_) startInSilence(options_.sound.rate > 0 ? options_.sound.rate : kUsualRate);
    if (options_.useJack)
        platform::Timer::scheduledTimer(kJackInterval, true,
                                        [this](platform::Timer&) { lookForJack(); });
}

void App::goOnInSilence() {
    report("the JACK server has ended; the effect goes on in silence");
    isOnJack_ = false;
    startInSilence(source_->rate());
}

void App::lookForJack() {
    if (isOnJack_) return;
    auto jack = openJack(options_.jackServer);
    if (!jack) return;
    const double rate = source_->rate();
    isOnJack_ = startOn(std::move(jack));
    if (isOnJack_)
        report("a JACK server answers; the effect plays through it");
    else
        startInSilence(rate);
}

void App::startInSilence(double rate) {
    source_.reset();
    if (!startOn(makeClock(rate)))
        throw std::runtime_error(fmt::format("the effect does not run at {} Hz", rate));
}

/// False if the effect does not run at the source's rate, or the source cannot start.
bool App::startOn(std::unique_ptr<SoundSource> source) {
    source_ = std::move(source);
    const double rate = source_->rate();
    const bool isPlaying = !sound_ || sound_->isPlaying();
    sound_ = std::make_unique<SoundLoop>(options_.sound.atRate(rate));
    sound_->setPlaying(isPlaying);
    instance_->deactivate();
    if (!instance_->activate(rate, source_->longestBlock(), nullptr)) return false;
    if (!std::exchange(isRestored_, true)) restoreSettings(rate);
    return source_->start(*instance_, *sound_);
}

}  // namespace

int runApp(const Options& options) {
    return App(options).run();
}

}  // namespace qov::app
