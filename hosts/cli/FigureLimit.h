#pragma once

#include <string>

#include "hosts/measure/Figures.h"

namespace qov::cli {

/// What --fail-if takes: a figure, a comparison and a number, as in "correlation<0".
struct FigureLimit {
    std::string text;
    const measure::FigureRow* row;
    char sign;        ///< '<' or '>'
    bool isIncluded;  ///< the value itself fails, too
    double value;

    /// False for an undefined figure.
    bool failsAt(double figure) const {
        return (isIncluded && figure == value) || (sign == '<' ? figure < value : figure > value);
    }
};

/// Reads a limit. Throws Failure (2) with the nearest figure for an unknown one.
FigureLimit parseLimit(const std::string& text);

}  // namespace qov::cli
