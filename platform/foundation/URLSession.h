#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <optional>

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

/// Who answered a request, and how.
struct URLResponse {
    URL url;                        ///< where the data came from after redirections
    std::optional<int> statusCode;  ///< of HTTP; none for a file
};

/// One fetch of a session. It does nothing before resume().
class URLSessionDataTask {
 public:
    virtual ~URLSessionDataTask() = default;
    /// Starts the fetch, once. Any thread.
    virtual void resume() = 0;
    /// Ends a fetch that was started and not finished with NSURLErrorCancelled. Any thread.
    virtual void cancel() = 0;
};

/// Fetches file:, http: and https: URLs on a thread of its own, many at a time.
class URLSession {
 public:
    /// What a session's fetches are held to.
    struct Configuration {
        double timeoutForRequest = 60;                ///< seconds without a byte
        double timeoutForResource = 7 * 24 * 3600;    ///< seconds for the whole
        std::size_t largestResource = kLargestFetch;  ///< bytes, after decompression
    };
    /// Data and response, or an error. Any HTTP status is a response, 404 too.
    /// Runs on the session's thread with the run loop as current one that was so at dataTask();
    /// other fetches of the session wait meanwhile.
    using CompletionHandler = std::function<void(
        std::optional<Data> data, std::optional<URLResponse> response, const NSError& error)>;

    /// The process's session with the settings above.
    static URLSession& shared();

    URLSession() : URLSession(Configuration{}) {}
    explicit URLSession(Configuration configuration);
    /// Cancels what is under way and waits for the completions. Not from one of them.
    ~URLSession();
    URLSession(const URLSession&) = delete;
    URLSession& operator=(const URLSession&) = delete;

    /// A fetch that has not begun. Any thread.
    std::shared_ptr<URLSessionDataTask> dataTask(URL url, CompletionHandler completion);

 private:
    struct State;
    std::shared_ptr<State> state_;
};

}  // namespace platform
