#include "platform/foundation/URLSession.h"

#include <signal.h>

#include <utility>

#include "platform/dispatch/RunLoop.h"
#include "platform/foundation/fetchRemote.h"

namespace platform {
namespace {

URLFetch fetchFile(const URL& url, std::size_t largest) {
    URLFetch fetch;
    fetch.data = contentsOf(url, &fetch.error);
    if (fetch.data && fetch.data->size() > largest)
        return {{},
                {},
                {NSURLErrorDomain, NSURLErrorDataLengthExceedsMaximum,
                 "resource exceeds maximum size"}};
    if (fetch.data) fetch.response = URLResponse{url, {}};
    return fetch;
}

}  // namespace

URLFetch URLSession::fetch(const URL& url, const Configuration& limits,
                           const std::atomic<bool>* cancelled) {
    if (url.isFileURL()) return fetchFile(url, limits.largestResource);
    // Not left to the back end, which may take an address without a scheme for a host.
    if (url.scheme().empty())
        return {{}, {}, {NSURLErrorDomain, NSURLErrorUnsupportedURL, "unsupported URL"}};
    return fetchRemote(url, limits, cancelled);
}

URLSession& URLSession::shared() {
    static URLSession session;
    return session;
}

URLSession::~URLSession() {
    cancelled_ = true;
    for (auto& running : running_) running.thread.join();
}

void URLSession::data(URL url, CompletionHandler completion) {
    const std::lock_guard lock(mutex_);
    running_.remove_if([](Running& running) {
        if (running.finished) running.thread.join();
        return running.finished.load();
    });
    auto& running = running_.emplace_back();
    running.thread =
        std::thread([this, &running, url = std::move(url), completion = std::move(completion),
                     loop = RunLoop::current().shared_from_this()]() mutable {
            // A broken connection raises SIGPIPE; other signals belong to the program's own
            // threads.
            sigset_t all;
            sigfillset(&all);
            pthread_sigmask(SIG_SETMASK, &all, nullptr);
            auto fetched = fetch(url, configuration_, &cancelled_);
            {
                const RunLoop::MakeCurrent makeCurrent(std::move(loop));
                std::exchange(completion, {})(std::move(fetched));
            }
            running.finished = true;
        });
}

}  // namespace platform
