#pragma once

#include <string>
#include <string_view>

namespace qov::cli {

/// File formats and sample subtypes by name, as numbers of the sound file library.
namespace soundFormat {

/// What samples of a subtype are carried in between file and effect.
enum class Carrier { integers, floats, doubles };

/// The container of a name ("wav", "flac") or a file's ending, with a subtype where the name means
/// one ("opus"); 0 where there is none.
int containerNamed(std::string_view name);
/// The same for a path's ending. Throws Failure, which lists the endings.
int containerOf(const std::string& path);

/// The subtype of a name ("pcm16", "float", "vorbis"). Throws Failure, which lists them.
int subtypeNamed(std::string_view name);

/// The subtype for a container: the input's where it is a plain one and fits, else the best that
/// does. rate: frames per second; some codecs take few. Throws Failure where none takes two
/// channels at it.
int subtypeFor(int container, int inputSubtype, int rate);

/// Whether the library writes two channels of this subtype in this container at this rate.
bool isWritable(int container, int subtype, int rate);

/// What carries the samples of a subtype without loss.
Carrier carrierOf(int subtype);
/// Bits of an integer subtype, 8..32; 0 for others.
int bitsOf(int subtype);

/// The first of its names above; "such" for another container, "another" for another subtype.
std::string nameOf(int containerOrSubtype);

}  // namespace soundFormat
}  // namespace qov::cli
