#include "platform/uikit/x11/X11Picture.h"

#include <X11/Xlib.h>
#include <X11/Xutil.h>
#include <X11/extensions/XShm.h>
#include <sys/ipc.h>
#include <sys/shm.h>

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <utility>

namespace platform {

namespace {

constexpr int ownOrder = std::endian::native == std::endian::little ? LSBFirst : MSBFirst;

class SharedPicture final : public X11Picture {
 public:
    SharedPicture(Display* display, Window window, std::function<int()> errors)
        : display_(display),
          window_(window),
          gc_(XCreateGC(display, window, 0, nullptr)),
          errors_(std::move(errors)),
          mayShare_(ImageByteOrder(display) == ownOrder && XShmQueryExtension(display)) {
        XWindowAttributes attributes;
        if (XGetWindowAttributes(display, window, &attributes)) visual_ = attributes.visual;
    }
    ~SharedPicture() override {
        giveBack();
        XFreeGC(display_, gc_);
    }
    SharedPicture(const SharedPicture&) = delete;
    SharedPicture& operator=(const SharedPicture&) = delete;

    void put(const CGBitmapContext& picture, std::span<const PixelRect> parts) override;

 private:
    bool share(std::size_t bytes);
    void giveBack();

    Display* display_;
    Window window_;
    GC gc_;
    Visual* visual_ = nullptr;
    std::function<int()> errors_;
    XShmSegmentInfo segment_{};
    std::size_t shared_ = 0;  // bytes
    bool mayShare_;
};

bool SharedPicture::share(std::size_t bytes) {
    if (bytes <= shared_) return true;
    giveBack();
    if (!mayShare_) return false;
    mayShare_ = false;  // unless all goes well
    segment_.shmid = shmget(IPC_PRIVATE, bytes, IPC_CREAT | 0600);
    if (segment_.shmid < 0) return false;
    void* memory = shmat(segment_.shmid, nullptr, 0);
    if (std::bit_cast<std::intptr_t>(memory) != -1) {
        segment_.shmaddr = static_cast<char*>(memory);
        segment_.readOnly = True;
        // A server elsewhere has the extension, but not the memory.
        const int before = errors_();
        XShmAttach(display_, &segment_);
        XSync(display_, False);
        if (errors_() == before) {
            mayShare_ = true;
            shared_ = bytes;
        } else {
            shmdt(segment_.shmaddr);
        }
    }
    // It goes with its last user, whatever ends them.
    shmctl(segment_.shmid, IPC_RMID, nullptr);
    return mayShare_;
}

void SharedPicture::giveBack() {
    if (!shared_) return;
    XShmDetach(display_, &segment_);
    shmdt(segment_.shmaddr);
    shared_ = 0;
}

void SharedPicture::put(const CGBitmapContext& picture, std::span<const PixelRect> parts) {
    const int width = picture.pixelWidth(), height = picture.pixelHeight();
    const auto pixels = picture.pixels();
    const bool isShared = share(pixels.size_bytes());
    // Xlib only reads the pixels.
    auto* data = isShared ? segment_.shmaddr
                          : reinterpret_cast<char*>(const_cast<std::uint32_t*>(pixels.data()));
    auto* image = XCreateImage(display_, visual_, 24, ZPixmap, 0, data,
                               static_cast<unsigned>(width), static_cast<unsigned>(height), 32, 0);
    if (!image) return;
    image->byte_order = ownOrder;
    if (isShared) image->obdata = reinterpret_cast<char*>(&segment_);
    for (const auto& part : parts) {
        const auto [x, y, columns, rows] = part.intersection({0, 0, width, height});
        if (columns <= 0 || rows <= 0) continue;
        const auto w = static_cast<unsigned>(columns), h = static_cast<unsigned>(rows);
        if (!isShared) {
            XPutImage(display_, window_, gc_, image, x, y, x, y, w, h);
            continue;
        }
        // A server that has not read the last picture yet reads newer pixels, which it gets anyway.
        for (int row = y; row < y + rows; ++row) {
            const auto at = static_cast<std::size_t>(row) * static_cast<std::size_t>(width) +
                            static_cast<std::size_t>(x);
            std::copy_n(&pixels[at], columns, reinterpret_cast<std::uint32_t*>(data) + at);
        }
        XShmPutImage(display_, window_, gc_, image, x, y, x, y, w, h, False);
    }
    image->data = image->obdata = nullptr;
    XDestroyImage(image);
}

}  // namespace

std::unique_ptr<X11Picture> X11Picture::of(void* display, unsigned long window,
                                           std::function<int()> errors) {
    return std::make_unique<SharedPicture>(static_cast<Display*>(display), window,
                                           std::move(errors));
}

}  // namespace platform
