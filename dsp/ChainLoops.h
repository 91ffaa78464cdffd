#pragma once

#include <cstdint>
#include <string_view>

namespace qov {

/// Which of the stages after the delay a shape loop runs, and its index in ChainLoops::shape.
struct ShapeStages {
    /// Of a width or a panorama.
    enum Side { neutral, above, below };
    static constexpr Side sideOf(float value) {
        return value > 0 ? above : value < 0 ? below : neutral;
    }

    bool recover;
    Side width, pan;
    bool mono;

    static constexpr int count = 36;
    constexpr int index() const {
        return ((int{recover} * 3 + int{width}) * 3 + int{pan}) * 2 + int{mono};
    }
    static constexpr ShapeStages at(int index) {
        return {index / 18 != 0, Side(index / 6 % 3), Side(index / 2 % 3), index % 2 != 0};
    }
};

/// The factors of a shape loop.
struct Shape {
    float left, right;  ///< of each source: the gain where it is still due, negative to invert
    float recover;      ///< half of the amount of recover mono
    float width;        ///< width adjustment, -1..+1
    float pan;          ///< -1 full left, +1 full right
};

/// The hot loops of the chain in one form of the processor. All forms give the same bits, those of
/// the stages' own frame-by-frame code. Only the sign and payload of a NaN may differ between
/// forms: which operand's NaN an operation returns is unspecified.
struct ChainLoops {
    /// out = in x gain. Blocks are the same or apart.
    void (*scale)(const float* in, float* out, std::int32_t count, float gain);
    /// out = line; line = in x gain (in itself where gain is 1). in and out are the same or apart.
    void (*delay)(const float* in, float* out, float* line, std::int32_t count, float gain);
    /// Shapes the sources, then out = ring; ring = shaped. Sources and outs are the same, crossed
    /// or apart. One loop for each set of stages, by ShapeStages::index().
    void (*shape[ShapeStages::count])(const Shape& shape, const float* left, const float* right,
                                      float* outLeft, float* outRight, float* ringLeft,
                                      float* ringRight, std::int32_t count);

    /// The best form for this processor, or what the environment variable KELVANE_CPU names when
    /// the program is loaded: scalar, baseline, v3 or v4. Null is scalar, the stages' own code.
    static const ChainLoops* current();
    /// Switches to a form by name; a no-op that returns false where this processor cannot run it.
    /// For tests and benchmarks, between cycles.
    static bool select(std::string_view name);
};

}  // namespace qov
