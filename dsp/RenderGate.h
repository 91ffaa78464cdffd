#pragma once

#include <atomic>
#include <cstdint>

namespace qov {

/// Keeps a reset from another thread out of a segment that is being rendered, without anyone
/// waiting: a reset that comes in mid-segment is left to the thread that is inside.
class RenderGate {
 public:
    /// False: another thread is resetting; the segment has to do without the kernel's state.
    bool beginSegment();
    /// True: a reset was asked for meanwhile; the caller performs it, then calls endReset().
    bool endSegment();

    /// True: the caller performs the reset, then calls endReset(). False: whoever is inside will.
    bool beginReset();
    /// True: another was asked for meanwhile; the caller performs it, then calls endReset() again.
    bool endReset();

 private:
    enum : std::uint32_t { idle = 0, rendering = 1, resetting = 2, asked = 4 };
    bool leave(std::uint32_t from);

    std::atomic<std::uint32_t> state_{idle};
};

}  // namespace qov
