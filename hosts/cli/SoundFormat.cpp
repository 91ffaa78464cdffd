#include "hosts/cli/SoundFormat.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <span>
#include <vector>

#include <fmt/format.h>
#include <sndfile.h>

#include "hosts/cli/Command.h"

namespace qov::cli::soundFormat {
namespace {

struct Name {
    std::string_view name;
    int format;
};

/// The first name of a container is the one that messages use.
constexpr std::array containers{
    Name{"wav", SF_FORMAT_WAV},   Name{"wave", SF_FORMAT_WAV},
    Name{"flac", SF_FORMAT_FLAC}, Name{"aiff", SF_FORMAT_AIFF},
    Name{"aif", SF_FORMAT_AIFF},  Name{"aifc", SF_FORMAT_AIFF},
    Name{"w64", SF_FORMAT_W64},   Name{"rf64", SF_FORMAT_RF64},
    Name{"caf", SF_FORMAT_CAF},   Name{"au", SF_FORMAT_AU},
    Name{"snd", SF_FORMAT_AU},    Name{"ogg", SF_FORMAT_OGG},
    Name{"oga", SF_FORMAT_OGG},   Name{"opus", SF_FORMAT_OGG | SF_FORMAT_OPUS},
    Name{"mp3", SF_FORMAT_MPEG},
};

struct Subtype {
    std::string_view name;
    int format;
    Carrier carrier;
    int bits;      ///< of an integer subtype
    bool isPlain;  ///< stores each sample by itself, so that an output may have it because its
                   ///< input had
};

/// Where an input's subtype does not fit, the first that does is taken.
constexpr std::array subtypes{
    Subtype{"float", SF_FORMAT_FLOAT, Carrier::floats, 0, true},
    Subtype{"pcm24", SF_FORMAT_PCM_24, Carrier::integers, 24, true},
    Subtype{"pcm16", SF_FORMAT_PCM_16, Carrier::integers, 16, true},
    Subtype{"vorbis", SF_FORMAT_VORBIS, Carrier::floats, 0, false},
    Subtype{"opus", SF_FORMAT_OPUS, Carrier::floats, 0, false},
    Subtype{"mp3", SF_FORMAT_MPEG_LAYER_III, Carrier::floats, 0, false},
    Subtype{"pcm32", SF_FORMAT_PCM_32, Carrier::integers, 32, true},
    Subtype{"double", SF_FORMAT_DOUBLE, Carrier::doubles, 0, true},
    Subtype{"pcm8", SF_FORMAT_PCM_S8, Carrier::integers, 8, true},
    Subtype{"pcmu8", SF_FORMAT_PCM_U8, Carrier::integers, 8, true},
    Subtype{"ulaw", SF_FORMAT_ULAW, Carrier::integers, 16, true},
    Subtype{"alaw", SF_FORMAT_ALAW, Carrier::integers, 16, true},
    Subtype{"alac16", SF_FORMAT_ALAC_16, Carrier::integers, 16, true},
    Subtype{"alac24", SF_FORMAT_ALAC_24, Carrier::integers, 24, true},
    Subtype{"alac32", SF_FORMAT_ALAC_32, Carrier::integers, 32, true},
};

const Subtype* find(int subtype) {
    const auto found = std::ranges::find(subtypes, subtype & SF_FORMAT_SUBMASK, &Subtype::format);
    return found == subtypes.end() ? nullptr : &*found;
}

template <typename Table>
std::string allNames(const Table& table) {
    std::vector<std::string_view> names;
    names.reserve(table.size());
    for (const auto& entry : table) names.push_back(entry.name);
    return fmt::format("{}", fmt::join(names, ", "));
}

}  // namespace

int containerNamed(std::string_view name) {
    std::string lower(name);
    std::ranges::transform(lower, lower.begin(), [](unsigned char c) { return std::tolower(c); });
    const auto found = std::ranges::find(containers, std::string_view(lower), &Name::name);
    return found == containers.end() ? 0 : found->format;
}

int containerOf(const std::string& path) {
    const auto file = path.substr(path.rfind('/') + 1);
    const auto dot = file.rfind('.');
    if (const int container = dot == std::string::npos ? 0 : containerNamed(file.substr(dot + 1)))
        return container;
    throw Failure(fmt::format("{}: its ending names no format; choose one with --format ({})", path,
                              allNames(containers)),
                  2);
}

int subtypeNamed(std::string_view name) {
    const auto found = std::ranges::find(subtypes, name, &Subtype::name);
    if (found != subtypes.end()) return found->format;
    throw Failure(
        fmt::format("--subtype {}: not a subtype; the subtypes are {}", name, allNames(subtypes)),
        2);
}

int subtypeFor(int container, int inputSubtype, int rate) {
    const Subtype* const input = find(inputSubtype);
    if (input && input->isPlain && isWritable(container, input->format, rate)) return input->format;
    for (const auto& subtype : subtypes)
        if (isWritable(container, subtype.format, rate)) return subtype.format;
    throw Failure(
        fmt::format("{} files don't take two channels at {} Hz", nameOf(container), rate));
}

bool isWritable(int container, int subtype, int rate) {
    SF_INFO info{};
    info.channels = 2;
    info.samplerate = rate;
    info.format = container | subtype;
    return sf_format_check(&info) != 0;
}

Carrier carrierOf(int subtype) {
    const Subtype* const found = find(subtype);
    return found ? found->carrier : Carrier::floats;
}

int bitsOf(int subtype) {
    const Subtype* const found = find(subtype);
    return found ? found->bits : 0;
}

std::string nameOf(int format) {
    if (const int container = format & SF_FORMAT_TYPEMASK) {
        const auto found = std::ranges::find(containers, container, &Name::format);
        return found == containers.end() ? "such" : std::string(found->name);
    }
    const Subtype* const found = find(format);
    return found ? std::string(found->name) : "another";
}

}  // namespace qov::cli::soundFormat
