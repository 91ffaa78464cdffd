#include "dsp/QOV_Kelvane_PluginDSPKernel.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <utility>

#include "dsp/relaxed.h"
#include "dsp/saturate.h"
#include "platform/audiotoolbox/AURenderEvent.h"
#include "platform/audiotoolbox/AudioBufferList.h"
#include "platform/foundation/Console.h"

namespace qov {

namespace {

constexpr std::int32_t captureFrames = 2048;

float switched(float value) {
    return value > 0.5f ? 1.0f : 0.0f;
}

// 0..1 with its centre at 0.5, as -1..+1.
float bipolar(float value) {
    return std::fma(value, 2.0f, -1.0f);
}

// Full scale of kPhaseShift is a hundredth of a second.
std::int32_t delayFrames(float sampleRate, float value) {
    return std::max(1, saturate<std::int32_t>(sampleRate / 100.0f * value));
}

}  // namespace

QOV_Kelvane_PluginDSPKernel::QOV_Kelvane_PluginDSPKernel() {
    platform::console::print("DIAGNOSTICS: QOW Kelvane DSP Kernel loaded.");
}

void QOV_Kelvane_PluginDSPKernel::init(std::int32_t channelCount, double rate) {
    channels = channelCount;
    collectorSize = captureFrames;
    storeRelaxed(sampleRate, static_cast<float>(rate));
    nyquist = sampleRate * 0.5f;
    inverseNyquist = 1.0f / nyquist;
    buffer.allocate(captureFrames);
    latency.setLength(1);
    latency.prepare(delayFrames(sampleRate, 1.0f));
    circular.allocate(collectorSize);
    circular.callee = this;
    circular.onBuffer = onCaptureFull;
    for (auto* smoothed : {&stereowidthInterpolator, &panpotInterpolator, &volumeInterpolator})
        smoothed->destinationValue = smoothed->currentValue = 0;
}

void QOV_Kelvane_PluginDSPKernel::reset() {
    if (!gate_.beginReset()) return;
    do {
        resetState();
    } while (gate_.endReset());
}

void QOV_Kelvane_PluginDSPKernel::resetState() {
    stereowidthInterpolator.rest(0);
    panpotInterpolator.rest(0);
    volumeInterpolator.rest(1);
    latency.reset();
    buffer.clear();
    stereo.fAdjust = 0;
    stereo.lUpdaterate = 16;
    panpot.fPan = 0;
    panpot.interp.destinationValue = panpot.interp.currentValue = 0;
}

void QOV_Kelvane_PluginDSPKernel::setParameter(std::uint64_t address, float value) {
    switch (address) {
        case kStereoWidth:
            storeRelaxed(fStereoWidth, value);
            break;
        case kPanorama:
            storeRelaxed(fPanpot, value);
            break;
        case kPhaseShift:
            storeRelaxed(fPhaseShift, value);
            latency.setLength(delayFrames(loadRelaxed(sampleRate), value));
            break;
        case kSwapChannels:
            storeRelaxed(fSwap, switched(value));
            break;
        case kInvertChannel:
            storeRelaxed(fInvert, switched(value));
            break;
        case kRecoverMono:
            storeRelaxed(fRecoverMono, switched(value));
            break;
        case kTestMono:
            storeRelaxed(fTestMono, switched(value));
            break;
        case kBypass:
            storeRelaxed(fBypass, switched(value));
            if (switched(value) == 1.0f) reset();
            break;
        case kVolume:
            storeRelaxed(fVolume, value);
            break;
        default:
            break;
    }
}

float QOV_Kelvane_PluginDSPKernel::getParameter(std::uint64_t address) const {
    switch (address) {
        case kStereoWidth:
            return loadRelaxed(fStereoWidth);
        case kPanorama:
            return loadRelaxed(fPanpot);
        case kPhaseShift:
            return loadRelaxed(fPhaseShift);
        case kSwapChannels:
            return loadRelaxed(fSwap);
        case kInvertChannel:
            return loadRelaxed(fInvert);
        case kRecoverMono:
            return loadRelaxed(fRecoverMono);
        case kTestMono:
            return loadRelaxed(fTestMono);
        case kBypass:
            return loadRelaxed(fBypass);
        case kVolume:
            return loadRelaxed(fVolume);
        default:
            return 0;
    }
}

void QOV_Kelvane_PluginDSPKernel::setBuffers(platform::AudioBufferList* inBufferList,
                                             platform::AudioBufferList* outBufferList) {
    inBufferListPtr = inBufferList;
    outBufferListPtr = outBufferList;
}

void QOV_Kelvane_PluginDSPKernel::startRamp(std::uint64_t address, float value, std::uint32_t) {
    setParameter(address, value);
}

void QOV_Kelvane_PluginDSPKernel::handleMIDIEvent(const platform::AUMIDIEvent& midiEvent) {
    if (midiEvent.length < 1 || midiEvent.length > 3) return;
    // A control change on any channel; this leaves the system real-time messages out as well.
    if ((midiEvent.data[0] & 0xF0) != 0xB0) return;
    const float value = static_cast<float>(midiEvent.data[2]) / 127.0f;
    switch (midiEvent.data[1]) {
        case 7:
            storeRelaxed(fVolume, value);
            break;
        case 10:
            storeRelaxed(fPanpot, value);
            break;
        case 11:
            storeRelaxed(fStereoWidth, value);
            break;
        default:
            break;
    }
}

void QOV_Kelvane_PluginDSPKernel::process(std::uint32_t frameCount, std::uint32_t bufferOffset) {
    if (channels < 1) return;
    const auto channel = [&](platform::AudioBufferList* list, std::int32_t index) {
        return static_cast<float*>(list->mBuffers[index].mData) + bufferOffset;
    };
    for (std::int32_t c = 0; c < channels; ++c)
        std::memmove(channel(outBufferListPtr, c), channel(inBufferListPtr, c),
                     sizeof(float) * frameCount);
    if (loadRelaxed(fBypass) == 1.0f || channels != 2) return;
    if (!gate_.beginSegment()) return;
    processStereo(channel(outBufferListPtr, 0), channel(outBufferListPtr, 1),
                  static_cast<std::int32_t>(frameCount));
    if (gate_.endSegment()) do {
            resetState();
        } while (gate_.endReset());
}

void QOV_Kelvane_PluginDSPKernel::processStereo(float* left, float* right, std::int32_t count) {
    volumeInterpolator.setTarget(loadRelaxed(fVolume));
    const float gain = volumeInterpolator.tick();
    if (gain != 1.0f) {
        for (std::int32_t i = 0; i < count; ++i) {
            left[i] *= gain;
            right[i] *= gain;
        }
    }
    latency.exchange(left, count);
    if (loadRelaxed(fInvert) > 0)
        for (std::int32_t i = 0; i < count; ++i) left[i] = -left[i];
    if (loadRelaxed(fSwap) > 0)
        for (std::int32_t i = 0; i < count; ++i) std::swap(left[i], right[i]);
    const float width = loadRelaxed(fStereoWidth);
    if (loadRelaxed(fRecoverMono) > 0) {
        kelvane.fAmount = -width;
        kelvane.process(left, right, count);
    }
    stereowidthInterpolator.setTarget(bipolar(width));
    stereo.fAdjust = std::clamp(stereowidthInterpolator.tick(), -1.0f, 1.0f);
    stereo.process(left, right, count);
    panpotInterpolator.setTarget(bipolar(loadRelaxed(fPanpot)));
    const float pan = panpotInterpolator.tick();
    panpot.lSmoothed = 0;
    if (pan >= -1.0f && pan <= 1.0f)
        panpot.fPan = panpot.interp.destinationValue = panpot.interp.currentValue = pan;
    panpot.process(left, right, count);
    if (loadRelaxed(fTestMono) > 0)
        for (std::int32_t i = 0; i < count; ++i) left[i] = right[i] = (left[i] + right[i]) * 0.5f;
    circular.exchange(left, right, count);
}

void QOV_Kelvane_PluginDSPKernel::onCaptureFull(void* callee) {
    if (!callee) return;
    auto& kernel = *static_cast<QOV_Kelvane_PluginDSPKernel*>(callee);
    for (std::int32_t c = 0; c < 2; ++c) {
        const float* captured = kernel.circular.getChannel(c);
        float* snapshot = kernel.buffer.getChannel(c);
        if (captured && snapshot) std::copy_n(captured, kernel.collectorSize, snapshot);
    }
    storeRelaxed(kernel.isNewBufferAvailable, true);
}

}  // namespace qov
