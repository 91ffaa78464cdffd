// Writes the two faces, ASCII and ligatures, as the C++ source of the tables in FaceTable.h. It
// runs on the machine that builds and asks its CGFont, so that text has the same outlines and
// widths.

#include <cmath>
#include <cstdio>
#include <string>
#include <vector>

#include "platform/coregraphics/CGFont.h"

namespace {

long thousandths(double ems) {
    return std::lround(ems * 1000);
}

void writeFace(const char* name, const platform::CGFont& font) {
    std::vector<std::string> texts{"ffi", "ffl", "ff", "fi", "fl"};
    for (char c = ' '; c <= '~'; ++c) texts.emplace_back(1, c);
    std::string glyphs, kernings;
    for (std::size_t i = 0; i < texts.size(); ++i) {
        const auto outline = font.outlines(texts[i], 1, {});
        std::string elements;
        for (const auto element : outline.elements())
            elements += "MLCZ"[static_cast<std::size_t>(element)];
        std::printf("constexpr std::array<std::int16_t, %zu> %s%zu{", 2 * outline.points().size(),
                    name, i);
        for (const auto& p : outline.points())
            std::printf("%ld,%ld,", thousandths(p.x), thousandths(p.y));
        std::printf("};\n");
        const auto number = std::to_string(i);
        const std::string escape = texts[i] == "\"" || texts[i] == "\\" ? "\\" : "";
        glyphs += "{\"" + escape + texts[i] + "\"," +
                  std::to_string(thousandths(font.width(texts[i]))) + ",\"" + elements + "\"," +
                  name + number + "},\n";
        for (std::size_t next = 0; next < texts.size(); ++next)
            if (const auto by = thousandths(font.width(texts[i] + texts[next]) -
                                            font.width(texts[i]) - font.width(texts[next])))
                kernings +=
                    "{" + number + "," + std::to_string(next) + "," + std::to_string(by) + "},\n";
    }
    std::printf("constexpr FaceTable::Glyph %sGlyphs[]{\n%s};\n", name, glyphs.c_str());
    std::printf("constexpr FaceTable::Kerning %sKernings[]{\n%s};\n", name, kernings.c_str());
    std::printf("}\nextern constexpr FaceTable %s{%ld, %sGlyphs, %sKernings};\nnamespace {\n", name,
                thousandths(font.capHeight()), name, name);
}

}  // namespace

int main() {
    std::printf(
        "#include <array>\n#include \"platform/coregraphics/outlines/FaceTable.h\"\n"
        "namespace platform {\nnamespace {\n");
    writeFace("regularFace", *platform::CGFont::named("HelveticaNeue"));
    writeFace("condensedBoldFace", *platform::CGFont::named("HelveticaNeue-CondensedBold"));
    std::printf("}\n}\n");
}
