#include "hosts/cli/measureFile.h"

#include <algorithm>
#include <limits>
#include <vector>

#include <fmt/format.h>

#include "hosts/cli/Automation.h"
#include "hosts/cli/Command.h"
#include "hosts/cli/Progress.h"
#include "hosts/cli/SoundReader.h"
#include "hosts/measure/StereoMeter.h"

namespace qov::cli {
namespace {

constexpr std::int64_t framesAtOnce = 8192;
constexpr int shortestPart = 10;  // as a share of a second

std::int64_t partFrames(const std::string& every, int rate) {
    if (every.empty()) return std::numeric_limits<std::int64_t>::max();
    const auto frames = parseTime(every, rate);
    if (frames >= rate / shortestPart) return frames;
    throw Failure(fmt::format("--every {}: is shorter than 0.1 s at {} Hz", every, rate), 2);
}

}  // namespace

void measureFile(const std::string& path, const std::string& every, bool showProgress,
                 const std::function<void(const MeasuredPart&)>& take) {
    SoundReader reader(path, {.rawRate = {}, .upmix = true});
    const auto length = partFrames(every, reader.rate());
    Progress progress(showProgress, reader.frames(), reader.rate());
    std::vector<float> left(framesAtOnce), right(framesAtOnce);
    bool isAtEnd = false;
    for (std::int64_t start = 0; !isAtEnd;) {
        measure::StereoMeter meter(reader.rate());
        std::int64_t done = 0;
        while (done < length && !isAtEnd) {
            const auto wanted = static_cast<std::uint32_t>(std::min(framesAtOnce, length - done));
            const auto frames = reader.read(left.data(), right.data(), wanted);
            meter.add(left.data(), right.data(), frames);
            progress.advance(frames);
            done += frames;
            isAtEnd = frames < wanted;
        }
        if (done > 0 || start == 0) take({start, meter.finish()});
        start += done;
    }
}

}  // namespace qov::cli
