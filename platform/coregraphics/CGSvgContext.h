#pragma once

#include <cstddef>
#include <memory>
#include <vector>

#include "platform/coregraphics/CGContext.h"

namespace platform {

/// A context that draws into an SVG document. Text becomes outlines; images are embedded.
class CGSvgContext : public CGContext {
 public:
    /// Ends the drawing: the document's bytes, empty if memory ran out. Call it once, last.
    virtual std::vector<std::byte> finish() = 0;
};

/// Size in points, which are the document's pixels.
std::unique_ptr<CGSvgContext> makeSvgContext(CGSize size);

}  // namespace platform
