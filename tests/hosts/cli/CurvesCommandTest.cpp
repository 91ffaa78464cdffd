#include "hosts/cli/CurvesCommand.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "animation/Easing.h"
#include "platform/coregraphics/CGImage.h"
#include "tests/hosts/cli/Program.h"

namespace {

using qov::cli::runCurves;
using testing::HasSubstr;

TEST(CurvesCommand, drawsEveryCurveIntoBothKindsOfPicture) {
    const TemporaryFolder folder;
    const auto png = folder / "curves.png", svg = folder / "curves.svg";
    ASSERT_EQ(runCurves({png, "--scale", "1"}), 0);
    ASSERT_EQ(runCurves({svg}), 0);

    const auto file = contents(png);
    const auto image = platform::CGImage::decode(std::as_bytes(std::span(file)));
    ASSERT_TRUE(image);
    const auto vectors = contents(svg);
    EXPECT_THAT(vectors, HasSubstr("width=\"" + std::to_string(image->width())));
    std::size_t lines = 0;  // the curves are the only strokes of this width
    for (std::size_t at = 0; (at = vectors.find("stroke-width:2;", at)) != std::string::npos; ++at)
        ++lines;
    EXPECT_EQ(lines, 42u);
}

TEST(CurvesCommand, printsTheValuesOfACurveByAnyOfItsNames) {
    for (const char* name : {"EASING_easeOutInQuad", "easeOutInQuad", "outinquad"}) {
        testing::internal::CaptureStdout();
        EXPECT_EQ(runCurves({"--csv", name, "4"}), 0);
        EXPECT_EQ(testing::internal::GetCapturedStdout(),
                  "frame,EASING_easeOutInQuad\n0,0\n1,0.375\n2,0.5\n3,0.625\n4,1\n");
    }
}

TEST(CurvesCommand, saysWhatWouldBeRight) {
    const std::pair<qov::cli::Arguments, const char*> wrong[] = {
        {{"--csv", "easeInQud", "4"}, "did you mean easeInQuad?"},
        {{"--csv", "wobble", "4"}, "--list names them"},
        {{"--csv", "easeInQuad", "0"}, "the number of frames is 1..1000000"},
        {{"--csv", "easeInQuad", "4x"}, "the number of frames is 1..1000000"},
        {{"picture.jpg"}, "ends in .png or .svg"},
        {{}, "needs a picture"},
    };
    for (const auto& [words, reason] : wrong) {
        const auto& arguments = words;
        EXPECT_THAT(failureOf(2, [&] { runCurves(arguments); }), HasSubstr(reason));
    }
}

}  // namespace
