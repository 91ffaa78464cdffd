#pragma once

#include <string>

#include "tests/hosts/conformance/Plugin.h"

namespace qov::test {

/// What lilv reads about a plug-in in a bundle's Turtle.
PluginDescription describeLv2(const std::string& bundle, const std::string& uri);

}  // namespace qov::test
