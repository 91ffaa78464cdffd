#pragma once

#include <cstdint>

namespace platform {
struct AudioTimeStamp;
struct AUMIDIEvent;
union AURenderEvent;
}  // namespace platform

namespace qov {

/// Splits a render cycle at the times of its events. Render thread.
class DSPKernel {
 public:
    /// Renders frames of the current buffers, from bufferOffset on.
    virtual void process(std::uint32_t frameCount, std::uint32_t bufferOffset) = 0;
    virtual void handleMIDIEvent(const platform::AUMIDIEvent& midiEvent) = 0;
    /// duration is in frames.
    virtual void startRamp(std::uint64_t address, float value, std::uint32_t duration) = 0;

    /// One cycle. Events are a sorted list, null for none. One before the cycle takes effect at its
    /// first frame, one at its end before the next cycle.
    ///
    /// Events past the end are not allowed and not checked for: process() is called up to the
    /// event's time, so it reads and writes past the host's buffers, and delay line and ring move
    /// on by as many frames too many. The count of remaining frames has then wrapped below 0, and
    /// the next call processes nearly 2^32 frames.
    void processWithEvents(const platform::AudioTimeStamp& timestamp, std::uint32_t frameCount,
                           const platform::AURenderEvent* events);
    void handleOneEvent(const platform::AURenderEvent* event);

 protected:
    // Kernels are held by value, never deleted through this class.
    ~DSPKernel() = default;

 private:
    void processInSegments(const platform::AudioTimeStamp& timestamp, std::uint32_t frameCount,
                           const platform::AURenderEvent* events);
};

}  // namespace qov
