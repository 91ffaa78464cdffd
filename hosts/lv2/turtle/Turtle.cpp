#include "hosts/lv2/turtle/Turtle.h"

#include <fmt/format.h>

#include <array>
#include <string_view>
#include <vector>

#include "audiounit/presets.h"
#include "hosts/instance/product.h"
#include "hosts/instance/valueText.h"
#include "hosts/lv2/Ports.h"
#include "hosts/lv2/Uris.h"
#include "platform/audiotoolbox/AUParameterTree.h"

namespace qov::hosts::lv2 {

using platform::AUParameter;

namespace {

constexpr std::string_view prefixes = R"(@prefix atom: <http://lv2plug.in/ns/ext/atom#> .
@prefix doap: <http://usefulinc.com/ns/doap#> .
@prefix foaf: <http://xmlns.com/foaf/0.1/> .
@prefix lv2: <http://lv2plug.in/ns/lv2core#> .
@prefix midi: <http://lv2plug.in/ns/ext/midi#> .
@prefix opts: <http://lv2plug.in/ns/ext/options#> .
@prefix patch: <http://lv2plug.in/ns/ext/patch#> .
@prefix pprops: <http://lv2plug.in/ns/ext/port-props#> .
@prefix pset: <http://lv2plug.in/ns/ext/presets#> .
@prefix rdf: <http://www.w3.org/1999/02/22-rdf-syntax-ns#> .
@prefix rdfs: <http://www.w3.org/2000/01/rdf-schema#> .
@prefix rsz: <http://lv2plug.in/ns/ext/resize-port#> .
@prefix state: <http://lv2plug.in/ns/ext/state#> .
@prefix ui: <http://lv2plug.in/ns/extensions/ui#> .
@prefix units: <http://lv2plug.in/ns/extensions/units#> .
@prefix urid: <http://lv2plug.in/ns/ext/urid#> .

)";

constexpr const char* instanceAccess = "http://lv2plug.in/ns/ext/instance-access";

std::string portSymbol(const AUParameter& parameter) {
    return parameter.address() == kBypass ? "enabled" : symbolOf(parameter.identifier());
}

/// "1.2.3" as the format counts, which has two even numbers for a release and no major one.
std::array<int, 2> formatVersion() {
    int major = 0, minor = 0, patch = 0;
    std::sscanf(product::version, "%d.%d.%d", &major, &minor, &patch);
    return {(major * 100 + minor) * 2, patch * 2};
}

std::string port(std::uint32_t index, std::string_view types, std::string_view symbol,
                 std::string_view name, std::string_view more = "") {
    return fmt::format(
        "    [\n        a {} ;\n        lv2:index {} ;\n        lv2:symbol \"{}\" ;\n"
        "        lv2:name \"{}\"{}\n    ]",
        types, index, symbol, name, more);
}

/// The panel's figure for a value; of the phase shift the time, as its frames depend on the rate.
std::string scalePoint(const AUParameter& parameter, float value) {
    constexpr double anyRate = 48000;
    auto label =
        valueText(parameter.address(), parameterOfPort(parameter.address(), value), anyRate);
    if (parameter.address() == kBypass) label = value > 0 ? "on" : "off";
    if (const auto time = label.find('('); time != std::string::npos)
        label = label.substr(time + 1, label.find(')') - time - 1);
    return fmt::format("[ rdfs:label \"{}\" ; rdf:value {:.2f} ]", label, value);
}

std::string controlPort(const AUParameter& parameter) {
    const bool isSwitch = parameter.unit() == platform::kAudioUnitParameterUnit_Boolean;
    const bool isBypass = parameter.address() == kBypass;
    std::vector<std::string> points;
    for (const float value :
         isSwitch ? std::vector{0.0f, 1.0f} : std::vector{0.0f, 0.25f, 0.5f, 0.75f, 1.0f})
        points.push_back(scalePoint(parameter, value));
    auto more = fmt::format(
        " ;\n        lv2:default {:.2f} ;\n        lv2:minimum {:.2f} ;\n"
        "        lv2:maximum {:.2f} ;\n        lv2:designation {} ;\n"
        "        lv2:scalePoint {}",
        portOfParameter(parameter.address(), parameter.value()), parameter.minValue(),
        parameter.maxValue(),
        isBypass ? "lv2:enabled" : fmt::format("<{}>", parameterUri(parameter.identifier())),
        fmt::join(points, " ,\n            "));
    if (isSwitch) more += " ;\n        lv2:portProperty lv2:toggled";
    if (parameter.address() == kPhaseShift)
        more +=
            " ;\n        units:unit [\n            a units:Unit ;\n"
            "            rdfs:label \"hundredths of a second\" ;\n"
            "            units:symbol \"× 10 ms\" ;\n"
            "            units:render \"%.2f × 10 ms\"\n        ]";
    return port(firstControl + static_cast<std::uint32_t>(parameter.address()),
                "lv2:InputPort , lv2:ControlPort", portSymbol(parameter),
                isBypass ? "Enabled" : parameter.displayName(), more);
}

std::vector<std::string> ports(const platform::AUParameterTree& tree) {
    constexpr std::string_view audioIn = "lv2:InputPort , lv2:AudioPort";
    constexpr std::string_view audioOut = "lv2:OutputPort , lv2:AudioPort";
    std::vector<std::string> all{
        port(inLeft, audioIn, "in_left", "In Left"),
        port(inRight, audioIn, "in_right", "In Right"),
        port(outLeft, audioOut, "out_left", "Out Left"),
        port(outRight, audioOut, "out_right", "Out Right"),
    };
    for (const auto& parameter : tree.allParameters()) all.push_back(controlPort(*parameter));
    all.push_back(port(latencyPort, "lv2:OutputPort , lv2:ControlPort", "latency", "Latency",
                       " ;\n        lv2:designation lv2:latency ;\n"
                       "        lv2:portProperty lv2:reportsLatency , lv2:integer ;\n"
                       "        lv2:minimum 0 ;\n        lv2:maximum 2048 ;\n"
                       "        units:unit units:frame"));
    all.push_back(port(eventsPort, "lv2:InputPort , atom:AtomPort", "events", "Events",
                       " ;\n        lv2:designation lv2:control ;\n"
                       "        lv2:portProperty lv2:connectionOptional ;\n"
                       "        atom:bufferType atom:Sequence ;\n"
                       "        atom:supports midi:MidiEvent , patch:Message"));
    all.push_back(port(notifyPort, "lv2:OutputPort , atom:AtomPort", "notify", "Notify",
                       fmt::format(" ;\n        lv2:designation lv2:control ;\n"
                                   "        lv2:portProperty lv2:connectionOptional ;\n"
                                   "        rsz:minimumSize {} ;\n"
                                   "        atom:bufferType atom:Sequence ;\n"
                                   "        atom:supports patch:Message",
                                   notifyBytes)));
    return all;
}

std::string parameterTurtle(const AUParameter& parameter) {
    return fmt::format(
        "<{}>\n    a lv2:Parameter ;\n    rdfs:label \"{}\" ;\n    rdfs:range atom:Float ;\n"
        "    lv2:default {:.2f} ;\n    lv2:minimum {:.2f} ;\n    lv2:maximum {:.2f} .\n\n",
        parameterUri(parameter.identifier()), parameter.displayName(), parameter.value(),
        parameter.minValue(), parameter.maxValue());
}

std::string editorTurtle() {
    return fmt::format(
        "<{}>\n    a ui:X11UI ;\n    lv2:requiredFeature <{}> , ui:idleInterface ;\n"
        "    lv2:optionalFeature ui:parent , ui:resize , ui:touch , urid:map , opts:options ;\n"
        "    opts:supportedOption ui:scaleFactor , ui:windowTitle ;\n"
        "    lv2:extensionData ui:idleInterface , ui:showInterface , ui:resize .\n",
        editorUri(), instanceAccess);
}

}  // namespace

