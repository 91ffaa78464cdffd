#pragma once

#include <string>
#include <string_view>

namespace qov::cli {

/// File formats and sample subtypes by name, as constants of libsndfile.
namespace soundFormat {

/// The type of samples between file and effect.
enum class Carrier { integers, floats, doubles };

/// The container of a name ("wav", "flac") or a file's ending, with a subtype where the name
/// implies one ("opus"); 0 for an unknown name.
int containerNamed(std::string_view name);
/// The same for a path's ending. Throws Failure, which lists the endings, for an unknown one.
int containerOf(const std::string& path);

/// The subtype of a name ("pcm16", "float", "vorbis"). Throws Failure, which lists the
/// names, for an unknown one.
int subtypeNamed(std::string_view name);

/// The subtype for a container: the input's if it stores each sample by itself and the container
/// takes it, else the best that the container takes. rate: frames per second; some codecs take few
/// rates. Throws Failure if no subtype takes two channels at this rate.
int subtypeFor(int container, int inputSubtype, int rate);

/// Whether the library writes two channels of this subtype in this container at this rate.
bool isWritable(int container, int subtype, int rate);

/// The type that represents the samples of a subtype exactly.
Carrier carrierOf(int subtype);
/// Bits of an integer subtype, 8..32; 0 for others.
int bitsOf(int subtype);

/// The first of its names above; "such" for another container, "another" for another subtype.
std::string nameOf(int containerOrSubtype);

}  // namespace soundFormat
}  // namespace qov::cli
