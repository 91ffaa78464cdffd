#pragma once

#include <string>
#include <vector>

#include "hosts/cli/BatchOptions.h"
#include "hosts/cli/renderFile.h"

namespace qov::cli {

/// Many renderings with one setting.
struct RenderBatch {
    RenderJob job;  ///< of each, without input and output
    std::vector<BatchInput> inputs;
    std::string folder;      ///< for the outputs
    unsigned workers = 1;    ///< files at a time
    bool skipDone = false;   ///< leave out what has an output
    bool overwrites = true;  ///< replace outputs that exist
};

/// Renders them, and says on standard error which failed and how many are done. Returns the exit
/// code: 1 where one failed. Throws Failure, before anything is rendered, where an output would be
/// another's, too, or an input, or exists and is not to be replaced. Does not return where a signal
/// ends it.
int renderBatch(RenderBatch batch);

}  // namespace qov::cli
