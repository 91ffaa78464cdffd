#include "hosts/cli/Phrase.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <utility>

namespace qov::cli {
namespace {

constexpr int beat = 26460;  // frames: 100 beats a minute
constexpr int bar = 4 * beat;
constexpr int bars = 6;
constexpr int length = bars * bar + 2 * beat;  // with the tail of the last chord
constexpr double peak = 0.9;

/// sin(2 pi phase / 2^32), by Taylor's series around the nearest zero; good to 1e-7.
double sine(std::uint32_t phase) {
    auto turn = static_cast<std::int32_t>(phase);
    // Into -1/4..1/4 turn, by symmetry.
    if (turn > 0x40000000 || turn < -0x40000000)
        turn = static_cast<std::int32_t>(0x80000000U - static_cast<std::uint32_t>(turn));
    const double x = static_cast<double>(turn) * (6.283185307179586 / 4294967296.0);
    const double s = x * x;
    return x *
           (1 + s * (-1.0 / 6 + s * (1.0 / 120 + s * (-1.0 / 5040 +
                                                      s * (1.0 / 362880 - s * (1.0 / 39916800))))));
}

/// Hertz of a MIDI note, equal temperament.
double pitch(int note) {
    constexpr double semitone = 1.0594630943592953;
    double hertz = 440;
    for (int i = 69; i < note; ++i) hertz *= semitone;
    for (int i = note; i < 69; ++i) hertz /= semitone;
    return hertz;
}

std::uint32_t phaseStep(double hertz) {
    return static_cast<std::uint32_t>(hertz / Phrase::rate * 4294967296.0);
}

/// White noise, -1..1, from a linear congruential generator.
class Noise {
 public:
    explicit Noise(std::uint32_t seed) : state_(seed) {}
    double next() {
        state_ = state_ * 1664525U + 1013904223U;
        return static_cast<double>(static_cast<std::int32_t>(state_)) / 2147483648.0;
    }

 private:
    std::uint32_t state_;
};

/// The factor per frame, 1 - 1/n, of a decay to 1/e in so many seconds.
double decay(double seconds) {
    return 1 - 1 / (seconds * Phrase::rate);
}

struct Mix {
    std::vector<double> left = std::vector<double>(length);
    std::vector<double> right = std::vector<double>(length);
    std::vector<double> room = std::vector<double>(length);  ///< the send to the room

    void add(int frame, double l, double r, double send) {
        if (frame >= length) return;
        const auto i = static_cast<std::size_t>(frame);
        left[i] += l;
        right[i] += r;
        room[i] += (l + r) * send;
    }
};

/// A plucked string: a burst of noise in a loop that loses its highs (Karplus and Strong), with an
/// allpass for the part of the period below one frame.
class String {
 public:
    String(double hertz, double brightness, double sustain, std::uint32_t seed)
        : brightness_(brightness), sustain_(sustain) {
        const double period = Phrase::rate / hertz - 1 + brightness;
        const auto whole = static_cast<std::size_t>(period - 0.2);
        const double part = period - static_cast<double>(whole);
        allpass_ = (1 - part) / (1 + part);
        loop_.resize(whole);
        Noise noise(seed);
        double smooth = 0;
        for (auto& sample : loop_) sample = smooth += 0.55 * (noise.next() - smooth);
    }
    double next() {
        const double out = loop_[position_];
        const double damped = sustain_ * (brightness_ * out + (1 - brightness_) * last_);
        last_ = out;
        const double tuned = allpass_ * (damped - tunedLast_) + dampedLast_;
        dampedLast_ = damped;
        tunedLast_ = tuned;
        loop_[position_] = tuned;
        position_ = position_ + 1 < loop_.size() ? position_ + 1 : 0;
        return out;
    }

