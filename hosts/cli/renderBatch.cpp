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

/// The outputs of the inputs that are ours, in their order; the others are dropped.
std::vector<std::string> outputsOf(RenderBatch& batch) {
    std::vector<std::string> outputs;
    std::map<std::string, std::string_view> inputOf;
    std::set<FileId> inputs;
    FileId id;
    for (const auto& input : batch.inputs) {
        auto output = std::filesystem::path(batch.folder) / input.below;
        if (!batch.job.format.empty()) output.replace_extension(batch.job.format);
        if (input.isOurs) outputs.push_back(output.string());
        if (!input.fault.empty()) continue;
        const auto [first, isNew] = inputOf.emplace(output.string(), input.path);
        if (!isNew)
            throw Failure(fmt::format("{} and {}: both would become {}", first->second, input.path,
                                      output.string()),
                          2);
        if (input.isOurs && findId(input.path, id)) inputs.insert(id);
    }
    inputOf.clear();
    std::erase_if(batch.inputs, [](const BatchInput& input) { return !input.isOurs; });
    std::size_t existing = 0;
    for (std::size_t i = 0; i < outputs.size(); ++i) {
        if (!batch.inputs[i].fault.empty()) continue;
        const auto& output = outputs[i];
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

int renderOne(const RenderBatch& batch, const BatchInput& input, const std::string& output,
              std::string& more) {
    if (!input.fault.empty()) throw Failure(input.fault);
    std::error_code error;
    if (batch.skipDone && std::filesystem::exists(output, error)) {
        more = skipped;
        return 0;
    }
    const auto folder = std::filesystem::path(output).parent_path();
    std::filesystem::create_directories(folder, error);
    if (error) throw Failure(fmt::format("{}: {}", folder.string(), error.message()));
    auto job = batch.job;
    job.input = input.path;
    job.output = output;
    job.showProgress = false;
    renderFile(job);
    return 0;
}

}  // namespace

int renderBatch(RenderBatch batch) {
    const auto outputs = outputsOf(batch);
    BatchStatus status(batch.inputs.size(), batch.job.showProgress);
    const Jobs jobs{
        .count = outputs.size(),
        .run =
            [&](std::size_t job, std::string& more) {
                return renderOne(batch, batch.inputs[job], outputs[job], more);
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
