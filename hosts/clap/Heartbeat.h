#pragma once

#include <clap/id.h>

#include <condition_variable>
#include <memory>
#include <mutex>
#include <optional>
#include <thread>

namespace platform {
class RunLoop;
}

namespace qov::hosts::clap {

struct ClapHost;

/// While it lives, the host calls the plug-in on its main thread often enough for an open editor:
/// through a timer and, for what the screen sends, a descriptor, where the host has them; else a
/// thread asks the host for its callback. Main thread.
class Heartbeat {
 public:
    Heartbeat(const ClapHost& host, std::shared_ptr<platform::RunLoop> loop);
    ~Heartbeat();
    Heartbeat(const Heartbeat&) = delete;
    Heartbeat& operator=(const Heartbeat&) = delete;

 private:
    void askUntilEnd();

    const ClapHost& host_;
    const std::shared_ptr<platform::RunLoop> loop_;
    std::optional<clap_id> timer_;
    int descriptor_ = -1;

    std::mutex mutex_;
    std::condition_variable ended_;
    bool isOver_ = false;
    std::thread thread_;
};

}  // namespace qov::hosts::clap
