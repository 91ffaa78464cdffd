#pragma once

#include <cstdint>
#include <string_view>

namespace qov {

/// What the stages behind the delay do to a segment, as factors for their loops.
struct Shape {
    std::uint32_t leftSign, rightSign;  ///< bits to flip in each source: the sign bit, or none
    float recover;                      ///< part of left - right that both channels gain
    float width;                        ///< width adjustment, -1..+1
    float pan;                          ///< -1 full left, +1 full right
};

/// The hot loops of the chain in one form of the processor. All forms give the same bits, those of
/// the stages' own frame-by-frame code. Only the sign and payload of a NaN may differ between
/// forms: arithmetic leaves open which operand's NaN comes through.
struct ChainLoops {
    /// out = in x gain. Blocks are the same or apart.
    void (*scale)(const float* in, float* out, std::int32_t count, float gain);
    /// out = line; line = in x gain (in itself where gain is 1). in and out are the same or apart.
    void (*delay)(const float* in, float* out, float* line, std::int32_t count, float gain);
    /// Shapes the sources, then out = ring; ring = shaped. Sources and outs are the same, crossed
    /// or apart. Of each set of stages that is on, its own loop; see shapeIndex.
    void (*shape[36])(const Shape& shape, const float* left, const float* right, float* outLeft,
                      float* outRight, float* ringLeft, float* ringRight, std::int32_t count);

    /// Of the loop in `shape` for these stages: recover mono, a width and a pan by their sign
    /// (none, above 0, below 0), mono check.
    static constexpr int shapeIndex(bool recover, float width, float pan, bool mono) {
        const int widthForm = width > 0 ? 1 : width < 0 ? 2 : 0;
        const int panForm = pan > 0 ? 1 : pan < 0 ? 2 : 0;
        return ((int{recover} * 3 + widthForm) * 3 + panForm) * 2 + int{mono};
    }

    /// The best form for this processor, or what the environment variable KELVANE_CPU names when
    /// the program is loaded: scalar, baseline, v3 or v4. Null is scalar, the stages' own code.
    static const ChainLoops* current();
    /// Switches to a form by name; false, and nothing changes, where this processor cannot run it.
    /// For tests and benchmarks, between cycles.
    static bool select(std::string_view name);
};

}  // namespace qov
