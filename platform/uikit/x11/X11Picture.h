#pragma once

#include <functional>
#include <memory>
#include <span>

#include "platform/coregraphics/CGBitmapContext.h"
#include "platform/uikit/PixelRect.h"

namespace platform {

/// Brings a picture to a window of an X server: through memory that both share, where the server is
/// on this machine and allows it, otherwise through the connection.
class X11Picture {
 public:
    virtual ~X11Picture() = default;
    /// Has the server show these parts of the picture, whose other parts it may forget.
    virtual void put(const CGBitmapContext& picture, std::span<const PixelRect> parts) = 0;

    /// For a window with 24 bits of colour, which exists at least as long as the picture or is
    /// destroyed with its server. display: a Display*. errors: how many there were on this
    /// connection.
    static std::unique_ptr<X11Picture> of(void* display, unsigned long window,
                                          std::function<int()> errors);
};

}  // namespace platform
