#pragma once

#include <string>

namespace platform {
class UIImageView;
}

namespace qov {

// Two ways to show the PNG or JPEG at a file:, http: or https: URL; other schemes are errors. Both
// hold the view weakly: once it is gone, nothing happens. The view must be owned by a shared
// pointer. Call them on the main thread.

/// Reads and decodes in one block on the main queue, which blocks it meanwhile. A failure prints
/// one line through debugprint() and leaves the view as it is.
void loadFrom(platform::UIImageView& view, const std::string& URLAddress);

/// Fetches in the background and then sets the view's image on the main queue; data
/// that cannot be decoded, such as the page of an HTTP error, removes the image. HTTP status 200
/// and errors of the fetch are printed at once; an error leaves the view as it is. An invalid URL
/// is ignored.
void getImageFromURLString(platform::UIImageView& view, const std::string& imageURLString);

}  // namespace qov
