#pragma once

#include <optional>
#include <string>
#include <vector>

#include "hosts/cli/Command.h"

namespace qov::cli {

class OptionParser;

/// A file of many.
struct BatchInput {
    std::string path;
    std::string below;       ///< the path that its output has below the output's folder
    std::string fault = {};  ///< why there is nothing to read, to be said in the file's turn
    bool isOurs = true;      ///< in the share that is asked for
};

/// The options of commands that take many files.
struct BatchOptions {
    std::string jobs, filesFrom, shard;  ///< as they were typed

    /// Declares the options, whose texts go to the fields.
    void declare(OptionParser& parser);
    /// How many files are worked on at a time: all cores by default. Throws Failure (2) for a wrong
    /// number.
    unsigned workers() const;
    /// Whether there may be several files, or none: a list, a share, or a folder among the paths.
    bool areMany(const std::vector<std::string>& paths) const;
    /// The files of the paths, in their order: of a folder all sound files below it, by name and
    /// litter of archives left out; then those of the list. A file's output has its name; one of a
    /// folder keeps the tree below the folder, one of the list its own path. A folder that cannot
    /// be read or has no sound files is a file with a fault. Throws Failure for a list that cannot
    /// be read or is empty.
    std::vector<BatchInput> inputs(const std::vector<std::string>& paths) const;
    /// The same for outputs in a folder. Throws Failure (2), too, where it is none, or lies in one
    /// of the paths.
    std::vector<BatchInput> inputsFor(const std::vector<std::string>& paths,
                                      const std::string& folder) const;
};

/// Whether a path is a folder or, with a slash at its end, is to be one.
bool isFolder(const std::string& path);

/// "1,000 files", "1 file".
std::string countOf(std::size_t files);

}  // namespace qov::cli
