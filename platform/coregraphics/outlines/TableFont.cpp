// The embedded faces as tables of outlines, for a system without a library for fonts.

#include <algorithm>
#include <cstddef>

#include "platform/coregraphics/CGFont.h"
#include "platform/coregraphics/outlines/FaceTable.h"

namespace platform {
namespace {

constexpr CGFloat unit = 1.0 / 1000;  // ems

class TableFont final : public CGFont {
 public:
    explicit TableFont(const FaceTable& face) : face_(face) {}

    CGFloat capHeight() const override { return face_.capHeight * unit; }

    CGFloat width(std::string_view text, CGFloat tracking) const override {
        return shape(text, tracking, [](const auto&, CGFloat) {});
    }

    CGPath outlines(std::string_view text, CGFloat size, CGPoint origin,
                    CGFloat tracking) const override {
        CGPath path;
        shape(text, tracking, [&](const FaceTable::Glyph& glyph, CGFloat x) {
            const CGFloat left = origin.x + size * x, scale = size * unit;
            std::size_t next = 0;
            const auto point = [&] {
                const auto* const p = &glyph.points[2 * next++];
                return CGPoint{left + scale * p[0], origin.y + scale * p[1]};
            };
            for (const char element : glyph.elements) {
                if (element == 'M') path.moveTo(point());
                if (element == 'L') path.addLineTo(point());
                if (element == 'Z') path.closeSubpath();
                if (element != 'C') continue;
                const auto control1 = point(), control2 = point();
                path.addCurveTo(control1, control2, point());
            }
        });
        return path;
    }

 private:
    /// Calls place(glyph, x in ems) for each glyph; returns the line's width.
    template <typename Place>
    CGFloat shape(std::string_view text, CGFloat tracking, Place place) const {
        CGFloat x = 0;
        for (const auto* glyph = take(text); glyph;) {
            const auto* const next = take(text);
            place(*glyph, x);
            x += (glyph->width + (next ? kerning(*glyph, *next) : 0)) * unit + tracking;
            glyph = next;
        }
        return x;
    }

    /// Removes the first glyph from the text, a question mark for a character that is missing; null
    /// at its end.
    const FaceTable::Glyph* take(std::string_view& text) const {
        if (text.empty()) return nullptr;
        const auto find = [&](std::string_view start) {
            return std::find_if(face_.glyphs.begin(), face_.glyphs.end(),
                                [&](const auto& glyph) { return start.starts_with(glyph.text); });
        };
        auto found = find(text);
        text.remove_prefix(found == face_.glyphs.end() ? 1 : found->text.size());
        if (found == face_.glyphs.end()) found = find("?");
        const auto isContinuation = [](char c) { return (c & 0xC0) == 0x80; };
        while (!text.empty() && isContinuation(text.front())) text.remove_prefix(1);
        return &*found;
    }

    int kerning(const FaceTable::Glyph& first, const FaceTable::Glyph& second) const {
        const auto pair = [&](const auto& a, const auto& b) { return a * 256 + b; };
        const auto wanted = pair(&first - face_.glyphs.data(), &second - face_.glyphs.data());
        const auto place = std::lower_bound(
            face_.kernings.begin(), face_.kernings.end(), wanted,
            [&](const auto& row, auto key) { return pair(row.first, row.second) < key; });
        const bool isThere =
            place != face_.kernings.end() && pair(place->first, place->second) == wanted;
        return isThere ? place->by : 0;
    }

    const FaceTable& face_;
};

}  // namespace

std::shared_ptr<const CGFont> CGFont::named(std::string_view name) {
    static const auto bold = std::make_shared<TableFont>(condensedBoldFace);
    static const auto regular = std::make_shared<TableFont>(regularFace);
    return name.find("Condensed") != std::string_view::npos ? bold : regular;
}

}  // namespace platform
