#include "platform/uikit/canvas/CanvasWindow.h"

#include <utility>

#include "platform/coregraphics/CGBitmapContext.h"
#include "platform/coregraphics/canvas/CommandBuffer.h"
#include "platform/uikit/UITouch.h"
#include "platform/uikit/UIWindow.h"

namespace platform {

namespace {

constexpr CGFloat kNotchFactor = 1.1;  // of one notch of the wheel

}  // namespace

CanvasWindow::CanvasWindow(std::shared_ptr<UIWindow> content, const Options& options)
    : content_(std::move(content)),
      contentScale_(options.contentScale),
      loop_(RunLoop::current().shared_from_this()) {
    resize(content_->bounds().size, options.scale > 0 ? options.scale : 1);
    observer_ = loop_->addBeforeWaiting([this] { present(); });
}

CanvasWindow::~CanvasWindow() {
    content_->cancelTouches();
    loop_->removeBeforeWaiting(observer_);
}

void CanvasWindow::touch(std::int64_t identifier, UITouchPhase phase, CGPoint at,
                         KeyModifiers held) {
    auto place = std::optional(contentPoint(at));
    if (onHover) onHover({});
    if (routeTouch) place = routeTouch(identifier, phase, *place, held);
    if (place) content_->deliverTouch(identifier, phase, *place, loop_->now());
}

void CanvasWindow::hover(std::optional<CGPoint> at) {
    pointer_ = at ? std::optional(contentPoint(*at)) : std::nullopt;
    if (onHover) onHover(pointer_);
}

void CanvasWindow::wheel(CGPoint at, int steps, KeyModifiers held) {
    pointer_ = contentPoint(at);
    if (onWheel && onWheel(*pointer_, steps, held)) return;
    const auto factor = steps > 0 ? kNotchFactor : 1 / kNotchFactor;
    for (; steps != 0; steps += steps > 0 ? -1 : 1)
        content_->deliverZoomStep(*pointer_, factor, loop_->now());
}

void CanvasWindow::zoom(CGPoint at, CGFloat factor) {
    content_->deliverZoomStep(contentPoint(at), factor, loop_->now());
}

void CanvasWindow::resize(CGSize size, CGFloat scale) {
    const bool isNew = size != size_;
    size_ = size;
    scale_ = scale;
    const CGFloat factor = contentScale_ ? contentScale_(size) : 1;
    content_->setScale(scale * factor);
    content_->setSize({size.width / factor, size.height / factor});
    content_->damageAll();  // a canvas that was resized is empty
    if (isNew && onResize) onResize(size);
}

void CanvasWindow::setShown(bool isShown) {
    isShown_ = isShown;
    if (isShown)
        content_->damageAll();
    else
        content_->cancelTouches();
}

CGPoint CanvasWindow::contentPoint(CGPoint p) const {
    const CGFloat factor = scale_ / content_->scale();
    return {p.x * factor, p.y * factor};
}

void CanvasWindow::present() {
    if (!isShown_) return;
    auto& commands = CommandBuffer::shared();
    for (const auto& rect : content_->update())
        if (const auto* picture = content_->picture())
            commands.put(CanvasCommand::show,
                         {double(handle()), double(canvasOf(*picture)), double(rect.x),
                          double(rect.y), double(rect.width), double(rect.height)});
    commands.flush();
}

std::optional<CGFloat> NativeWindow::desktopScale(std::string*) {
    return 1;
}

std::unique_ptr<NativeWindow> NativeWindow::open(std::shared_ptr<UIWindow> content,
                                                 const Options& options, std::string*) {
    return std::make_unique<CanvasWindow>(std::move(content), options);
}

}  // namespace platform
