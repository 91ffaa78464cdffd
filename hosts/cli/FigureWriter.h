#pragma once

#include <string>
#include <string_view>

#include "hosts/cli/measureFile.h"

namespace qov::cli {

/// The texts in which `kelvane measure` prints figures: a head, a row for each part of a file, and
/// an end.
class FigureWriter {
 public:
    enum class Form { table, csv, json };

    /// isCurve: a file has several parts; each row says where its part starts.
    FigureWriter(Form form, bool isCurve) : form_(form), isCurve_(isCurve) {}

    /// The names of the columns, where the form has them.
    std::string head() const;
    /// In JSON a comma stands before each row; the one before the first is not to be printed.
    std::string row(std::string_view file, const MeasuredPart& part) const;
    /// remarks: lines, where there are any.
    std::string end(const std::string& remarks) const;

    /// Whether remarks stand at the end: in a table of whole files. In JSON they stand in each row.
    bool hasRemarks() const { return form_ == Form::table && !isCurve_; }
    /// Whether a file has several parts.
    bool isCurve() const { return isCurve_; }

 private:
    std::string tableRow(std::string_view file, const MeasuredPart& part) const;
    std::string jsonRow(std::string_view file, const MeasuredPart& part) const;

    const Form form_;
    const bool isCurve_;
};

/// A text between quotation marks, as JSON has it. Bytes that are not UTF-8 become U+FFFD.
std::string jsonText(std::string_view text);

}  // namespace qov::cli
