#pragma once

#include "hosts/cli/Command.h"

namespace qov::cli {

/// kelvane demo: a phrase of music, the same through a tour of the effect, and a picture of both.
int runDemo(const Arguments& arguments);

}  // namespace qov::cli
