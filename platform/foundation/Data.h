#pragma once

#include <cstddef>
#include <optional>
#include <vector>

namespace platform {

class NSError;
class URL;

/// A file's or an answer's bytes.
using Data = std::vector<std::byte>;

/// Everything behind a file:, http: or https: URL, fetched before it returns (redirections are
/// followed). Nothing, and the reason in error, on failure: not a regular file, an HTTP status of
/// 400 and above, a transfer that ends early or stalls for 60 s, or more than kLargestFetch bytes.
/// Any thread.
std::optional<Data> contentsOf(const URL& url, NSError* error = nullptr);

inline constexpr std::size_t kLargestFetch = std::size_t{256} << 20;

}  // namespace platform
