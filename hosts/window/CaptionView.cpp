#include "hosts/window/CaptionView.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "platform/coregraphics/CGContext.h"
#include "platform/coregraphics/CGFont.h"
#include "platform/uikit/UIGraphics.h"

namespace qov::hosts {

using platform::CGColor;
using platform::CGFloat;
using platform::CGFont;
using platform::CGPath;
using platform::CGRect;

namespace {

// Points.
constexpr CGFloat padding = 9;
constexpr CGFloat lineHeight = 16;
constexpr CGFloat headSize = 13, plainSize = 11.5;
constexpr CGFloat distance = 8;  // from the anchor
constexpr CGFloat margin = 4;    // from the superview's edge

const CGFont& fontOf(const CaptionView::Line& line) {
    static const auto head = CGFont::named("HelveticaNeue-CondensedBold");
    static const auto plain = CGFont::named("HelveticaNeue");
    return line.kind == CaptionView::Line::Kind::head ? *head : *plain;
}

CGFloat sizeOf(const CaptionView::Line& line) {
    return line.kind == CaptionView::Line::Kind::head ? headSize : plainSize;
}

CGColor colorOf(const CaptionView::Line& line) {
    using Kind = CaptionView::Line::Kind;
    if (line.kind == Kind::warning) return {1, 0.55, 0.45, 1};
    return CGColor::gray(line.kind == Kind::head ? 0.95 : 0.74);
}

}  // namespace

CaptionView::CaptionView() {
    setUserInteractionEnabled(false);
    setHidden(true);
}

void CaptionView::show(std::vector<Line> lines, const CGRect& anchor) {
    if (!superview()) return;
    CGFloat width = 0;
    for (const auto& line : lines)
        width = std::max(width, fontOf(line).width(line.text) * sizeOf(line));
    width += 2 * padding;
    const CGFloat height = lineHeight * static_cast<CGFloat>(lines.size()) + 2 * padding - 4;
    const auto room = superview()->bounds().insetBy(margin, margin);
    if (room.isEmpty()) return;
    scale_ = std::min({1.0, room.width() / width, room.height() / height});
    const platform::CGSize size{width * scale_, height * scale_};
    const auto x = std::clamp(anchor.midX() - size.width / 2, room.minX(),
                              std::max(room.minX(), room.maxX() - size.width));
    const bool fitsBelow = anchor.maxY() + distance + size.height <= room.maxY();
    const auto y = fitsBelow ? anchor.maxY() + distance : anchor.minY() - distance - size.height;
    setFrame({{std::round(x), std::round(std::max(y, room.minY()))}, size});
    if (lines != lines_) setNeedsDisplay();
    lines_ = std::move(lines);
    superview()->bringSubviewToFront(*this);
    setHidden(false);
}

void CaptionView::draw(CGRect rect) {
    auto* context = platform::UIGraphicsGetCurrentContext();
    if (!context) return;
    constexpr CGFloat radius = 6;
    const auto ground = CGPath::roundedRect(rect.insetBy(0.5, 0.5), radius);
    context->setFillColor(CGColor::gray(0.08));
    context->addPath(ground);
    context->fillPath();
    context->setStrokeColor(CGColor::gray(0.5));
    context->setLineWidth(1);
    context->addPath(ground);
    context->strokePath();
    context->scaleBy(scale_, scale_);
    CGFloat base = padding + lineHeight - 7;
    for (const auto& line : lines_) {
        context->setFillColor(colorOf(line));
        context->showText(line.text, fontOf(line), sizeOf(line), {padding, base});
        base += lineHeight;
    }
}

}  // namespace qov::hosts
