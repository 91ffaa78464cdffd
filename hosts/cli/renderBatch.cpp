#include "hosts/cli/renderBatch.h"

#include <sys/stat.h>

#include <csignal>
#include <cstdio>
#include <filesystem>
#include <map>
#include <set>
#include <system_error>
#include <utility>

#include <fmt/format.h>

#include "hosts/cli/BatchStatus.h"
#include "hosts/cli/workers.h"
#include "hosts/output/OutputPlace.h"

namespace qov::cli {
namespace {

/// What a worker adds to the exit code of a file that it skipped.
constexpr std::string_view skipped = "skipped";

using FileId = std::pair<dev_t, ino_t>;

/// False where there is no such file.
bool findId(const std::string& path, FileId& id) {
    struct stat status {};
    if (stat(path.c_str(), &status) != 0) return false;
    id = {status.st_dev, status.st_ino};
    return true;
}

std::vector<std::string> outputsOf(const RenderBatch& batch) {
    std::vector<std::string> outputs;
    std::map<std::string_view, std::string_view> inputOf;
    std::set<FileId> inputs;
    FileId id;
    outputs.reserve(batch.inputs.size());
    for (const auto& input : batch.inputs) {
        auto output = std::filesystem::path(batch.folder) / input.below;
        if (!batch.job.format.empty()) output.replace_extension(batch.job.format);
        outputs.push_back(output.string());
        const auto [first, isNew] = inputOf.emplace(outputs.back(), input.path);
        if (!isNew)
            throw Failure(fmt::format("{} and {}: both would become {}", first->second, input.path,
                                      outputs.back()),
                          2);
        if (findId(input.path, id)) inputs.insert(id);
    }
    std::size_t existing = 0;
    for (const auto& output : outputs) {
        if (!findId(output, id)) continue;
        if (inputs.contains(id))
            throw Failure(fmt::format("{}: is an input, too; take another folder", output), 2);
        ++existing;
    }
    if (existing > 0 && !batch.overwrites && !batch.skipDone)
        throw Failure(
            fmt::format("{}: {} of the outputs exist; -y (--overwrite) replaces them, "
                        "--skip-done keeps them",
                        batch.folder, fmt::group_digits(existing)));
    return outputs;
}

int renderOne(const RenderBatch& batch, const std::string& input, const std::string& output,
              std::string& more) {
    std::error_code error;
    if (batch.skipDone && std::filesystem::exists(output, error)) {
        more = skipped;
        return 0;
    }
    const auto folder = std::filesystem::path(output).parent_path();
    std::filesystem::create_directories(folder, error);
    if (error) throw Failure(fmt::format("{}: {}", folder.string(), error.message()));
    auto job = batch.job;
    job.input = input;
    job.output = output;
    job.showProgress = false;
    renderFile(job);
    return 0;
}

}  // namespace

int renderBatch(const RenderBatch& batch) {
    const auto outputs = outputsOf(batch);
    BatchStatus status(batch.inputs.size(), batch.job.showProgress);
    const Jobs jobs{
        .count = outputs.size(),
        .run =
            [&](std::size_t job, std::string& more) {
                return renderOne(batch, batch.inputs[job].path, outputs[job], more);
            },
        .take =
            [&](std::size_t job, const JobResult& result) {
                status.take(batch.inputs[job].path, result, result.more == skipped);
                if (result.signal != 0) hosts::removeUnfinished(outputs[job], result.process);
                std::fputs(result.out.c_str(), stdout);  // --diagnostics
            },
        .progress = [&](std::size_t ended) { status.show(ended); },
    };
    const int signal = runInWorkers(jobs, batch.workers);
    if (!batch.job.isQuiet || signal != 0)
        status.summarize("rendered", signal == 0 ? "" : "; --skip-done goes on from there");
    endBy(signal);
    return status.failed() > 0 ? 1 : 0;
}

}  // namespace qov::cli
