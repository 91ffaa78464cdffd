#include "platform/foundation/URLSession.h"

#include <curl/curl.h>
#include <signal.h>

#include <algorithm>
#include <atomic>
#include <cmath>
#include <deque>
#include <map>
#include <mutex>
#include <span>
#include <thread>
#include <utility>

#include "platform/dispatch/RunLoop.h"

namespace platform {
namespace {

struct EasyCleanup {
    void operator()(CURL* easy) const { curl_easy_cleanup(easy); }
};
struct MultiCleanup {
    void operator()(CURLM* multi) const { curl_multi_cleanup(multi); }
};

NSError urlError(long code, const char* text) {
    return {NSURLErrorDomain, code, text};
}

NSError cancelledError() {
    return urlError(NSURLErrorCancelled, "cancelled");
}

NSError tooLargeError() {
    return urlError(NSURLErrorDataLengthExceedsMaximum, "resource exceeds maximum size");
}

struct ErrorOfTransfer {
    CURLcode result;
    NSURLErrorCode code;
    const char* text;
};

constexpr ErrorOfTransfer kErrors[] = {
    {CURLE_URL_MALFORMAT, NSURLErrorBadURL, "bad URL"},
    {CURLE_UNSUPPORTED_PROTOCOL, NSURLErrorUnsupportedURL, "unsupported URL"},
    {CURLE_OPERATION_TIMEDOUT, NSURLErrorTimedOut, "The request timed out."},
    {CURLE_COULDNT_RESOLVE_HOST, NSURLErrorCannotFindHost,
     "A server with the specified hostname could not be found."},
    {CURLE_COULDNT_RESOLVE_PROXY, NSURLErrorCannotFindHost,
     "A server with the specified hostname could not be found."},
    {CURLE_COULDNT_CONNECT, NSURLErrorCannotConnectToHost, "Could not connect to the server."},
    {CURLE_PARTIAL_FILE, NSURLErrorNetworkConnectionLost, "The network connection was lost."},
    {CURLE_RECV_ERROR, NSURLErrorNetworkConnectionLost, "The network connection was lost."},
    {CURLE_SEND_ERROR, NSURLErrorNetworkConnectionLost, "The network connection was lost."},
    {CURLE_GOT_NOTHING, NSURLErrorNetworkConnectionLost, "The network connection was lost."},
    {CURLE_TOO_MANY_REDIRECTS, NSURLErrorHTTPTooManyRedirects, "too many HTTP redirects"},
    {CURLE_WEIRD_SERVER_REPLY, NSURLErrorBadServerResponse, "bad server response"},
    {CURLE_BAD_CONTENT_ENCODING, NSURLErrorCannotDecodeRawData, "cannot decode raw data"},
    {CURLE_FILESIZE_EXCEEDED, NSURLErrorDataLengthExceedsMaximum, "resource exceeds maximum size"},
    {CURLE_SSL_CONNECT_ERROR, NSURLErrorSecureConnectionFailed,
     "A secure connection to the server could not be made."},
    {CURLE_PEER_FAILED_VERIFICATION, NSURLErrorSecureConnectionFailed,
     "A secure connection to the server could not be made."},
};

NSError errorOf(CURLcode result) {
    for (const auto& error : kErrors) {
        if (error.result == result) return urlError(error.code, error.text);
    }
    return urlError(NSURLErrorUnknown, curl_easy_strerror(result));
}

long milliseconds(double seconds) {
    return static_cast<long>(std::clamp(std::ceil(seconds * 1000), 1.0, 2e9));
}

}  // namespace

// What the session's thread and its tasks share. The thread alone touches curl.
struct URLSession::State : std::enable_shared_from_this<State> {
    class Task;

    explicit State(Configuration settings) : configuration(settings) {}

    void enqueue(const std::shared_ptr<Task>& task);
    void wakeUp() { curl_multi_wakeup(multi.get()); }
    void work();

    const Configuration configuration;
    std::unique_ptr<CURLM, MultiCleanup> multi;
    std::thread thread;

    std::mutex mutex;  // guards what follows
    std::deque<std::shared_ptr<Task>> started;
    bool ending = false;

