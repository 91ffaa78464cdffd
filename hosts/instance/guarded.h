#pragma once

namespace qov::hosts {

/// The result of call(), or `failed` if it throws: no exception may cross into a host, which calls
/// through C.
template <class Result, class Call>
Result guarded(Result failed, const Call& call) noexcept {
    try {
        return call();
    } catch (...) {
        return failed;
    }
}

/// The same for a call without a result.
template <class Call>
void guarded(const Call& call) noexcept {
    guarded(true, [&] { return call(), true; });
}

}  // namespace qov::hosts
