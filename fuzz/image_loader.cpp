// The input twice: as the bytes of a file that is loaded, and as the text of an address.

#include <sys/mman.h>
#include <unistd.h>

#include <cstdint>
#include <memory>
#include <string>

#include "fuzz/quiet.h"
#include "fuzz/require.h"
#include "platform/dispatch/RunLoop.h"
#include "platform/foundation/URL.h"
#include "platform/uikit/UIImage.h"
#include "platform/uikit/UIImageView.h"
#include "util/loadImage.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using platform::URL;
    static const int file = memfd_create("image", MFD_CLOEXEC);
    require(ftruncate(file, 0) == 0 && pwrite(file, data, size, 0) == static_cast<ssize_t>(size),
            "the file cannot be written");
    const auto loop = platform::RunLoop::createForTest();
    const platform::RunLoop::MakeCurrent makeCurrent(loop);
    const auto view = std::make_shared<platform::UIImageView>();
    qov::loadFrom(*view, "file:///proc/self/fd/" + std::to_string(file));
    loop->pump();
    const auto& image = view->image();
    require(!image || !image->cgImage().pixels().empty(), "an image has no pixels");

    const auto url = URL::withString({reinterpret_cast<const char*>(data), size});
    if (!url) return 0;
    require(url->absoluteString().size() == size, "an address has lost characters");
    const auto again = URL::fileURLWithPath(url->path(), false);
    require(again.path() == URL::withString(again.absoluteString()).value().path(),
            "a path comes back changed");
    return 0;
}
