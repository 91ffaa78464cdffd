#pragma once

#include <lv2/atom/atom.h>
#include <lv2/core/lv2.h>
#include <lv2/options/options.h>
#include <lv2/urid/urid.h>

#include <cstring>
#include <optional>
#include <string>
#include <type_traits>

namespace qov::hosts::lv2 {

/// The data of the host's feature of that URI; null without one.
template <class Feature>
Feature* feature(const LV2_Feature* const* features, const char* uri) {
    for (; features && *features; ++features)
        if (std::strcmp((*features)->URI, uri) == 0)
            return static_cast<Feature*>((*features)->data);
    return nullptr;
}

/// One of the host's options, of the type of that URI; null without one.
inline const LV2_Options_Option* optionOf(const LV2_Feature* const* features, const char* uri,
                                          const char* typeUri) {
    const auto* map = feature<LV2_URID_Map>(features, LV2_URID__map);
    const auto* option = feature<const LV2_Options_Option>(features, LV2_OPTIONS__options);
    if (!map || !option) return nullptr;
    const auto key = map->map(map->handle, uri);
    const auto type = map->map(map->handle, typeUri);
    for (; option->key || option->value; ++option)
        if (option->key == key && option->type == type && option->value) return option;
    return nullptr;
}

/// A number, float or std::int32_t, among the host's options.
template <class Number>
std::optional<Number> option(const LV2_Feature* const* features, const char* uri) {
    constexpr bool isFloat = std::is_same_v<Number, float>;
    const auto* found = optionOf(features, uri, isFloat ? LV2_ATOM__Float : LV2_ATOM__Int);
    if (!found || found->size != sizeof(Number)) return std::nullopt;
    return *static_cast<const Number*>(found->value);
}

/// A text among the host's options; empty without one.
inline std::string textOption(const LV2_Feature* const* features, const char* uri) {
    const auto* found = optionOf(features, uri, LV2_ATOM__String);
    return found ? static_cast<const char*>(found->value) : "";
}

}  // namespace qov::hosts::lv2
