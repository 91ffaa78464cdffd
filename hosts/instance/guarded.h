#pragma once

namespace qov::hosts {

/// What call() gives, or `failed` where an exception ends it: hosts call us through C, which none
/// may cross.
template <class Result, class Call>
Result guarded(Result failed, const Call& call) noexcept {
    try {
        return call();
    } catch (...) {
        return failed;
    }
}

/// The same for a call that gives nothing.
template <class Call>
void guarded(const Call& call) noexcept {
    guarded(true, [&] { return call(), true; });
}

}  // namespace qov::hosts
