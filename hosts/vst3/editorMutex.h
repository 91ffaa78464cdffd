#pragma once

#include <mutex>

namespace qov::hosts::vst3 {

/// Held by whoever is in an editor, of any instance: normally the host's main thread alone, which
/// then never waits. Never held while the host is called.
inline std::recursive_mutex& editorMutex() {
    static std::recursive_mutex mutex;
    return mutex;
}

}  // namespace qov::hosts::vst3
