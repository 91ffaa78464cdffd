#pragma once

#include <cstdint>
#include <vector>

namespace qov::measure {

/// Loudness of many blocks, gated by EBU R 128, in constant memory. Each bin of 0.02 LU keeps the
/// sum of its blocks' energies, so that only the blocks within 0.02 LU of a gate may fall on its
/// other side.
class LoudnessHistogram {
 public:
    LoudnessHistogram();

    /// One block, in LUFS; below the absolute gate of -70 LUFS it does not count.
    void add(double loudness);
    /// Loudness in LUFS of the blocks that lie at most `gate` LU below the mean of all: ITU-R
    /// BS.1770-4 with a gate of 10. -infinity where no block counts.
    double mean(double gate) const;
    /// From the 10th to the 95th percentile, in LU, of the blocks that lie at most `gate` LU below
    /// the mean of all: EBU Tech 3342 with a gate of 20. NaN where no block counts.
    double range(double gate) const;

 private:
    struct Bin {
        std::int64_t count = 0;
        double energy = 0;

        void add(const Bin& other) {
            count += other.count;
            energy += other.energy;
        }
        double loudness() const;
    };
    /// The bins of the blocks behind a relative gate.
    std::vector<Bin> above(double gate) const;

    std::vector<Bin> bins_;
};

}  // namespace qov::measure
