#pragma once

#include <cfenv>
#if defined(__SSE__)
#include <xmmintrin.h>
#endif

namespace qov::hosts {

/// For a scope, arithmetic as the C++ standard starts it: round to nearest, subnormal numbers kept.
/// Many hosts flush them to zero on their audio thread, which would change the effect's bits.
class FloatEnvironment {
 public:
    FloatEnvironment(const FloatEnvironment&) = delete;
    FloatEnvironment& operator=(const FloatEnvironment&) = delete;

#if defined(__SSE__)
    FloatEnvironment() : before_(_mm_getcsr()) {
        constexpr unsigned standard = 0x1f80;  // all exceptions masked, nothing else set
        constexpr unsigned flags = 0x3f;       // exceptions seen so far; ignored
        if ((before_ & ~flags) == standard) return;
        isForeign_ = true;
        _mm_setcsr(standard);
    }
    ~FloatEnvironment() {
        if (isForeign_) _mm_setcsr(before_);
    }

 private:
    unsigned before_;
    bool isForeign_ = false;  // else nothing but those flags has changed meanwhile
#else
    FloatEnvironment() {
        std::fegetenv(&before_);
        std::fesetenv(FE_DFL_ENV);
    }
    ~FloatEnvironment() {
        std::fesetenv(&before_);
    }

 private:
    std::fenv_t before_{};
#endif
};

}  // namespace qov::hosts
