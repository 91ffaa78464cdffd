#pragma once

namespace qov {

/// Display options of the correlograph, by address; they never reach the audio unit.
enum StereoControlsOption : int {
    kOptionNormalized = 10,    ///< scaled to its peak
    kOptionOscillograph = 11,  ///< visible
    kOptionSuspended = 12,
    kOptionDrawMode = 13,  ///< toggles points and lines; the value is ignored
};

/// Receives the panel's edits. Main thread.
class StereoControlsDelegate {
 public:
    virtual ~StereoControlsDelegate() = default;

    /// A new value, 0..1, for the parameter of this address.
    virtual void onStereoControlsParameter(int address, float value) = 0;
    /// A new value, 0 or 1, for the display option of this address.
    virtual void onStereoControlsOption(int address, float value) = 0;
};

}  // namespace qov
