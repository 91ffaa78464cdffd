#pragma once

#include <cstdint>
#include <functional>
#include <string>

#include "hosts/measure/Figures.h"

namespace qov::cli {

/// The figures of a part of a file.
struct MeasuredPart {
    std::int64_t start = 0;  ///< its first frame
    measure::Figures figures;

    double startSeconds() const { return static_cast<double>(start) / figures.rate; }
};

/// Measures a file of one or two channels, mono as the same on both sides, and hands over each part
/// as soon as it ends. every: how long a part is, as parseTime() reads it, at least 0.1 s; empty:
/// the whole file is one. Throws Failure where the file cannot be read.
void measureFile(const std::string& path, const std::string& every, bool showProgress,
                 const std::function<void(const MeasuredPart&)>& take);

}  // namespace qov::cli
