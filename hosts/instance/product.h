#pragma once

/// The names of the effect for hosts, packages and desktops.
namespace qov::hosts::product {

/// For people to read, as are maker and summary.
constexpr const char* name = "QOV Kelvane";
constexpr const char* maker = "QOV";
constexpr const char* summary = "Stereo width, panorama and phase shift, with a correlograph";
/// Reverse-domain: the identity of the CLAP plug-in, of the desktop entry and of the metadata.
constexpr const char* identifier = "org.qov.kelvane";
/// The identity of the LV2 plug-in, and the beginning of each URI in its Turtle.
constexpr const char* uri = "urn:qov:kelvane";
/// "MAJOR.MINOR.PATCH", the project's.
constexpr const char* version = KELVANE_VERSION;

}  // namespace qov::hosts::product
