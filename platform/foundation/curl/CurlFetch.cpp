// Fetching over HTTP with libcurl.

#include <curl/curl.h>

#include <algorithm>
#include <cmath>
#include <memory>
#include <mutex>
#include <span>
#include <string>
#include <utility>

#include "platform/foundation/fetchRemote.h"

namespace platform {
namespace {

struct Cleanup {  // the handle is a void*
    void operator()(CURL* easy) const { curl_easy_cleanup(easy); }
};
struct ErrorOfTransfer {
    CURLcode result;
    NSURLErrorCode code;
    const char* text;
};

constexpr ErrorOfTransfer kErrors[] = {
    {CURLE_ABORTED_BY_CALLBACK, NSURLErrorCancelled, "cancelled"},
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

NSError transferError(CURLcode result) {
    for (const auto& error : kErrors)
        if (error.result == result) return {NSURLErrorDomain, error.code, error.text};
    return {NSURLErrorDomain, NSURLErrorUnknown, curl_easy_strerror(result)};
}

long milliseconds(double seconds) {
    return static_cast<long>(std::clamp(std::ceil(seconds * 1000), 1.0, 2e9));
}

/// The bytes received so far, the most that are taken, and what ends the transfer early.
struct Received {
    Data data;
    std::size_t largest;
    const std::atomic<bool>* cancelled;  // may be null
    bool tooLarge = false;

    static std::size_t append(char* bytes, std::size_t size, std::size_t count, void* received) {
        auto& self = *static_cast<Received*>(received);
        const std::span more(reinterpret_cast<const std::byte*>(bytes), size * count);
        self.tooLarge = more.size() > self.largest - self.data.size();
        if (self.tooLarge) return 0;  // ends the transfer
        self.data.insert(self.data.end(), more.begin(), more.end());
        return more.size();
    }
    /// Called at least once a second; anything but 0 ends the transfer.
    static int progress(void* received, curl_off_t, curl_off_t, curl_off_t, curl_off_t) {
        const auto* cancelled = static_cast<Received*>(received)->cancelled;
        return cancelled && *cancelled;
    }
};

void prepare(CURL* easy, const URL& url, const URLSession::Configuration& limits,
             Received& received) {
    curl_easy_setopt(easy, CURLOPT_URL, url.absoluteString().c_str());
    curl_easy_setopt(easy, CURLOPT_PROTOCOLS_STR, "http,https");
    curl_easy_setopt(easy, CURLOPT_REDIR_PROTOCOLS_STR, "http,https");
    curl_easy_setopt(easy, CURLOPT_FOLLOWLOCATION, 1L);
    curl_easy_setopt(easy, CURLOPT_MAXREDIRS, 20L);
    curl_easy_setopt(easy, CURLOPT_ACCEPT_ENCODING, "");
    curl_easy_setopt(easy, CURLOPT_NOSIGNAL, 1L);
    curl_easy_setopt(easy, CURLOPT_CONNECTTIMEOUT_MS, milliseconds(limits.timeoutForRequest));
    curl_easy_setopt(easy, CURLOPT_LOW_SPEED_LIMIT, 1L);
    curl_easy_setopt(easy, CURLOPT_LOW_SPEED_TIME,
                     (milliseconds(limits.timeoutForRequest) + 999) / 1000);
    curl_easy_setopt(easy, CURLOPT_TIMEOUT_MS, milliseconds(limits.timeoutForResource));
    curl_easy_setopt(easy, CURLOPT_MAXFILESIZE_LARGE, static_cast<curl_off_t>(received.largest));
    curl_easy_setopt(easy, CURLOPT_WRITEFUNCTION, &Received::append);
    curl_easy_setopt(easy, CURLOPT_WRITEDATA, &received);
    curl_easy_setopt(easy, CURLOPT_NOPROGRESS, 0L);
    curl_easy_setopt(easy, CURLOPT_XFERINFOFUNCTION, &Received::progress);
    curl_easy_setopt(easy, CURLOPT_XFERINFODATA, &received);
}

}  // namespace

void prepareRemote() {
    static std::once_flag once;
    std::call_once(once, [] { curl_global_init(CURL_GLOBAL_DEFAULT); });
}

URLFetch fetchRemote(const URL& url, const URLSession::Configuration& limits,
                     const std::atomic<bool>* cancelled) {
    prepareRemote();
    const std::unique_ptr<CURL, Cleanup> easy(curl_easy_init());
    if (!easy) return {{}, {}, transferError(CURLE_OUT_OF_MEMORY)};
    Received received{{}, limits.largestResource, cancelled};
    prepare(easy.get(), url, limits, received);
    if (const auto result = curl_easy_perform(easy.get()); result != CURLE_OK)
        return {{}, {}, transferError(received.tooLarge ? CURLE_FILESIZE_EXCEEDED : result)};
    long status = 0;
    const char* address = nullptr;
    curl_easy_getinfo(easy.get(), CURLINFO_RESPONSE_CODE, &status);
    curl_easy_getinfo(easy.get(), CURLINFO_EFFECTIVE_URL, &address);
    return {std::move(received.data),
            URLResponse{URL::withString(address ? address : "").value_or(url),
                        static_cast<int>(status)},
            {}};
}

}  // namespace platform
