#include "hosts/cli/BatchStatus.h"

#include <csignal>
#include <cstdio>
#include <cstring>

#include <fmt/format.h>

#include "hosts/cli/BatchOptions.h"
#include "hosts/cli/Progress.h"

namespace qov::cli {

void BatchStatus::take(const std::string& file, const JobResult& result, bool isSkipped) {
    if (!result.err.empty() || result.signal != 0) line_.clear();
    std::fputs(result.err.c_str(), stderr);
    if (result.signal != 0)
        fmt::print(stderr, "kelvane: {}: its process was ended: {}\n", file,
                   strsignal(result.signal));
    ++(isSkipped ? skipped_ : result.code == 1 || result.code == 2 ? failed_ : done_);
}

void BatchStatus::show(std::size_t ended) {
    if (!line_.isDue()) return;
    const auto worked = ended - skipped_;
    std::string left;
    if (worked > 0 && ended < files_) {
        const auto seconds = static_cast<std::int64_t>(line_.elapsed().count() *
                                                       static_cast<double>(files_ - ended) /
                                                       static_cast<double>(worked));
        left = fmt::format(", {} left", minutesAndSeconds(seconds));
    }
    line_.show(fmt::format(
        "{} of {}{}{}", fmt::group_digits(ended), countOf(files_),
        failed_ > 0 ? fmt::format(", {} failed", fmt::group_digits(failed_)) : "", left));
}

void BatchStatus::summarize(const std::string& done, const std::string& more) {
    line_.clear();
    const auto ended = done_ + skipped_ + failed_;
    fmt::print(
        stderr, "kelvane: {}{}: {} {}{}{}{}\n",
        ended < files_ ? fmt::format("interrupted after {} of ", fmt::group_digits(ended)) : "",
        countOf(files_), fmt::group_digits(done_), done,
        skipped_ > 0 ? fmt::format(", {} skipped", fmt::group_digits(skipped_)) : "",
        failed_ > 0 ? fmt::format(", {} failed", fmt::group_digits(failed_)) : "", more);
}

void endBy(int signal) {
    if (signal == 0) return;
    std::fflush(nullptr);
    std::signal(signal, SIG_DFL);
    std::raise(signal);
}

}  // namespace qov::cli
