#include "hosts/window/PresetList.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "editor/panelDrawing.h"
#include "hosts/window/StripItem.h"
#include "hosts/window/layOver.h"
#include "platform/uikit/UIGraphics.h"
#include "platform/uikit/UITouch.h"

namespace qov::hosts {

using platform::CGColor;
using platform::CGFloat;
using platform::CGPath;
using platform::CGPoint;
using platform::CGRect;
using platform::Key;
using platform::UITouchSet;

namespace {

// Points of the panel.
constexpr CGFloat listRow = 32;
constexpr CGFloat border = 4;
constexpr CGFloat nameWidth = 176;
constexpr CGFloat nameSize = 12, summarySize = 11;
constexpr CGFloat reach = 6;  // of a touch that scrolls nothing

}  // namespace

PresetList::PresetList() {
    layOver(*this);
    setUserInteractionEnabled(true);
}

void PresetList::open(std::vector<Row> rows, std::optional<std::size_t> marked,
                      const CGRect& anchor, CGFloat scale) {
    rows_ = std::move(rows);
    marked_ = marked;
    scale_ = scale;
    const CGFloat wanted = (static_cast<CGFloat>(rows_.size()) * listRow + 2 * border) * scale;
    const CGFloat room = anchor.minY() - 2 * border * scale;
    const CGFloat height = std::max(1.0, std::min(wanted, room));
    setFrame({anchor.minX(), anchor.minY() - height, anchor.width(), height});
    first_ = 0;
    if (marked) mark(*marked);
    superview()->bringSubviewToFront(*this);
    setHidden(false);
    setNeedsDisplay();
}

CGFloat PresetList::shownRows() const {
    return (bounds().height() / scale_ - 2 * border) / listRow;
}

std::optional<std::size_t> PresetList::rowAt(CGPoint own) const {
    const auto row = std::floor((own.y / scale_ - border) / listRow + first_);
    if (!bounds().contains(own) || row < 0 || row >= static_cast<CGFloat>(rows_.size())) return {};
    return static_cast<std::size_t>(row);
}

void PresetList::mark(std::size_t row) {
    marked_ = row;
    const auto top = static_cast<CGFloat>(row);
    first_ = std::clamp(first_, std::max(0.0, top + 1 - shownRows()), top);
    setNeedsDisplay();
}

void PresetList::scrollBy(CGFloat rows) {
    const CGFloat last = std::max(0.0, static_cast<CGFloat>(rows_.size()) - shownRows());
    first_ = std::clamp(first_ + rows, 0.0, last);
    setNeedsDisplay();
}

void PresetList::choose(std::size_t row) {
    if (!rows_[row].canBeChosen) return;
    close();
    onChoose(row);
}

void PresetList::key(const platform::KeyStroke& stroke) {
    const auto last = rows_.size() - 1;
    switch (stroke.key) {
        case Key::up:
            return mark(marked_ ? std::max<std::size_t>(*marked_, 1) - 1 : last);
        case Key::down:
            return mark(marked_ ? std::min(*marked_ + 1, last) : 0);
        case Key::home:
            return mark(0);
        case Key::end:
            return mark(last);
        case Key::enter:
        case Key::space:
            if (marked_) choose(*marked_);
            return;
        case Key::escape:
        case Key::tab:
            return close();
        default:
            return;
    }
}

void PresetList::hover(CGPoint at) {
    const auto row = rowAt(convertFromWindow(at));
    if (!row || row == marked_) return;
    marked_ = row;
    setNeedsDisplay();
}

void PresetList::touchesBegan(const UITouchSet& touches, platform::UIEvent*) {
    touch_ = (*touches.begin())->location(this);
    isScrolling_ = false;
}

void PresetList::touchesMoved(const UITouchSet& touches, platform::UIEvent*) {
    const auto at = (*touches.begin())->location(this);
    const CGFloat way = touch_.y - at.y;
    if (!isScrolling_ && std::abs(way) < reach) return;
    isScrolling_ = true;
    touch_ = at;
    scrollBy(way / scale_ / listRow);
}

void PresetList::touchesEnded(const UITouchSet& touches, platform::UIEvent*) {
    const auto row = rowAt((*touches.begin())->location(this));
    if (row && !isScrolling_) choose(*row);
}

void PresetList::draw(CGRect rect) {
    auto* context = platform::UIGraphicsGetCurrentContext();
    if (!context) return;
    context->scaleBy(scale_, scale_);
    const CGRect box{0, 0, rect.width() / scale_, rect.height() / scale_};
    const auto ground = CGPath::roundedRect(box.insetBy(0.5, 0.5), 6);
    fill(*context, ground, CGColor::gray(0.08));
    stroke(*context, ground, CGColor::gray(0.5), 1);
    context->clipTo(box.insetBy(border, border));
    for (std::size_t each = 0; each < rows_.size(); ++each) {
        const auto& row = rows_[each];
        const CGFloat y = border + (static_cast<CGFloat>(each) - first_) * listRow;
        if (y + listRow < 0 || y > box.maxY()) continue;
        const CGRect place{border, y, box.width() - 2 * border, listRow};
        const bool isMarked = each == marked_;
        if (isMarked) fill(*context, CGPath::roundedRect(place, 3), emphasisColor.withAlpha(0.18));
        if (row.isUsers && each > 0 && !rows_[each - 1].isUsers)
            stroke(*context, line({place.minX() + 8, y}, {place.maxX() - 8, y}),
                   CGColor::gray(0.32), 1);
        const CGColor nameColor = !row.canBeChosen ? CGColor::gray(0.5)
                                  : isMarked       ? emphasisColor
                                                   : CGColor::gray(0.92);
        const CGColor summaryColor =
            row.canBeChosen ? CGColor::gray(0.66) : CGColor{1, 0.55, 0.45, 1};
        context->saveGState();
        context->clipTo({place.minX(), y, nameWidth, listRow});
        PanelText{row.name, boldFace, nameSize, {place.minX() + 10, y, 0, listRow}}.draw(*context,
                                                                                         nameColor);
        context->restoreGState();
        PanelText{
            row.summary, labelFace, summarySize, {place.minX() + nameWidth + 6, y, 0, listRow}}
            .draw(*context, summaryColor);
    }
    const auto count = static_cast<CGFloat>(rows_.size());
    if (count - shownRows() < 0.01) return;  // all are shown
    const CGFloat row = (box.height() - 2 * border) / count;
    const CGRect shown{box.maxX() - border - 4, border + first_ * row, 3, shownRows() * row};
    fill(*context, CGPath::roundedRect(shown, 1.5), CGColor::gray(0.5));
}

}  // namespace qov::hosts
