#include <unistd.h>

#include <cstdio>
#include <functional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <fmt/format.h>

#include "hosts/cli/Automation.h"
#include "hosts/cli/BatchOptions.h"
#include "hosts/cli/BatchStatus.h"
#include "hosts/cli/Command.h"
#include "hosts/cli/FigureLimit.h"
#include "hosts/cli/FigureWriter.h"
#include "hosts/cli/OptionParser.h"
#include "hosts/cli/Parameters.h"
#include "hosts/cli/drawFieldOf.h"
#include "hosts/cli/measureFile.h"
#include "hosts/cli/workers.h"
#include "hosts/output/OutputPlace.h"

namespace qov::cli {
namespace {

constexpr auto measureHelp = R"(
The figures, by the names that --fail-if takes:
  correlation   of the channels, -1 to 1; below 0 they cancel each other in mono
  side-to-mid   level of (L - R) / 2 against (L + R) / 2, dB
  balance       level of the right channel against the left, dB
  peak          highest sample, dBFS
  true-peak     highest level between the samples, dBTP (ITU-R BS.1770)
  loudness      integrated, LUFS (EBU R 128); a mono file counts as played on both sides
  range         loudness range, LU (EBU Tech 3342)
  mono-cost     how much loudness (L + R) / 2 on both sides loses, LU
  dc-left       mean of the channel's samples, 1 for full scale; dc-right likewise
  delay         of the left channel after the right, up to 20 ms either way, frames; negative: before
  match         correlation of the channels at that delay
  invalid       samples that are NaN or infinite; they count as 0

An undefined figure, such as the correlation of silence, is - in the table, nothing in CSV and null in
JSON, and fails no limit. The level of silence is -inf. The exit code is 3 where a figure fails a limit,
1 where a file could not be measured; the other files are measured all the same. Several files are
measured by all cores; the order of the rows is that of the files.
)";

constexpr int beyondLimit = 3;  // exit code

using Print = std::function<void(std::string_view rows)>;

/// The command line, before it is checked.
struct MeasureOptions {
    std::vector<std::string> files, limits;
    BatchOptions batch;
    std::string every, picture;
    bool isJson = false;
    bool isCsv = false;
};

void declareMeasure(OptionParser& parser, MeasureOptions& options) {
    parser.addArguments("FILE", options.files,
                        "sound files, stereo or mono, or folders; - for standard input");
    parser.addSwitch("--json", options.isJson, "as JSON");
    parser.addSwitch("--csv", options.isCsv, "as comma-separated values");
    parser.addOption("--every", options.every, "a row for each part of this length, as in 1s",
                     "TIME");
    parser.addRepeatedOption("--fail-if", options.limits,
                             "end with code 3 beyond a limit, as in \"correlation<0\"; repeatable",
                             "LIMIT");
    options.batch.declare(parser);
    parser.addOption("--picture", options.picture, "also draw one or two files, as field does",
                     "OUT");
}

/// Throws Failure (2) for options that do not go together.
void check(const MeasureOptions& options) {
    if (options.isJson && options.isCsv) throw Failure("--json and --csv: take one of them", 2);
    if (!options.picture.empty()) {
        if (options.files.empty() || options.files.size() > 2)
            throw Failure("--picture: draws one or two files", 2);
        checkField(options.files, options.picture);
    }
    if (options.every.empty()) return;
    try {
        static_cast<void>(parseTime(options.every, highestRate));
    } catch (const Failure& failure) {
        throw Failure(fmt::format("--every: {}", failure.what()), 2);
    }
}

/// What `kelvane measure` does with each file.
class Measurement {
 public:
    Measurement(const MeasureOptions& options, std::vector<FigureLimit> limits)
        : every_(options.every),
          writer_(options.isJson  ? FigureWriter::Form::json
                  : options.isCsv ? FigureWriter::Form::csv
                                  : FigureWriter::Form::table,
                  !options.every.empty()),
          limits_(std::move(limits)) {}

    const FigureWriter& writer() const { return writer_; }

    /// Measures a file and prints its rows, and on standard error the limits that it fails. Adds a
    /// line to `remarks` for each. Returns the exit code. Throws Failure where it cannot be read.
    int run(const std::string& file, bool showProgress, const Print& print,
            std::string& remarks) const {
        int code = 0;
        measureFile(file, every_, showProgress, [&](const MeasuredPart& part) {
            print(writer_.row(file, part));
            if (writer_.hasRemarks())
                for (const auto& remark : remarksOn(part.figures))
                    remarks += fmt::format("{}: {}\n", file, remark);
            for (const auto& limit : limits_)
                if (limit.failsAt(part.figures.*limit.row->value)) {
                    code = beyondLimit;
                    reportFailure(file, part, limit);
                }
        });
        return code;
    }

