#include "platform/foundation/URLSession.h"

#include <signal.h>

#include <chrono>
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

URLSession::URLSession(const Configuration& configuration) : configuration_(configuration) {
    prepareRemote();
}

URLSession& URLSession::shared() {
    static URLSession session;
    return session;
}

URLSession::~URLSession() {
    cancelled_ = true;
}

void URLSession::data(URL url, CompletionHandler completion) {
    auto work = [this, url = std::move(url), completion = std::move(completion),
                 loop = RunLoop::current().shared_from_this()]() mutable {
        // A broken connection raises SIGPIPE; other signals belong to the program's own threads.
        sigset_t all;
        sigfillset(&all);
        pthread_sigmask(SIG_SETMASK, &all, nullptr);
        auto fetched = fetch(url, configuration_, &cancelled_);
        const RunLoop::MakeCurrent makeCurrent(std::move(loop));
        std::exchange(completion, {})(std::move(fetched));
    };
    const std::lock_guard lock(mutex_);
    std::erase_if(running_, [](const auto& each) {
        return each.wait_for(std::chrono::seconds(0)) == std::future_status::ready;
    });
    running_.push_back(std::async(std::launch::async, std::move(work)));
}

}  // namespace platform
