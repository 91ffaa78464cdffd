#pragma once

#include <cstdint>

namespace qov::hosts {

/// A channel from so many frames on; null, which is a channel that is not there, stays null.
template <class Sample>
Sample* behind(Sample* channel, std::uint32_t frames) {
    return channel ? channel + frames : nullptr;
}

}  // namespace qov::hosts
