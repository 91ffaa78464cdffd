#pragma once

#include <cstdint>

#include "dsp/CircularBuffer2.h"
#include "dsp/DSPKernel.h"
#include "dsp/DynaBuffer2.h"
#include "dsp/Gainer.h"
#include "dsp/Interpolator.h"
#include "dsp/Kelvane.h"
#include "dsp/Latency.h"
#include "dsp/Panpot.h"
#include "dsp/ParameterAddress.h"
#include "dsp/RenderGate.h"
#include "dsp/StereoProcessor.h"

namespace platform {
struct AudioBufferList;
}

namespace qov {

struct ChainLoops;

/// The effect: parameters by address, the stereo chain, and after it the capture ring, whose length
/// delays the output. Samples are 32-bit floats, one buffer a channel.
///
/// The render thread runs processWithEvents(). Any thread may set and read parameters, and reset,
/// at any time; init() and setBuffers() must not run while a cycle does. Values are not clamped.
class QOV_Kelvane_PluginDSPKernel final : public DSPKernel {
 public:
    /// Frames of a capture; a processed frame comes out by so many later.
    static constexpr std::int32_t captureFrames = 2048;

    QOV_Kelvane_PluginDSPKernel();
    QOV_Kelvane_PluginDSPKernel(const QOV_Kelvane_PluginDSPKernel&) = delete;
    QOV_Kelvane_PluginDSPKernel& operator=(const QOV_Kelvane_PluginDSPKernel&) = delete;

    /// Adopts a format and gets storage for it; call reset() next. The delay length falls back to
    /// one frame until kPhaseShift is set again. Formats with other than two channels are copied
    /// through.
    void init(std::int32_t channelCount, double rate);
    /// Resets ramps, delay line and snapshot; parameters and the ring stay. During a segment the
    /// reset is left to the render thread, which performs it at the segment's end (RenderGate).
    void reset();
    /// reset(), and zeroes the ring and the preceding frame. Render thread.
    void forgetSignal();

    /// The switches store 1 above 0.5, else 0. Switching bypass on calls reset().
    /// Unknown addresses change nothing and read as 0.
    void setParameter(std::uint64_t address, float value);
    float getParameter(std::uint64_t address) const;

    /// The lists of the next cycle; each buffer of the output may be the same memory as that of the
    /// input.
    void setBuffers(platform::AudioBufferList* inBufferList,
                    platform::AudioBufferList* outBufferList);

    void process(std::uint32_t frameCount, std::uint32_t bufferOffset) override;
    /// Control changes 7, 10 and 11 on any channel set volume, panorama and width.
    void handleMIDIEvent(const platform::AUMIDIEvent& midiEvent) override;
    /// The duration is ignored: the chain smooths by itself.
    void startRamp(std::uint64_t address, float value, std::uint32_t duration) override;

    float sampleRate = 44100;
    float nyquist = 22050;
    float inverseNyquist = 1.0f / 22050;
    std::int32_t channels = 2;
    platform::AudioBufferList* inBufferListPtr = nullptr;
    platform::AudioBufferList* outBufferListPtr = nullptr;
    float fStereoWidth = 0;
    float fPanpot = 0;
    float fVolume = 1;
    float fPhaseShift = 0;
    float fSwap = 0;
    float fInvert = 0;
    float fTestMono = 0;
    float fRecoverMono = 0;
    float fNormalize = 0;  ///< held, never read
    float fBypass = 0;
    Latency latency;          ///< the phase shift's delay, not the latency that hosts compensate
    Kelvane kelvane;          ///< the stage of recover mono
    Gainer gainerL, gainerR;  ///< held, not applied
    Panpot panpot;
    StereoProcessor stereo;
    Interpolator stereowidthInterpolator;
    Interpolator panpotInterpolator;
    Interpolator volumeInterpolator;
    bool keepsSnapshot = true;          ///< whether init() gets storage for `buffer`
    DynaBuffer2 buffer;                 ///< copy of the ring at its last wrap, if it has storage
    CircularBuffer2 circular;           ///< capture ring; a read by another thread may tear
    std::int32_t collectorSize = 1024;  ///< frames per snapshot
    bool isNewBufferAvailable = false;  ///< shared; the ring wrapped since a reader cleared it

 private:
    struct Block;
    struct Segment;
    static void onCaptureFull(void* callee);
    /// Null for an unknown address.
    static float QOV_Kelvane_PluginDSPKernel::*fieldOf(std::uint64_t address);
    void resetState();
    void copyThrough(std::uint32_t frameCount, std::uint32_t bufferOffset);
    void renderSegment(std::uint32_t frameCount, std::uint32_t bufferOffset);
    Segment nextSegment();
    bool canFuse(const Segment& segment, const Block& block) const;
    void renderPlain(const Segment& segment, const Block& block);
    void renderFused(const Segment& segment, const ChainLoops& loops, const Block& block);

    RenderGate gate_;
};

}  // namespace qov
