#pragma once

#include <atomic>
#include <cstddef>
#include <functional>
#include <future>
#include <mutex>
#include <optional>
#include <vector>

#include "platform/foundation/Data.h"
#include "platform/foundation/NSError.h"
#include "platform/foundation/URL.h"

namespace platform {

/// Codes of NSURLErrorDomain.
enum NSURLErrorCode : int {
    NSURLErrorUnknown = -1,
    NSURLErrorCancelled = -999,
    NSURLErrorBadURL = -1000,
    NSURLErrorTimedOut = -1001,
    NSURLErrorUnsupportedURL = -1002,
    NSURLErrorCannotFindHost = -1003,
    NSURLErrorCannotConnectToHost = -1004,
    NSURLErrorNetworkConnectionLost = -1005,
    NSURLErrorHTTPTooManyRedirects = -1007,
    NSURLErrorBadServerResponse = -1011,
    NSURLErrorCannotDecodeRawData = -1015,
    NSURLErrorDataLengthExceedsMaximum = -1103,
    NSURLErrorSecureConnectionFailed = -1200,
};

/// The source and the status of fetched data.
struct URLResponse {
    URL url;                        ///< where the data came from after redirections
    std::optional<int> statusCode;  ///< of HTTP; nothing for a file
};

/// What a fetch ended with: data and response, or an error. Any HTTP status is a response, 404 too.
struct URLFetch {
    std::optional<Data> data;
    std::optional<URLResponse> response;
    NSError error;
};

/// Fetches file:, http: and https: URLs, each on a thread of its own.
class URLSession {
 public:
    /// Limits of each fetch of a session.
    struct Configuration {
        double timeoutForRequest = 60;                ///< seconds without a byte
        double timeoutForResource = 7 * 24 * 3600;    ///< seconds for the whole
        std::size_t largestResource = kLargestFetch;  ///< bytes, after decompression
    };
    /// Runs on the fetch's thread; the run loop that was current at data() is current again.
    using CompletionHandler = std::function<void(URLFetch fetch)>;

    /// The process's session with the default limits.
    static URLSession& shared();

    URLSession() : URLSession(Configuration{}) {}
    explicit URLSession(const Configuration& configuration);
    /// Cancels pending fetches (NSURLErrorCancelled) and returns after their completions, within
    /// about a second. Not from a completion.
    ~URLSession();
    URLSession(const URLSession&) = delete;
    URLSession& operator=(const URLSession&) = delete;

    /// Starts a fetch and returns. Any thread.
    void data(URL url, CompletionHandler completion);

    /// Fetches on the calling thread; checks *cancelled, if given, once a second or more often.
    static URLFetch fetch(const URL& url, const Configuration& configuration,
                          const std::atomic<bool>* cancelled = nullptr);

 private:
    const Configuration configuration_;
    std::atomic<bool> cancelled_{false};
    std::mutex mutex_;                        // guards running_
    std::vector<std::future<void>> running_;  // the destructor blocks until they are done
};

}  // namespace platform
