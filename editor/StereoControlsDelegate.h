#pragma once

namespace qov {

/// What the panel reports to whoever owns it. Main thread.
class StereoControlsDelegate {
 public:
    virtual ~StereoControlsDelegate() = default;

    /// A new value, 0..1, for the parameter of this address.
    virtual void onStereoControlsParameter(int address, float value) = 0;
    /// A display option (addresses 10 to 13), 0 or 1.
    virtual void onStereoControlsOption(int address, float value) = 0;
};

}  // namespace qov
