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

struct EasyCleanup {  // both handles are void*
    void operator()(CURL* easy) const { curl_easy_cleanup(easy); }
};
struct MultiCleanup {
    void operator()(CURLM* multi) const { curl_multi_cleanup(multi); }
};

NSError urlError(long code, const char* text) {
    return {NSURLErrorDomain, code, text};
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

NSError transferError(CURLcode result) {
    for (const auto& error : kErrors) {
        if (error.result == result) return urlError(error.code, error.text);
    }
    return urlError(NSURLErrorUnknown, curl_easy_strerror(result));
}

long milliseconds(double seconds) {
    return static_cast<long>(std::clamp(std::ceil(seconds * 1000), 1.0, 2e9));
}

/// The bytes received so far, and the most that are taken.
struct Received {
    Data data;
    std::size_t largest;
    bool tooLarge = false;

    static std::size_t append(char* bytes, std::size_t size, std::size_t count, void* received) {
        auto& self = *static_cast<Received*>(received);
        const std::span more(reinterpret_cast<const std::byte*>(bytes), size * count);
        self.tooLarge = more.size() > self.largest - self.data.size();
        if (self.tooLarge) return 0;  // ends the transfer
        self.data.insert(self.data.end(), more.begin(), more.end());
        return more.size();
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
}

/// The transfer's result; nothing where it was cancelled.
std::optional<CURLcode> perform(CURL* easy, const std::atomic<bool>* cancelled) {
    const std::unique_ptr<CURLM, MultiCleanup> multi(curl_multi_init());
    if (!multi || curl_multi_add_handle(multi.get(), easy) != CURLM_OK) return CURLE_OUT_OF_MEMORY;
    std::optional<CURLcode> result;
    for (int active = 1; active && !(cancelled && *cancelled);) {
        curl_multi_perform(multi.get(), &active);
        int left = 0;
        if (const auto* message = curl_multi_info_read(multi.get(), &left))
            result = message->data.result;
        else if (active)
            curl_multi_poll(multi.get(), nullptr, 0, 100, nullptr);
    }
    curl_multi_remove_handle(multi.get(), easy);
    return result;
}

}  // namespace

URLFetch fetchRemote(const URL& url, const URLSession::Configuration& limits,
                     const std::atomic<bool>* cancelled) {
    static std::once_flag once;
    std::call_once(once, [] { curl_global_init(CURL_GLOBAL_DEFAULT); });
    const std::unique_ptr<CURL, EasyCleanup> easy(curl_easy_init());
    if (!easy) return {{}, {}, transferError(CURLE_OUT_OF_MEMORY)};
    Received received{{}, limits.largestResource};
    prepare(easy.get(), url, limits, received);
    const auto result = perform(easy.get(), cancelled);
    if (!result) return {{}, {}, urlError(NSURLErrorCancelled, "cancelled")};
    if (*result != CURLE_OK)
        return {{}, {}, transferError(received.tooLarge ? CURLE_FILESIZE_EXCEEDED : *result)};
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
