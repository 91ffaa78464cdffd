#include <unistd.h>

#include <string>
#include <vector>

#include <fmt/format.h>

#include "hosts/cli/Automation.h"
#include "hosts/cli/Command.h"
#include "hosts/cli/FigureLimit.h"
#include "hosts/cli/FigureWriter.h"
#include "hosts/cli/OptionParser.h"
#include "hosts/cli/Parameters.h"
#include "hosts/cli/drawFieldOf.h"
#include "hosts/cli/measureFile.h"
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
1 where a file could not be measured; the other files are measured all the same.
)";

/// The command line, before it is checked.
struct MeasureOptions {
    std::vector<std::string> files, limits;
    std::string every, picture;
    bool isJson = false;
    bool isCsv = false;
};

void declareMeasure(OptionParser& parser, MeasureOptions& options) {
    parser.addArguments("FILE", options.files, "sound files, stereo or mono; - for standard input");
    parser.addSwitch("--json", options.isJson, "as JSON");
    parser.addSwitch("--csv", options.isCsv, "as comma-separated values");
    parser.addOption("--every", options.every, "a row for each part of this length, as in 1s",
                     "TIME");
    parser.addRepeatedOption("--fail-if", options.limits,
                             "end with code 3 beyond a limit, as in \"correlation<0\"; repeatable",
                             "LIMIT");
    parser.addOption("--picture", options.picture, "also draw one or two files, as field does",
                     "OUT");
}

/// Throws Failure (2) for options that do not go together.
void check(const MeasureOptions& options) {
    if (options.isJson && options.isCsv) throw Failure("--json and --csv: take one of them", 2);
    if (!options.picture.empty() && options.files.size() > 2)
        throw Failure("--picture: draws one or two files", 2);
    if (options.every.empty()) return;
    try {
        static_cast<void>(parseTime(options.every, highestRate));
    } catch (const Failure& failure) {
        throw Failure(fmt::format("--every: {}", failure.what()), 2);
    }
}

/// Prints what is measured, and compares it with the limits.
class Report {
 public:
    Report(const MeasureOptions& options, std::vector<FigureLimit> limits)
        : writer_(options.isJson  ? FigureWriter::Form::json
                  : options.isCsv ? FigureWriter::Form::csv
                                  : FigureWriter::Form::table,
                  !options.every.empty()),
          limits_(std::move(limits)),
          place_("-") {
        place_.write(writer_.head());
    }

    void add(const std::string& file, const MeasuredPart& part) {
        auto row = writer_.row(file, part);
        if (writer_.form() == FigureWriter::Form::json && isFirst_) row.erase(0, 1);
        isFirst_ = false;
        place_.write(row);
        for (const auto& remark : remarksOn(part.figures))
            remarks_.push_back(fmt::format("{}: {}", file, remark));
        for (const auto& limit : limits_) {
            const double value = part.figures.*limit.row->value;
            if (!limit.failsAt(value)) continue;
            hasFailed_ = true;
            fmt::print(stderr, "kelvane: {}{}: {} is {:.6g}{}{}; it fails --fail-if \"{}\"\n", file,
                       writer_.isCurve() ? fmt::format(" at {:.3f} s", part.startSeconds()) : "",
                       limit.row->name, value, limit.row->unit.empty() ? "" : " ", limit.row->unit,
                       limit.text);
        }
    }
    void finish() { place_.write(writer_.end(remarks_)); }

    bool hasFailed() const { return hasFailed_; }

 private:
    const FigureWriter writer_;
    const std::vector<FigureLimit> limits_;
    const hosts::OutputPlace place_;
    std::vector<std::string> remarks_;
    bool isFirst_ = true;
    bool hasFailed_ = false;
};

}  // namespace

int runMeasure(const Arguments& arguments) {
    OptionParser parser("kelvane measure",
                        "Measures the stereo image and the levels of sound files.", measureHelp);
    MeasureOptions options;
    declareMeasure(parser, options);
    if (const auto code = parser.parse(arguments)) return *code;
    check(options);
    std::vector<FigureLimit> limits;
    for (const auto& text : options.limits) limits.push_back(parseLimit(text));
    Report report(options, std::move(limits));
    bool isComplete = true;
    for (const auto& file : options.files) {
        try {
            measureFile(file, options.every, isatty(STDERR_FILENO) != 0,
                        [&](const MeasuredPart& part) { report.add(file, part); });
        } catch (const Failure& failure) {
            fmt::print(stderr, "kelvane: {}\n", failure.what());
            isComplete = false;
        }
    }
    report.finish();
    if (!options.picture.empty() && isComplete) drawFieldOf(options.files, options.picture);
    return !isComplete ? 1 : report.hasFailed() ? 3 : 0;
}

}  // namespace qov::cli
