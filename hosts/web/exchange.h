#pragma once

#include <memory>
#include <string_view>

#include "hosts/instance/Instance.h"

/// A function that the page or its worklet calls by this name.
#define KELVANE_EXPORT(name) extern "C" __attribute__((export_name(#name)))

namespace qov::hosts::web {

/// The one effect of this copy of the module: in the worklet it renders, on the page it is shown.
Instance& effect();

/// Leaves a text for JavaScript, which finds it at text(); returns its length in bytes. Longer
/// ones are cut.
int giveText(std::string_view text);

}  // namespace qov::hosts::web
