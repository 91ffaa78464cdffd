#pragma once

#include <cstddef>
#include <string>

#include "hosts/cli/StatusLine.h"
#include "hosts/cli/workers.h"

namespace qov::cli {

/// What a user sees of a batch on standard error: a line with what is left, the failures, and a
/// summary.
class BatchStatus {
 public:
    /// isShown: whether the line is.
    BatchStatus(std::size_t files, bool isShown) : files_(files), line_(isShown) {}

    /// Prints what a job wrote to standard error, and a line where its worker was ended.
    void take(const std::string& file, const JobResult& result, bool isSkipped);
    /// Updates the line when it is time.
    void show(std::size_t ended);
    /// Removes the line, for other output.
    void clear() { line_.clear(); }
    /// "1,000 files: 990 rendered, 7 skipped, 3 failed"; where not all ended, "412 of 1,000
    /// files:". done: "rendered". more: behind it.
    void summarize(const std::string& done, const std::string& more);

    /// How many jobs failed so far.
    std::size_t failed() const { return failed_; }

 private:
    const std::size_t files_;
    StatusLine line_;
    std::size_t done_ = 0, skipped_ = 0, failed_ = 0;
};

/// Ends the process by a signal; 0 for none.
void endBy(int signal);

}  // namespace qov::cli