 private:
    using Running = std::map<CURL*, std::shared_ptr<Task>>;
    bool takeOrders();
    void begin(const std::shared_ptr<Task>& task);
    void finishDone();

    Running running_;
};

class URLSession::State::Task : public URLSessionDataTask,
                                public std::enable_shared_from_this<Task> {
 public:
    Task(std::weak_ptr<State> session, URL url, CompletionHandler completion)
        : url_(std::move(url)),
          session_(std::move(session)),
          completion_(std::move(completion)),
          loop_(RunLoop::current().shared_from_this()) {}

    void resume() override {
        if (resumed_.exchange(true)) return;
        if (const auto session = session_.lock()) session->enqueue(shared_from_this());
    }
    void cancel() override {
        cancelled_ = true;
        if (const auto session = session_.lock()) session->wakeUp();
    }

    const URL& url() const { return url_; }
    bool isCancelled() const { return cancelled_; }

    // On the session's thread.

    CURL* prepare(const Configuration& settings);
    /// With the result of the transfer that prepare() made.
    void finish(CURLcode result);
    void finish(std::optional<Data> data, std::optional<URLResponse> response,
                const NSError& error);

 private:
    static std::size_t receive(char* bytes, std::size_t size, std::size_t count, void* task);

    URL url_;
    std::weak_ptr<State> session_;
    CompletionHandler completion_;
    std::shared_ptr<RunLoop> loop_;
    std::atomic<bool> resumed_{false};
    std::atomic<bool> cancelled_{false};

    std::unique_ptr<CURL, EasyCleanup> easy_;
    Data data_;
    std::size_t largest_ = 0;
    bool tooLarge_ = false;
};

// A task's transfer

CURL* URLSession::State::Task::prepare(const Configuration& settings) {
    easy_.reset(curl_easy_init());
    CURL* easy = easy_.get();
    if (!easy) return nullptr;
    largest_ = settings.largestResource;
    curl_easy_setopt(easy, CURLOPT_URL, url_.absoluteString().c_str());
    curl_easy_setopt(easy, CURLOPT_PROTOCOLS_STR, "http,https");
    curl_easy_setopt(easy, CURLOPT_REDIR_PROTOCOLS_STR, "http,https");
    curl_easy_setopt(easy, CURLOPT_FOLLOWLOCATION, 1L);
    curl_easy_setopt(easy, CURLOPT_MAXREDIRS, 20L);
    curl_easy_setopt(easy, CURLOPT_ACCEPT_ENCODING, "");
    curl_easy_setopt(easy, CURLOPT_NOSIGNAL, 1L);
    curl_easy_setopt(easy, CURLOPT_CONNECTTIMEOUT_MS, milliseconds(settings.timeoutForRequest));
    curl_easy_setopt(easy, CURLOPT_LOW_SPEED_LIMIT, 1L);
    curl_easy_setopt(easy, CURLOPT_LOW_SPEED_TIME,
                     (milliseconds(settings.timeoutForRequest) + 999) / 1000);
    curl_easy_setopt(easy, CURLOPT_TIMEOUT_MS, milliseconds(settings.timeoutForResource));
    curl_easy_setopt(easy, CURLOPT_MAXFILESIZE_LARGE, static_cast<curl_off_t>(largest_));
    curl_easy_setopt(easy, CURLOPT_WRITEFUNCTION, &Task::receive);
    curl_easy_setopt(easy, CURLOPT_WRITEDATA, this);
    return easy;
}

std::size_t URLSession::State::Task::receive(char* bytes, std::size_t size, std::size_t count,
                                             void* task) {
    auto& self = *static_cast<Task*>(task);
    const std::span received(reinterpret_cast<const std::byte*>(bytes), size * count);
    if (received.size() > self.largest_ - self.data_.size()) {
        self.tooLarge_ = true;
        return 0;  // ends the transfer
    }
    self.data_.insert(self.data_.end(), received.begin(), received.end());
    return received.size();
}

void URLSession::State::Task::finish(CURLcode result) {
    if (result != CURLE_OK) return finish({}, {}, tooLarge_ ? tooLargeError() : errorOf(result));
    long status = 0;
    const char* address = nullptr;
    curl_easy_getinfo(easy_.get(), CURLINFO_RESPONSE_CODE, &status);
    curl_easy_getinfo(easy_.get(), CURLINFO_EFFECTIVE_URL, &address);
    URLResponse response{URL::withString(address ? address : "").value_or(url_),
                         static_cast<int>(status)};
    finish(std::move(data_), std::move(response), {});
}

void URLSession::State::Task::finish(std::optional<Data> data, std::optional<URLResponse> response,
                                     const NSError& error) {
    const auto completion = std::exchange(completion_, {});
    easy_.reset();
    const RunLoop::MakeCurrent makeCurrent(loop_);
    if (completion) completion(std::move(data), std::move(response), error);
}

// Orders from other threads

void URLSession::State::enqueue(const std::shared_ptr<Task>& task) {
    bool refused = false;
    {
        const std::lock_guard lock(mutex);
        refused = ending;
        if (!refused) {
            started.push_back(task);
            if (!thread.joinable()) thread = std::thread([this] { work(); });
        }
    }
    wakeUp();
    if (refused) task->finish({}, {}, cancelledError());
}

// The session's thread

void URLSession::State::work() {
    sigset_t all;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all,
                    nullptr);  // a broken connection's SIGPIPE, and what is others'
    while (takeOrders()) {
        int active = 0;
        curl_multi_perform(multi.get(), &active);
        finishDone();
        curl_multi_poll(multi.get(), nullptr, 0, 60'000, nullptr);
    }
}

/// Begins and cancels what was asked for. False once the session ends and all is cancelled.
bool URLSession::State::takeOrders() {
    std::deque<std::shared_ptr<Task>> toBegin;
    bool end = false;
    {
        const std::lock_guard lock(mutex);
        toBegin.swap(started);
        end = ending;
    }
    for (auto entry = running_.begin(); entry != running_.end();) {
        const auto [easy, task] = *entry;
        if (!end && !task->isCancelled()) {
            ++entry;
            continue;
        }
        entry = running_.erase(entry);
        curl_multi_remove_handle(multi.get(), easy);
        task->finish({}, {}, cancelledError());
    }
    for (const auto& task : toBegin) {
        if (end || task->isCancelled()) {
            task->finish({}, {}, cancelledError());
        } else {
            begin(task);
        }
    }
    return !end;
}

void URLSession::State::begin(const std::shared_ptr<Task>& task) {
    if (task->url().isFileURL()) {
        NSError error;
        auto data = contentsOf(task->url(), &error);
        if (data && data->size() > configuration.largestResource) {
            return task->finish({}, {}, tooLargeError());
        }
        std::optional<URLResponse> response;
        if (data) response = URLResponse{task->url(), {}};
        return task->finish(std::move(data), std::move(response), error);
    }
    CURL* easy = task->prepare(configuration);
    if (!easy || curl_multi_add_handle(multi.get(), easy) != CURLM_OK) {
        return task->finish({}, {}, errorOf(CURLE_OUT_OF_MEMORY));
    }
    running_.emplace(easy, task);
}

void URLSession::State::finishDone() {
    int left = 0;
    while (const CURLMsg* message = curl_multi_info_read(multi.get(), &left)) {
        if (message->msg != CURLMSG_DONE) continue;
        const auto result = message->data.result;
        const auto entry = running_.find(message->easy_handle);
        const auto task = entry->second;
        curl_multi_remove_handle(multi.get(), entry->first);
        running_.erase(entry);
        task->finish(result);
    }
}

// The session

URLSession& URLSession::shared() {
    static URLSession session;
    return session;
}

URLSession::URLSession(Configuration configuration)
    : state_(std::make_shared<State>(configuration)) {
    static std::once_flag once;
    std::call_once(once, [] { curl_global_init(CURL_GLOBAL_DEFAULT); });
    state_->multi.reset(curl_multi_init());
}

URLSession::~URLSession() {
    {
        const std::lock_guard lock(state_->mutex);
        state_->ending = true;
        state_->wakeUp();
    }
    if (state_->thread.joinable()) state_->thread.join();
}

std::shared_ptr<URLSessionDataTask> URLSession::dataTask(URL url, CompletionHandler completion) {
    return std::make_shared<State::Task>(state_, std::move(url), std::move(completion));
}

}  // namespace platform