 private:
    double brightness_, sustain_, allpass_ = 0;
    double last_ = 0, dampedLast_ = 0, tunedLast_ = 0;
    std::size_t position_ = 0;
    std::vector<double> loop_;
};

/// Two strings a note, a hair apart and picked differently, so that the sides are related but not
/// equal.
void pluck(Mix& mix, int start, int note, double level, std::uint32_t seed) {
    String near(pitch(note), 0.62, 0.9975, seed);
    String far(pitch(note) * 1.0011, 0.55, 0.9965, seed * 7 + 3);
    double gate = 1;
    for (int i = 0; i < 3 * beat; ++i) {
        if (i > 2 * beat) gate *= decay(0.08);
        const double a = near.next() * level * gate;
        const double b = far.next() * level * gate;
        mix.add(start + i, 0.95 * a + 0.2 * b, 0.28 * a + 0.38 * b, 0.10);
    }
}

/// One note of an electric piano: a few partials that die one after the other and a short bell; the
/// two sides are tuned apart by some cents, and a slow tremolo leans from one to the other.
void keys(Mix& mix, int start, int frames, int note, double level, std::uint32_t drift) {
    struct Partial {
        double ratio, level, seconds;
    };
    constexpr std::array partials{Partial{1, 1, 2.6}, Partial{2, 0.34, 1.1}, Partial{3, 0.12, 0.7},
                                  Partial{4, 0.06, 0.4}, Partial{7, 0.10, 0.09}};
    const std::uint32_t tremolo = phaseStep(1.25);
    for (const auto& partial : partials) {
        const std::uint32_t stepLeft = phaseStep(pitch(note) * partial.ratio * 0.9987);
        const std::uint32_t stepRight = phaseStep(pitch(note) * partial.ratio * 1.0013);
        const double fall = decay(partial.seconds);
        double fade = partial.level * level;
        double attack = 0;
        std::uint32_t left = 0;
        std::uint32_t right = 0x30000000;
        std::uint32_t lean = drift;
        for (int i = 0; i < frames + beat / 2; ++i) {
            attack += (1 - attack) * 0.006;
            fade *= i < frames ? fall : decay(0.09);
            const double side = 0.35 * sine(lean);
            const double now = fade * attack;
            mix.add(start + i, now * (1 + side) * sine(left), now * (1 - side) * sine(right), 0.12);
            left += stepLeft;
            right += stepRight;
            lean += tremolo;
        }
    }
}

/// A round bass in the middle: a sine, its octave, and a soft bend that adds odd partials.
void bass(Mix& mix, int start, int frames, int note, double level) {
    const std::uint32_t step = phaseStep(pitch(note));
    std::uint32_t phase = 0;
    double attack = 0;
    double fade = 1;
    double octave = 0.4;
    for (int i = 0; i < frames + beat / 4; ++i) {
        attack += (1 - attack) * 0.01;
        fade *= i < frames ? decay(1.4) : decay(0.03);
        octave *= decay(0.25);
        const double x = attack * fade * (sine(phase) + octave * sine(2 * phase)) * 0.8;
        const double bent = x - x * x * x / 4;
        mix.add(start + i, level * bent, level * bent, 0.01);
        phase += step;
    }
}

/// A soft drum whose tone falls.
void drum(Mix& mix, int start, double level) {
    double hertz = 150;
    double fade = 1;
    std::uint32_t phase = 0;
    for (int i = 0; i < beat / 2; ++i) {
        hertz = 48 + (hertz - 48) * decay(0.03);
        fade *= decay(0.12);
        const double out = level * fade * sine(phase);
        mix.add(start + i, out, out, 0.03);
        phase += phaseStep(hertz);
    }
}

/// A brush stroke: bright noise at a place between the sides (0 left, 1 right), different on each.
void brush(Mix& mix, int start, double level, double seconds, double place, std::uint32_t seed) {
    Noise noiseLeft(seed);
    Noise noiseRight(seed * 5 + 1);
    double lowLeft = 0;
    double lowRight = 0;
    double fade = 1;
    double attack = 0;
    for (int i = 0; i < beat / 2; ++i) {
        attack += (1 - attack) * 0.02;
        fade *= decay(seconds);
        const double l = noiseLeft.next();
        const double r = 0.6 * l + 0.4 * noiseRight.next();
        lowLeft += 0.6 * (l - lowLeft);
        lowRight += 0.6 * (r - lowRight);
        const double now = level * fade * attack;
        mix.add(start + i, now * (1 - place) * (l - lowLeft), now * place * (r - lowRight), 0.15);
    }
}

/// A comb with a damped loop and an allpass, of which a room is made (Schroeder, Moorer).
class Comb {
 public:
    explicit Comb(std::size_t frames) : line_(frames) {}
    double next(double in) {
        const double out = line_[position_];
        low_ += 0.55 * (out - low_);
        line_[position_] = in + 0.80 * low_;
        position_ = position_ + 1 < line_.size() ? position_ + 1 : 0;
        return out;
    }

 private:
    std::vector<double> line_;
    std::size_t position_ = 0;
    double low_ = 0;
};

class Allpass {
 public:
    explicit Allpass(std::size_t frames) : line_(frames) {}
    double next(double in) {
        const double old = line_[position_];
        const double stored = in + 0.5 * old;
        line_[position_] = stored;
        position_ = position_ + 1 < line_.size() ? position_ + 1 : 0;
        return old - 0.5 * stored;
    }

