#include "dsp/ChainLoops.h"

#include <cstdlib>

#include "dsp/relaxed.h"

namespace qov {

// Each is one compilation of dsp/vector/chainLoops.cpp.
namespace baseline {
extern const ChainLoops loops;
}
#ifdef QOV_X86_VARIANTS
namespace v3 {
extern const ChainLoops loops;
}
namespace v4 {
extern const ChainLoops loops;
}
#endif

namespace {

struct Form {
    std::string_view name;
    const ChainLoops* loops;
    bool (*runsHere)();
};

// Best first. The features are those that the form is compiled for.
constexpr Form forms[] = {
#ifdef QOV_X86_VARIANTS
    {"v4", &v4::loops,
     [] {
         return __builtin_cpu_supports("avx2") && __builtin_cpu_supports("fma") &&
                __builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512vl") &&
                __builtin_cpu_supports("avx512dq") && __builtin_cpu_supports("avx512bw");
     }},
    {"v3", &v3::loops,
     [] { return __builtin_cpu_supports("avx2") && __builtin_cpu_supports("fma"); }},
#endif
    {"baseline", &baseline::loops, [] { return true; }},
    {"scalar", nullptr, [] { return true; }},
};

const Form* find(std::string_view name) {
    for (const Form& form : forms)
        if (form.name == name && form.runsHere()) return &form;
    return nullptr;
}

const ChainLoops* choose() {
#ifdef QOV_X86_VARIANTS
    __builtin_cpu_init();
#endif
    if (const char* name = std::getenv("KELVANE_CPU"))
        if (const Form* form = find(name)) return form->loops;
    for (const Form& form : forms)
        if (form.runsHere()) return form.loops;
    return nullptr;
}

const ChainLoops* chosen = choose();

}  // namespace

const ChainLoops* ChainLoops::current() {
    return loadRelaxed(chosen);
}

bool ChainLoops::select(std::string_view name) {
    const Form* form = find(name);
    if (form) storeRelaxed(chosen, form->loops);
    return form != nullptr;
}

}  // namespace qov
