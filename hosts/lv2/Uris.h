#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "hosts/instance/product.h"
#include "hosts/lv2/Ports.h"

namespace qov::hosts::lv2 {

// The plug-in's further URIs, besides its own (product::uri).

/// A URI below the plug-in's own.
inline std::string ownUri(std::string_view fragment) {
    return std::string(product::uri) + "#" + std::string(fragment);
}

/// A parameter as patch messages know it: in 0..1 and in the tree's sense, the bypass, too.
inline std::string parameterUri(std::string_view identifier) {
    return ownUri(symbolOf(identifier));
}
/// A factory preset, by its number.
inline std::string presetUri(std::size_t number) {
    return ownUri("preset" + std::to_string(number));
}
/// The UI.
inline std::string editorUri() {
    return ownUri("editor");
}
/// The keys of a saved state.
inline std::string stateUri() {
    return ownUri("state");
}
/// The key of the control ports' values in a saved state.
inline std::string seenPortsUri() {
    return ownUri("heard_ports");
}

}  // namespace qov::hosts::lv2
