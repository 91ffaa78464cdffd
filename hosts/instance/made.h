#pragma once

#include <cstdio>
#include <exception>
#include <memory>
#include <string>

#include "hosts/instance/guarded.h"

namespace qov::hosts {

/// Releases what make(&error) returns to the host. Null, with one line on standard error, if that
/// is null or throws; no exception leaves it.
template <class Made, class Make>
Made* made(const Make& make) {
    return guarded(static_cast<Made*>(nullptr), [&]() -> Made* {
        std::string error;
        try {
            if (std::unique_ptr<Made> made = make(&error)) return made.release();
        } catch (const std::exception& exception) {
            error = exception.what();
        }
        std::fprintf(stderr, "kelvane: %s\n", error.c_str());
        return nullptr;
    });
}

}  // namespace qov::hosts