std::string manifestTurtle() {
    auto text = fmt::format(
        "{}<{}>\n    a lv2:Plugin ;\n    lv2:binary <kelvane.so> ;\n"
        "    rdfs:seeAlso <kelvane.ttl> .\n\n"
        "<{}>\n    a ui:X11UI ;\n    ui:binary <kelvane_ui.so> ;\n"
        "    rdfs:seeAlso <kelvane.ttl> .\n",
        prefixes, product::uri, editorUri());
    for (std::size_t number = 0; number < factoryPresetCount; ++number)
        text += fmt::format(
            "\n<{}>\n    a pset:Preset ;\n    lv2:appliesTo <{}> ;\n"
            "    rdfs:seeAlso <presets.ttl> .\n",
            presetUri(number), product::uri);
    return text;
}

std::string pluginTurtle(const platform::AUParameterTree& tree) {
    const auto version = formatVersion();
    auto text = std::string(prefixes);
    text += fmt::format(
        "<{}>\n    a lv2:Plugin , lv2:SpatialPlugin , doap:Project ;\n    doap:name \"{}\" ;\n"
        "    doap:shortdesc \"{}\" ;\n"
        "    doap:license <http://opensource.org/licenses/ISC> ;\n"
        "    doap:maintainer [ a foaf:Organization ; foaf:name \"{}\" ] ;\n"
        "    doap:release [ a doap:Version ; doap:revision \"{}\" ] ;\n"
        "    lv2:minorVersion {} ;\n    lv2:microVersion {} ;\n",
        product::uri, product::name, product::summary, product::maker, product::version, version[0],
        version[1]);
    text += fmt::format(
        "    lv2:optionalFeature lv2:hardRTCapable , urid:map , opts:options ;\n"
        "    lv2:extensionData state:interface ;\n    ui:ui <{}> ;\n    lv2:port\n{} .\n\n",
        editorUri(), fmt::join(ports(tree), " ,\n"));
    for (const auto& parameter : tree.allParameters()) text += parameterTurtle(*parameter);
    return text + editorTurtle();
}

std::string presetsTurtle(const platform::AUParameterTree& tree) {
    auto text = std::string(prefixes);
    for (std::size_t number = 0; number < factoryPresetCount; ++number) {
        std::vector<std::string> values;
        for (const auto& parameter : tree.allParameters())
            values.push_back(
                fmt::format("[ lv2:symbol \"{}\" ; pset:value {:.2f} ]", portSymbol(*parameter),
                            portOfParameter(parameter->address(),
                                            presetParameters[number][parameter->address()])));
        text += fmt::format(
            "<{}>\n    a pset:Preset ;\n    lv2:appliesTo <{}> ;\n    rdfs:label \"{}\" ;\n"
            "    lv2:port\n        {} .\n\n",
            presetUri(number), product::uri, presetNames[number],
            fmt::join(values, " ,\n        "));
    }
    return text;
}

}  // namespace qov::hosts::lv2
