#include <cstdlib>
#include <filesystem>
#include <string>

#include <fmt/format.h>
#include <sndfile.h>

#include "hosts/cli/Command.h"
#include "hosts/cli/OptionParser.h"
#include "hosts/cli/Phrase.h"
#include "hosts/cli/SoundWriter.h"
#include "hosts/cli/drawFieldOf.h"
#include "hosts/cli/renderFile.h"
#include "hosts/cli/tourAutomation.h"
#include "hosts/output/OutputPlace.h"

namespace qov::cli {
namespace {

void writePhrase(const std::string& path, const Phrase& phrase) {
    hosts::OutputPlace place(path);
    const auto frames = static_cast<std::uint32_t>(phrase.left.size());
    SoundWriter writer(place, {SF_FORMAT_WAV, SF_FORMAT_FLOAT, Phrase::rate, frames},
                       Metadata(Metadata::Texts{{"TITLE", "Kelvane demo phrase"}}));
    writer.write(phrase.left.data(), phrase.right.data(), frames);
    writer.close();
    place.commit();
}

}  // namespace

int runDemo(const Arguments& arguments) {
    OptionParser parser("kelvane demo",
                        "Plays a phrase, takes it on a tour of the effect and draws both.");
    std::string folder = "out";
    parser.addOptionalArgument("FOLDER", folder, "where the files go (out)");
    if (const auto code = parser.parse(arguments)) return *code;

    std::error_code error;
    std::filesystem::create_directories(folder, error);
    if (error)
        throw Failure(fmt::format("{}: cannot make this folder: {}", folder, error.message()));
    const auto phrase = folder + "/phrase.wav";
    const auto automation = folder + "/tour.automation";
    const auto tour = folder + "/tour.wav";
    const auto picture = folder + "/field.png";
    const auto music = playPhrase();
    writePhrase(phrase, music);
    hosts::writeOutput(automation, tourAutomation());
    RenderJob job;
    job.input = phrase;
    job.output = tour;
    job.automation = automation;
    renderFile(job);
    drawFieldOf({phrase, tour}, picture);

    const double seconds = static_cast<double>(music.left.size()) / Phrase::rate;
    fmt::print(
        "{:<24} {:.1f} s of music: plucked strings, electric piano, bass, brushes\n"
        "{:<24} the same on a tour: width, panorama, phase shift, swap, recover mono,\n"
        "{:<24} test mono, bypass\n"
        "{:<24} the tour's events, to read and to change\n"
        "{:<24} the stereo field of both\n\n",
        phrase, seconds, tour, "", automation, picture);
    // A script that starts the program sets this to its own name.
    const char* launcher = std::getenv("KELVANE_LAUNCHER");
    fmt::print(
        "Listen to both, then try\n"
        "    {0} render {1} {2}/wide.wav --stereo-width 0.8\n"
        "    {0} field {2}/wide.png {1} {2}/wide.wav\n"
        "    {0} render --help\n",
        launcher ? launcher : "kelvane", phrase, folder);
    return 0;
}

}  // namespace qov::cli
