#include "hosts/cli/CurvesCommand.h"

#include <cairo-svg.h>
#include <fmt/format.h>
#include <CLI/App.hpp>
#include <CLI/Config.hpp>
#include <CLI/Formatter.hpp>

#include <algorithm>
#include <cctype>
#include <charconv>
#include <cmath>
#include <cstddef>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "animation/Easing.h"
#include "hosts/cli/CurveSheet.h"
#include "hosts/cli/OutputPlace.h"
#include "hosts/cli/nearestName.h"
#include "hosts/cli/parseOptions.h"
#include "platform/coregraphics/CGBitmapContext.h"
#include "platform/coregraphics/CairoContext.h"

namespace qov::cli {
namespace {

constexpr std::string_view kPrefix = "EASING_";
constexpr std::int64_t kMostFrames = 1'000'000;

std::vector<std::byte> sheetAsPng(double scale) {
    const auto size = curveSheetSize();
    const auto context =
        platform::makeBitmapContext(static_cast<int>(std::lround(size.width * scale)),
                                    static_cast<int>(std::lround(size.height * scale)), scale);
    if (!context) throw Failure("not enough memory for the picture; try a smaller --scale");
    drawCurveSheet(*context);
    return context->makeImage()->png();
}

std::vector<std::byte> sheetAsSvg() {
    std::vector<std::byte> file;
    const auto append = [](void* to, const unsigned char* data, unsigned int length) {
        const auto bytes = std::as_bytes(std::span(data, length));
        auto& all = *static_cast<std::vector<std::byte>*>(to);
        all.insert(all.end(), bytes.begin(), bytes.end());
        return CAIRO_STATUS_SUCCESS;
    };
    const auto size = curveSheetSize();
    const std::unique_ptr<cairo_surface_t, void (*)(cairo_surface_t*)> surface(
        cairo_svg_surface_create_for_stream(append, &file, size.width, size.height),
        cairo_surface_destroy);
    cairo_svg_surface_set_document_unit(surface.get(), CAIRO_SVG_UNIT_PX);
    const std::unique_ptr<cairo_t, void (*)(cairo_t*)> target(cairo_create(surface.get()),
                                                              cairo_destroy);
    drawCurveSheet(*platform::makeCairoContext(target.get()));
    cairo_surface_finish(surface.get());
    if (const auto status = cairo_surface_status(surface.get()); status != CAIRO_STATUS_SUCCESS)
        throw Failure(fmt::format("cannot draw: {}", cairo_status_to_string(status)));
    return file;
}

void writeFile(const std::string& path, std::span<const std::byte> bytes) {
    OutputPlace place(path);
    place.write({reinterpret_cast<const char*>(bytes.data()), bytes.size()});
    place.commit();
}

/// Without prefixes and case: "EASING_easeInQuad", "easeInQuad" and "inquad" are one.
std::string plain(std::string_view name) {
    std::string text(name);
    std::ranges::transform(text, text.begin(),
                           [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    for (const std::string_view prefix : {"easing_", "ease"})
        if (text.starts_with(prefix)) text.erase(0, prefix.size());
    return text;
}

const EasingCurve& curveNamed(const std::string& name) {
    std::vector<std::string> names;
    for (const auto& curve : easingCurves()) names.push_back(plain(curve.name));
    const auto find = [&](std::string_view which) {
        return static_cast<std::size_t>(std::ranges::find(names, which) - names.begin());
    };
    if (const auto i = find(plain(name)); i < names.size()) return easingCurves()[i];
    const std::vector<std::string_view> candidates(names.begin(), names.end());
    const auto nearest = nearestName(plain(name), candidates);
    throw Failure(
        nearest.empty()
            ? fmt::format("--csv {}: no such curve; kelvane curves --list names them", name)
            : fmt::format("--csv {}: no such curve; did you mean {}?", name,
                          easingCurves()[find(nearest)].name.substr(kPrefix.size())),
        2);
}

void printValues(const std::string& name, const std::string& text) {
    const auto& curve = curveNamed(name);
    std::int64_t frames = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), frames);
    if (error != std::errc() || end != text.data() + text.size() || frames < 1 ||
        frames > kMostFrames)
        throw Failure(
            fmt::format("--csv {} {}: the number of frames is 1..{}", name, text, kMostFrames), 2);
    fmt::print("frame,{}\n", curve.name);
    for (std::int64_t t = 0; t <= frames; ++t)
        fmt::print("{},{}\n", t, curve.function(t, 0, 1, frames));
}

}  // namespace

int runCurves(const Arguments& arguments) {
    CLI::App app("Draws all easing curves as one sheet, or prints the values of one of them.",
                 "kelvane curves");
    std::string output;
    std::vector<std::string> values;
    double scale = 2;
    bool list = false;
    auto* const out = app.add_option("OUT", output, "picture to write; its ending is .png or .svg");
    app.add_option("--scale", scale, "pixels a point of a PNG, 0.25..8")
        ->check(CLI::Range(0.25, 8.0))
        ->capture_default_str();
    auto* const csv =
        app.add_option("--csv", values, "print the values from 0 to 1, a line a frame")
            ->expected(2)
            ->type_name("NAME FRAMES");
    auto* const listing = app.add_flag("--list", list, "print the names of the curves");
    csv->excludes(out)->excludes(listing);
    listing->excludes(out);
    if (const auto code = parseOptions(app, arguments)) return *code;

    if (list) {
        for (const auto& curve : easingCurves())
            fmt::print("{}\n", curve.name.substr(kPrefix.size()));
    } else if (!values.empty()) {
        printValues(values[0], values[1]);
    } else if (output.ends_with(".png")) {
        writeFile(output, sheetAsPng(scale));
    } else if (output.ends_with(".svg")) {
        writeFile(output, sheetAsSvg());
    } else if (output.empty()) {
        throw Failure("needs a picture to write (OUT.png or OUT.svg), --csv or --list", 2);
    } else {
        throw Failure(output + ": the picture's name ends in .png or .svg", 2);
    }
    return 0;
}

}  // namespace qov::cli
