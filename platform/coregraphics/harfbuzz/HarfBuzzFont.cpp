#include "platform/coregraphics/CGFont.h"

#include <hb-ot.h>

#include <unordered_map>

namespace platform {

// The font files, each between two labels.
__asm__(
    ".pushsection .rodata\n"
    "qov_regular_face: .incbin \"" REGULAR_FACE
    "\"\n"
    "qov_condensed_bold_face: .incbin \"" CONDENSED_BOLD_FACE
    "\"\n"
    "qov_faces_end:\n"
    ".popsection");
extern "C" {
extern const char qov_regular_face[] __attribute__((visibility("hidden")));
extern const char qov_condensed_bold_face[] __attribute__((visibility("hidden")));
extern const char qov_faces_end[] __attribute__((visibility("hidden")));
}

namespace {

/// Adds the outline of a glyph to a CGPath, with y turned downward.
hb_draw_funcs_t* outlineFunctions() {
    static hb_draw_funcs_t* const functions = [] {
        hb_draw_funcs_t* f = hb_draw_funcs_create();
        hb_draw_funcs_set_move_to_func(
            f,
            [](hb_draw_funcs_t*, void* path, hb_draw_state_t*, float x, float y, void*) {
                static_cast<CGPath*>(path)->moveTo({x, -y});
            },
            nullptr, nullptr);
        hb_draw_funcs_set_line_to_func(
            f,
            [](hb_draw_funcs_t*, void* path, hb_draw_state_t*, float x, float y, void*) {
                static_cast<CGPath*>(path)->addLineTo({x, -y});
            },
            nullptr, nullptr);
        hb_draw_funcs_set_cubic_to_func(
            f,
            [](hb_draw_funcs_t*, void* path, hb_draw_state_t*, float x1, float y1, float x2,
               float y2, float x, float y, void*) {
                static_cast<CGPath*>(path)->addCurveTo({x1, -y1}, {x2, -y2}, {x, -y});
            },
            nullptr, nullptr);
        hb_draw_funcs_set_close_path_func(
            f,
            [](hb_draw_funcs_t*, void* path, hb_draw_state_t*, void*) {
                static_cast<CGPath*>(path)->closeSubpath();
            },
            nullptr, nullptr);
        hb_draw_funcs_make_immutable(f);
        return f;
    }();
    return functions;
}

class HarfBuzzFont final : public CGFont {
 public:
    HarfBuzzFont(const char* begin, const char* end) {
        hb_blob_t* blob = hb_blob_create(begin, static_cast<unsigned>(end - begin),
                                         HB_MEMORY_MODE_READONLY, nullptr, nullptr);
        hb_face_t* face = hb_face_create(blob, 0);
        font_ = hb_font_create(face);
        unit_ = 1.0 / hb_face_get_upem(face);
        hb_face_destroy(face);
        hb_blob_destroy(blob);
        hb_codepoint_t capital = 0;
        hb_font_get_nominal_glyph(font_, U'H', &capital);
        capHeight_ = -outlineOf(capital).boundingBox().minY();
    }
    HarfBuzzFont(const HarfBuzzFont&) = delete;
    HarfBuzzFont& operator=(const HarfBuzzFont&) = delete;
    ~HarfBuzzFont() override { hb_font_destroy(font_); }

    CGFloat capHeight() const override { return capHeight_; }

    CGFloat width(std::string_view text, CGFloat tracking) const override {
        return shape(text, tracking, [](hb_codepoint_t, CGPoint) {});
    }

    CGPath outlines(std::string_view text, CGFloat size, CGPoint origin,
                    CGFloat tracking) const override {
        CGPath path;
        shape(text, tracking, [&](hb_codepoint_t glyph, CGPoint at) {
            path.addPath(outlineOf(glyph),
                         {size, 0, 0, size, origin.x + size * at.x, origin.y + size * at.y});
        });
        return path;
    }

 private:
    /// Calls place(glyph, position in ems) for each glyph; returns the line's width.
    template <typename Place>
    CGFloat shape(std::string_view text, CGFloat tracking, Place place) const {
        hb_buffer_t* buffer = hb_buffer_create();
        hb_buffer_add_utf8(buffer, text.data(), static_cast<int>(text.size()), 0, -1);
        hb_buffer_set_direction(buffer, HB_DIRECTION_LTR);
        hb_buffer_set_script(buffer, HB_SCRIPT_LATIN);
        // A fixed language, so that no locale changes the shapes.
        hb_buffer_set_language(buffer, hb_language_from_string("en", -1));
        hb_shape(font_, buffer, nullptr, 0);
        unsigned count = 0;
        const hb_glyph_info_t* infos = hb_buffer_get_glyph_infos(buffer, &count);
        const hb_glyph_position_t* positions = hb_buffer_get_glyph_positions(buffer, &count);
        CGFloat x = 0;
        for (unsigned i = 0; i < count; ++i) {
            place(infos[i].codepoint,
                  CGPoint{x + positions[i].x_offset * unit_, -positions[i].y_offset * unit_});
            x += positions[i].x_advance * unit_ + tracking;
        }
        hb_buffer_destroy(buffer);
        return x;
    }

    const CGPath& outlineOf(hb_codepoint_t glyph) const {
        const auto [entry, isNew] = outlines_.try_emplace(glyph);
        if (isNew) {
            hb_font_get_glyph_shape(font_, glyph, outlineFunctions(), &entry->second);
            entry->second.apply(CGAffineTransform::scale(unit_, unit_));
        }
        return entry->second;
    }

    hb_font_t* font_;
    CGFloat unit_, capHeight_ = 0;
    mutable std::unordered_map<hb_codepoint_t, CGPath> outlines_;
};

}  // namespace

std::shared_ptr<const CGFont> CGFont::named(std::string_view name) {
    if (name.find("Condensed") != std::string_view::npos) {
        static const auto bold =
            std::make_shared<HarfBuzzFont>(qov_condensed_bold_face, qov_faces_end);
        return bold;
    }
    static const auto regular =
        std::make_shared<HarfBuzzFont>(qov_regular_face, qov_condensed_bold_face);
    return regular;
}

}  // namespace platform
