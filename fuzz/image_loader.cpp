#include <sys/mman.h>
#include <unistd.h>

#include <cstdint>
#include <cstdlib>
#include <memory>
#include <string>

#include "platform/dispatch/RunLoop.h"
#include "platform/foundation/Console.h"
#include "platform/foundation/URL.h"
#include "platform/uikit/UIImage.h"
#include "platform/uikit/UIImageView.h"
#include "util/loadImage.h"

// The input twice: as the bytes of a file that is loaded, and as the text of an address.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using platform::URL;
    static const bool quiet = (platform::console::setSink({}), true);
    static const int file = memfd_create("image", MFD_CLOEXEC);
    static const std::string address = "file:///proc/self/fd/" + std::to_string(file);
    (void)quiet;
    if (ftruncate(file, 0) != 0 || pwrite(file, data, size, 0) != static_cast<ssize_t>(size)) {
        std::abort();
    }
    const auto loop = platform::RunLoop::createForTest();
    const platform::RunLoop::MakeCurrent makeCurrent(loop);
    const auto view = std::make_shared<platform::UIImageView>();
    qov::loadFrom(*view, address);
    loop->pump();
    if (const auto& image = view->image()) {
        if (image->cgImage().pixels().empty()) std::abort();
    }

    const auto url = URL::withString({reinterpret_cast<const char*>(data), size});
    if (url) {
        if (url->absoluteString().size() != size) std::abort();
        const auto again = URL::fileURLWithPath(url->path(), false);
        if (again.path() != URL::withString(again.absoluteString()).value().path()) std::abort();
    }
    return 0;
}