 private:
    std::vector<double> line_;
    std::size_t position_ = 0;
};

void addRoom(std::span<double> side, std::span<const double> heard,
             const std::array<std::size_t, 5>& sizes) {
    Comb a(sizes[0]);
    Comb b(sizes[1]);
    Comb c(sizes[2]);
    Comb d(sizes[3]);
    Allpass diffuse(sizes[4]);
    for (std::size_t i = 0; i < side.size(); ++i)
        side[i] +=
            diffuse.next(a.next(heard[i]) + b.next(heard[i]) + c.next(heard[i]) + d.next(heard[i]));
}

struct Chord {
    int start, beats;
    int root, seventh;          ///< of the bass; the seventh in semitones above it
    std::array<int, 4> voices;  ///< of the electric piano
    std::array<int, 8> figure;  ///< of the strings, an eighth each
};

/// D minor 9, G 13, C major 9, A minor 9, then D minor and G in half the time, and home.
constexpr std::array chords{
    Chord{0 * bar, 4, 38, 10, {53, 57, 60, 64}, {62, 69, 72, 76, 77, 76, 72, 69}},
    Chord{1 * bar, 4, 43, 10, {53, 57, 59, 64}, {67, 71, 76, 77, 79, 77, 76, 71}},
    Chord{2 * bar, 4, 36, 11, {52, 55, 59, 62}, {64, 67, 71, 74, 79, 74, 71, 67}},
    Chord{3 * bar, 4, 45, 10, {52, 55, 60, 64}, {69, 72, 76, 79, 83, 79, 76, 72}},
    Chord{4 * bar, 2, 38, 10, {53, 57, 60, 64}, {62, 69, 72, 77, 0, 0, 0, 0}},
    Chord{4 * bar + 2 * beat, 2, 43, 10, {53, 57, 59, 65}, {71, 77, 76, 74, 0, 0, 0, 0}},
    Chord{5 * bar, 4, 36, 11, {52, 55, 59, 62}, {60, 67, 71, 74, 76, 0, 79, 0}},
};

void playChord(Mix& mix, const Chord& chord) {
    const int eighth = beat / 2;
    const int frames = chord.beats * beat;
    for (std::size_t i = 0; i < chord.voices.size(); ++i)
        keys(mix, chord.start + static_cast<int>(i) * 260, frames - eighth, chord.voices[i], 0.10,
             0x20000000U * static_cast<std::uint32_t>(i));
    for (int i = 0; i < 2 * chord.beats; ++i) {
        const int note = chord.figure[static_cast<std::size_t>(i)];
        if (note == 0) continue;
        const double accent = i % 4 == 0 ? 0.34 : 0.26;
        pluck(mix, chord.start + i * eighth + (i % 2) * 900, note, accent,
              static_cast<std::uint32_t>(chord.start + i * 77 + note));
    }
    bass(mix, chord.start, beat + eighth, chord.root, 0.42);
    bass(mix, chord.start + beat + eighth + 900, eighth, chord.root + 7, 0.30);
    if (chord.beats == 4) {
        bass(mix, chord.start + 2 * beat, beat + eighth, chord.root, 0.38);
        bass(mix, chord.start + 3 * beat + eighth + 900, eighth - 900, chord.root + chord.seventh,
             0.28);
    }
}

void playDrums(Mix& mix) {
    const int eighth = beat / 2;
    for (int i = 0; i < bars * 8; ++i) {
        const auto seed = static_cast<std::uint32_t>(i * 9176 + 11);
        const int start = i * eighth + (i % 2) * 900;
        if (i % 8 == 0 || i % 8 == 5) drum(mix, start, 0.5);
        if (i % 4 == 2) brush(mix, start, 0.34, 0.07, 0.5, seed);
        brush(mix, start, i % 2 == 0 ? 0.12 : 0.08, 0.025, 0.78, seed + 3);
    }
}

}  // namespace

Phrase playPhrase() {
    Mix mix;
    for (const auto& chord : chords) playChord(mix, chord);
    playDrums(mix);
    addRoom(mix.left, mix.room, {1557, 1617, 1491, 1422, 556});
    addRoom(mix.right, mix.room, {1580, 1640, 1514, 1445, 579});

    double highest = 0;
    for (const auto* side : {&mix.left, &mix.right})
        for (const double sample : *side)
            highest = std::max(highest, sample < 0 ? -sample : sample);
    const double gain = peak / highest;
    Phrase phrase;
    for (auto [from, to] :
         {std::pair{&mix.left, &phrase.left}, std::pair{&mix.right, &phrase.right}}) {
        to->resize(length);
        std::transform(from->begin(), from->end(), to->begin(),
                       [gain](double x) { return static_cast<float>(x * gain); });
    }
    // The tail ends in silence, not in a click.
    constexpr int fade = beat;
    for (int i = 0; i < fade; ++i) {
        const auto part = static_cast<float>(i) / fade;
        phrase.left[static_cast<std::size_t>(length - 1 - i)] *= part;
        phrase.right[static_cast<std::size_t>(length - 1 - i)] *= part;
    }
    return phrase;
}

}  // namespace qov::cli
