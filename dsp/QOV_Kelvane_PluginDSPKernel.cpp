#include "dsp/QOV_Kelvane_PluginDSPKernel.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <utility>

#include "dsp/ChainLoops.h"
#include "dsp/ParameterSetting.h"
#include "dsp/areApart.h"
#include "dsp/longestDelay.h"
#include "dsp/plainFormulas.h"
#include "dsp/relaxed.h"
#include "dsp/saturate.h"
#include "platform/audiotoolbox/AURenderEvent.h"
#include "platform/audiotoolbox/AudioBufferList.h"
#include "platform/foundation/Console.h"

namespace qov {

namespace {

// 0..1 with its centre at 0.5, as -1..+1; to the bit a fused multiply-add, as doubling is exact.
float bipolar(float value) {
    return value * 2.0f - 1.0f;
}

std::int32_t delayFrames(float sampleRate, float value) {
    return std::max(1, saturate<std::int32_t>(longestDelay(sampleRate) * value));
}

float* samples(const platform::AudioBufferList* list, std::int32_t channel, std::uint32_t offset) {
    return static_cast<float*>(list->mBuffers[channel].mData) + offset;
}

// Half of it is exact: then a product with it in float is rounded once, just as in double.
bool canHalve(float amount) {
    return amount * 0.5f * 2.0f == amount;
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
    if (keepsSnapshot) buffer.allocate(captureFrames);
    latency.setLength(1);
    latency.prepare(delayFrames(sampleRate, 1.0f));
    circular.allocate(collectorSize);
    circular.callee = this;
    circular.onBuffer = onCaptureFull;
    for (auto* smoothed : {&stereowidthInterpolator, &panpotInterpolator, &volumeInterpolator})
        smoothed->destinationValue = smoothed->currentValue = 0;
}

void QOV_Kelvane_PluginDSPKernel::reset() {
    gate_.reset([this] { resetState(); });
}

void QOV_Kelvane_PluginDSPKernel::forgetSignal() {
    reset();
    circular.clear();
    latency.setPrecedingFrame(0);
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

float QOV_Kelvane_PluginDSPKernel::*QOV_Kelvane_PluginDSPKernel::fieldOf(std::uint64_t address) {
    using Kernel = QOV_Kelvane_PluginDSPKernel;
    // By address.
    static constexpr std::array<float Kernel::*, kVolume + 1> fields{
        &Kernel::fStereoWidth, &Kernel::fPanpot, &Kernel::fPhaseShift,
        &Kernel::fSwap,        &Kernel::fInvert, &Kernel::fRecoverMono,
        &Kernel::fTestMono,    &Kernel::fBypass, nullptr,
        &Kernel::fVolume};
    return address < fields.size() ? fields[address] : nullptr;
}

void QOV_Kelvane_PluginDSPKernel::setParameter(std::uint64_t address, float value) {
    const auto field = fieldOf(address);
    if (!field) return;
    const bool isSwitch = address >= kSwapChannels && address <= kBypass;
    const float stored = isSwitch ? (value > 0.5f ? 1.0f : 0.0f) : value;
    storeRelaxed(this->*field, stored);
    if (address == kPhaseShift) latency.setLength(delayFrames(loadRelaxed(sampleRate), value));
    if (address == kBypass && stored == 1.0f) reset();
}

float QOV_Kelvane_PluginDSPKernel::getParameter(std::uint64_t address) const {
    const auto field = fieldOf(address);
    return field ? loadRelaxed(this->*field) : 0;
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
    if (const auto setting = settingOfMessage(midiEvent.data))
        setParameter(setting->address, setting->value);
}

// The memory of one segment; in and out of a channel may be the same.
struct QOV_Kelvane_PluginDSPKernel::Block {
    const float *inLeft, *inRight;
    float *left, *right;
    std::int32_t count;

    // What the fast form can process: channels in place or apart, and not crossed.
    bool isOrdinary() const {
        return isApart(left, right) && isSameOrApart(inLeft, left) &&
               isSameOrApart(inRight, right) && isApart(inLeft, right) && isApart(inRight, left);
    }

 private:
    bool isApart(const float* one, const float* other) const {
        return areApart(one, other, static_cast<std::uint32_t>(count));
    }
    bool isSameOrApart(const float* in, const float* out) const {
        return in == out || isApart(in, out);
    }
};

// What the chain does in one segment: each parameter read once, smoothed where it is.
struct QOV_Kelvane_PluginDSPKernel::Segment {
    float gain;
    bool inverted, swapped;
    ShapeStages stages;
    float amount, width, pan;  // of recover mono, -1..+1 and -1..+1
};

// Flat: what the calls themselves would cost shows in short segments.
[[gnu::flatten]] void QOV_Kelvane_PluginDSPKernel::process(std::uint32_t frameCount,
                                                           std::uint32_t bufferOffset) {
    if (channels < 1) return;
    const auto reset = [this] { resetState(); };
    if (loadRelaxed(fBypass) == 1.0f || channels != 2) {
        gate_.resetIfAsked(reset);
        copyThrough(frameCount, bufferOffset);
    } else if (!gate_.render([&] { renderSegment(frameCount, bufferOffset); }, reset)) {
        copyThrough(frameCount, bufferOffset);
    }
    // A new delay length repeats the frame before it, which is the last one of this output.
    if (frameCount > 0)
        latency.setPrecedingFrame(samples(outBufferListPtr, 0, bufferOffset)[frameCount - 1]);
}

void QOV_Kelvane_PluginDSPKernel::copyThrough(std::uint32_t frameCount,
                                              std::uint32_t bufferOffset) {
    for (std::int32_t c = 0; c < channels; ++c) {
        const float* in = samples(inBufferListPtr, c, bufferOffset);
        float* out = samples(outBufferListPtr, c, bufferOffset);
        if (in != out) std::memmove(out, in, sizeof(float) * frameCount);
    }
}

void QOV_Kelvane_PluginDSPKernel::renderSegment(std::uint32_t frameCount,
                                                std::uint32_t bufferOffset) {
    const Block block{
        samples(inBufferListPtr, 0, bufferOffset), samples(inBufferListPtr, 1, bufferOffset),
        samples(outBufferListPtr, 0, bufferOffset), samples(outBufferListPtr, 1, bufferOffset),
        static_cast<std::int32_t>(frameCount)};
    const Segment segment = nextSegment();
    const ChainLoops* loops = ChainLoops::current();
    if (loops && canFuse(segment, block)) {
        renderFused(segment, *loops, block);
    } else {
        copyThrough(frameCount, bufferOffset);
        renderPlain(segment, block);
    }
}

// Whether the fast form gives the plain one's bits: ordinary memory, the kernel's own ring callback
// (another one may change the ring), and an amount whose half is exact in float.
bool QOV_Kelvane_PluginDSPKernel::canFuse(const Segment& segment, const Block& block) const {
    return block.isOrdinary() && circular.isReady() && circular.onBuffer == onCaptureFull &&
           canHalve(segment.amount);
}

// Reads each parameter once and moves the smoothed ones on by a step. The stages' objects hold what
// they apply.
QOV_Kelvane_PluginDSPKernel::Segment QOV_Kelvane_PluginDSPKernel::nextSegment() {
    const float gain = volumeInterpolator.follow(loadRelaxed(fVolume));
    const bool recovered = loadRelaxed(fRecoverMono) > 0;
    const float width = loadRelaxed(fStereoWidth);
    if (recovered) kelvane.fAmount = -width;
    stereo.fAdjust = std::clamp(stereowidthInterpolator.follow(bipolar(width)), -1.0f, 1.0f);
    const float pan = panpotInterpolator.follow(bipolar(loadRelaxed(fPanpot)));
    panpot.lSmoothed = 0;
    if (pan >= -1.0f && pan <= 1.0f)
        panpot.fPan = panpot.interp.destinationValue = panpot.interp.currentValue = pan;
    return {gain,
            loadRelaxed(fInvert) > 0,
            loadRelaxed(fSwap) > 0,
            {recovered, ShapeStages::sideOf(stereo.fAdjust), ShapeStages::sideOf(panpot.fPan),
             loadRelaxed(fTestMono) > 0},
            kelvane.fAmount,
            stereo.fAdjust,
            panpot.fPan};
}

// The chain stage by stage and frame by frame: the truth for every faster form.
void QOV_Kelvane_PluginDSPKernel::renderPlain(const Segment& segment, const Block& block) {
    float *const left = block.left, *const right = block.right;
    const std::int32_t count = block.count;
    if (segment.gain != 1.0f) {
        for (std::int32_t i = 0; i < count; ++i) {
            left[i] *= segment.gain;
            right[i] *= segment.gain;
        }
    }
    latency.exchange(left, count);
    if (segment.inverted)
        for (std::int32_t i = 0; i < count; ++i) left[i] = -left[i];
    if (segment.swapped)
        for (std::int32_t i = 0; i < count; ++i) std::swap(left[i], right[i]);
    if (segment.stages.recover) kelvane.process(left, right, count);
    stereo.process(left, right, count);
    panpot.process(left, right, count);
    if (segment.stages.mono)
        for (std::int32_t i = 0; i < count; ++i) PlainFormulas::toMono(left[i], right[i]);
    circular.exchange(left, right, count);
}

// The same bits in two passes: the left channel into its out block through gain and delay, then
// both through all other stages into the ring.
void QOV_Kelvane_PluginDSPKernel::renderFused(const Segment& segment, const ChainLoops& loops,
                                              const Block& block) {
    const auto [inLeft, inRight, left, right, count] = block;
    const float* fromLeft = left;
    const float* fromRight = inRight;
    Shape shape{segment.inverted ? -1.0f : 1.0f, segment.gain, segment.amount * 0.5f, segment.width,
                segment.pan};
    if (segment.swapped) {
        std::swap(fromLeft, fromRight);
        std::swap(shape.left, shape.right);
    }
    const auto shapeRun = loops.shape[segment.stages.index()];
    latency.exchange(inLeft, left, count, segment.gain, loops);
    for (std::int32_t i = 0; i < count;) {
        if (circular.pos >= circular.size) {
            circular.wrap();
            continue;
        }
        const std::int32_t run = std::min(count - i, circular.size - circular.pos);
        shapeRun(shape, fromLeft + i, fromRight + i, left + i, right + i,
                 circular.data[0] + circular.pos, circular.data[1] + circular.pos, run);
        circular.pos += run;
        i += run;
    }
}

void QOV_Kelvane_PluginDSPKernel::onCaptureFull(void* callee) {
    if (!callee) return;
    auto& kernel = *static_cast<QOV_Kelvane_PluginDSPKernel*>(callee);
    // Kept as the kernel's last whole capture, for whoever reads it; the editor reads the ring.
    for (std::int32_t c = 0; c < 2; ++c) {
        const float* captured = kernel.circular.getChannel(c);
        float* snapshot = kernel.buffer.getChannel(c);
        if (captured && snapshot) std::copy_n(captured, kernel.collectorSize, snapshot);
    }
    storeRelaxed(kernel.isNewBufferAvailable, true);
}

}  // namespace qov
