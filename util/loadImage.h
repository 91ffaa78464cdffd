#pragma once

#include <string>

namespace platform {
class UIImageView;
}

namespace qov {

// Two ways to show the PNG or JPEG behind a file:, http: or https: URL. Neither keeps the view
// alive: if it is gone when the picture comes, nothing happens. The view must belong to a shared
// pointer. Call them on the main thread.

/// Reads and decodes in one block on the main queue, which waits for it: for files and for pictures
/// that are near. What goes wrong is one line through debugprint() and leaves the view as it is.
void loadFrom(platform::UIImageView& view, const std::string& URLAddress);

/// Fetches in the background and then sets the view's image on the main queue; data that is no
/// picture, such as the page of an HTTP error, takes away the image that is there. HTTP status 200
/// and errors of the fetch are printed at once, the latter leaving the view as it is. A text that
/// is no URL does nothing.
void getImageFromURLString(platform::UIImageView& view, const std::string& imageURLString);

}  // namespace qov