 private:
    void reportFailure(const std::string& file, const MeasuredPart& part,
                       const FigureLimit& limit) const {
        fmt::print(stderr, "kelvane: {}{}: {} is {:.6g}{}{}; it fails --fail-if \"{}\"\n", file,
                   writer_.isCurve() ? fmt::format(" at {:.3f} s", part.startSeconds()) : "",
                   limit.row->name, part.figures.*limit.row->value,
                   limit.row->unit.empty() ? "" : " ", limit.row->unit, limit.text);
    }

    const std::string every_;
    const FigureWriter writer_;
    const std::vector<FigureLimit> limits_;
};

/// Measures a file. Returns the exit code.
int measureOne(const Measurement& measurement, const std::string& file, const Print& print,
               std::string& remarks) {
    try {
        return measurement.run(file, isatty(STDERR_FILENO) != 0, print, remarks);
    } catch (const Failure& failure) {
        fmt::print(stderr, "kelvane: {}\n", failure.what());
        return failure.exitCode();
    }
}

/// Measures many files in worker processes. Returns the exit code; *signal: what is to end the
/// program, 0 for nothing.
int measureAll(const Measurement& measurement, const std::vector<BatchInput>& inputs,
               unsigned workers, const Print& print, std::string& remarks, int* signal) {
    BatchStatus status(inputs.size(), isatty(STDERR_FILENO) != 0);
    bool isBeyond = false;
    const Jobs jobs{
        .count = inputs.size(),
        .run =
            [&](std::size_t job, std::string& more) {
                const auto printRow = [](std::string_view row) {
                    std::fwrite(row.data(), 1, row.size(), stdout);
                };
                if (!inputs[job].fault.empty()) throw Failure(inputs[job].fault);
                return measurement.run(inputs[job].path, false, printRow, more);
            },
        .take =
            [&](std::size_t job, const JobResult& result) {
                status.take(inputs[job].path, result, false);
                isBeyond = isBeyond || result.code == beyondLimit;
                if (result.out.empty()) return;
                if (isatty(STDOUT_FILENO) != 0) status.clear();
                print(result.out);
                remarks += result.more;
            },
        .progress = [&](std::size_t ended) { status.show(ended); },
    };
    *signal = runInWorkers(jobs, workers);
    if (status.failed() > 0 || *signal != 0) status.summarize("measured", "");
    return status.failed() > 0 ? 1 : isBeyond ? beyondLimit : 0;
}

}  // namespace

int runMeasure(const Arguments& arguments) {
    OptionParser parser("kelvane measure",
                        "Measures the stereo image and the levels of sound files.", measureHelp);
    MeasureOptions options;
    declareMeasure(parser, options);
    if (const auto code = parser.parse(arguments)) return *code;
    const auto& batch = options.batch;
    if (options.files.empty() && batch.filesFrom.empty()) throw parser.missing("FILE");
    check(options);
    std::vector<FigureLimit> limits;
    for (const auto& text : options.limits) limits.push_back(parseLimit(text));
    const Measurement measurement(options, std::move(limits));
    const bool isBatch = batch.areMany(options.files);
    std::vector<BatchInput> inputs;
    if (isBatch) inputs = batch.inputs(options.files);
    std::erase_if(inputs, [](const BatchInput& input) { return !input.isOurs; });
    const unsigned workers = batch.workers();

    const hosts::OutputPlace place("-");
    place.write(measurement.writer().head());
    bool isFirst = true;
    const Print print = [&](std::string_view rows) {
        // In JSON a comma stands before each row.
        if (isFirst && rows.starts_with(',')) rows.remove_prefix(1);
        isFirst = false;
        place.write(rows);
    };
    std::string remarks;
    int signal = 0;
    const int code = isBatch ? measureAll(measurement, inputs, workers, print, remarks, &signal)
                             : measureOne(measurement, options.files[0], print, remarks);
    place.write(measurement.writer().end(remarks));
    endBy(signal);
    if (!options.picture.empty() && code != 1) drawFieldOf(options.files, options.picture);
    return code;
}

}  // namespace qov::cli
