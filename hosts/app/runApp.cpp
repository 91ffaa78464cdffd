#include "hosts/app/runApp.h"

#include <fmt/format.h>
#include <pthread.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <memory>
#include <stdexcept>
#include <utility>

#include "hosts/app/SoundSource.h"
#include "hosts/instance/Instance.h"
#include "hosts/window/EditorWindow.h"
#include "hosts/window/makeInstance.h"
#include "platform/dispatch/RunLoop.h"
#include "platform/foundation/Timer.h"
#include "platform/uikit/NativeWindow.h"

namespace qov::app {
namespace {

using platform::Key;
using platform::RunLoop;

constexpr double kUsualRate = 44100;        // frames a second
constexpr double kExchangeInterval = 0.05;  // seconds: with each of the editor's ticks
constexpr double kJackInterval = 2;         // seconds between two looks for a JACK server

void say(const std::string& line) {
    fmt::print(stderr, "kelvane: {}\n", line);
}

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
    /// Which one came; 0 for none.
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
    void openWindow();
    void startSound();
    std::unique_ptr<SoundSource> openJackServer();
    void goOnInSilence();
    void lookForJack();
    bool startOn(std::unique_ptr<SoundSource> source);
    void startInSilence(double rate);
    bool handleKey(const platform::KeyStroke& stroke);
    void end(int exitCode);

    const Options& options_;
    EndSignals signals_;
    std::shared_ptr<RunLoop> loop_ = RunLoop::create();
    std::unique_ptr<hosts::Instance> instance_;
    std::unique_ptr<hosts::EditorWindow> window_;
    std::unique_ptr<SoundLoop> sound_;
    std::unique_ptr<SoundSource> source_;
    bool isOnJack_ = false;
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
        instance_->pump();
        if (instance_->takeLatencyChange()) source_->tellLatency();
    });
    window_->native().show();
    loop_->run();
    return exitCode_;
}

void App::end(int exitCode) {
    exitCode_ = exitCode;
    loop_->stop();
}

void App::openWindow() {
    hosts::EditorWindow::Options options;
    options.scale = options_.scale;
    if (options_.size.width > 0) options.size = options_.size;
    std::string error;
    window_ = hosts::EditorWindow::open(*instance_, options, &error);
    if (!window_) throw std::runtime_error(error);
    auto& native = window_->native();
    native.onClose = [this] { end(0); };
    native.onLost = [this] {
        say("the X server has gone, and the window with it");
        end(1);
    };
    window_->onKey = [this](const platform::KeyStroke& stroke) { return handleKey(stroke); };
}

bool App::handleKey(const platform::KeyStroke& stroke) {
    switch (stroke.key) {
        case Key::space:
            sound_->setPlaying(!sound_->isPlaying());
            return true;
        case Key::escape:
            end(0);
            return true;
        default:
            return false;
    }
}

// Sound

void App::startSound() {
    auto jack = options_.useJack ? openJackServer() : nullptr;
    isOnJack_ = jack && startOn(std::move(jack));
    if (options_.useJack && !isOnJack_) say("no JACK server answers; the effect runs in silence");
    if (!isOnJack_) startInSilence(options_.sound.rate > 0 ? options_.sound.rate : kUsualRate);
    if (options_.useJack)
        platform::Timer::scheduledTimer(kJackInterval, true,
                                        [this](platform::Timer&) { lookForJack(); });
}

std::unique_ptr<SoundSource> App::openJackServer() {
    return openJack(options_.jackServer, [this] { loop_->submit([this] { goOnInSilence(); }); });
}

void App::goOnInSilence() {
    if (!isOnJack_) return;  // it has gone before the effect was started on it
    say("the JACK server has ended; the effect goes on in silence");
    isOnJack_ = false;
    startInSilence(source_->rate());
}

void App::lookForJack() {
    if (isOnJack_) return;
    auto jack = openJackServer();
    if (!jack) return;
    const double rate = source_->rate();
    isOnJack_ = startOn(std::move(jack));
    if (isOnJack_)
        say("a JACK server answers; the effect plays through it");
    else
        startInSilence(rate);
}

void App::startInSilence(double rate) {
    source_.reset();
    if (!startOn(makeClock(rate)))
        throw std::runtime_error(fmt::format("the effect does not run at {} Hz", rate));
}

/// False where the effect does not run at the source's rate, or the source has gone.
bool App::startOn(std::unique_ptr<SoundSource> source) {
    source_ = std::move(source);
    const double rate = source_->rate();
    const bool isPlaying = !sound_ || sound_->isPlaying();
    sound_ = std::make_unique<SoundLoop>(options_.sound.atRate(rate));
    sound_->setPlaying(isPlaying);
    instance_->deactivate();
    return instance_->activate(rate, source_->longestBlock(), nullptr) &&
           source_->start(*instance_, *sound_);
}

}  // namespace

int runApp(const Options& options) {
    return App(options).run();
}

}  // namespace qov::app
