#pragma once

#include <cstddef>
#include <functional>
#include <string>

namespace qov::cli {

/// What became of a job.
struct JobResult {
    int code = 0;          ///< its exit code; 1 where its worker ended
    int signal = 0;        ///< that ended its worker; 0 for none
    int process = 0;       ///< of a worker that a signal ended
    std::string out, err;  ///< what it wrote to the standard streams
    std::string more;      ///< what its call returned besides
};

/// A number of jobs.
struct Jobs {
    std::size_t count = 0;
    /// Does a job, in a worker process, and returns its exit code. A Failure is the job's.
    std::function<int(std::size_t job, std::string& more)> run;
    /// Takes a job's result: one after the other, in the order of the jobs.
    std::function<void(std::size_t job, const JobResult& result)> take;
    /// Called when a job has ended, and every 0.1 s, with how many have.
    std::function<void(std::size_t ended)> progress;
};

/// Does the jobs in worker processes, so that none shares anything with another. A job whose worker
/// is ended by a signal has failed; the others go on. Where SIGINT, SIGTERM or SIGHUP end this
/// process, the workers are ended, what is done is taken, and the signal is returned; otherwise 0.
/// No other thread may run.
int runInWorkers(const Jobs& jobs, unsigned workers);

}  // namespace qov::cli
